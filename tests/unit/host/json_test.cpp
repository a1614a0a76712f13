#include "Json.h"

#include <gtest/gtest.h>

namespace quillmark::cli {
namespace {

std::string TextOf(const WideString& text) {
    return JsonObject().Add("t", text).Text();
}

TEST(JsonObjectText, IsEmptyWithoutMembers) {
    EXPECT_EQ("{}", JsonObject().Text());
}

TEST(JsonObjectText, KeepsTheOrderOfItsMembers) {
    JsonObject object;
    object.Add("b", "x").AddNumber("a", 3).AddFlag("c", true).AddFlag("d", false).AddNull("e");
    EXPECT_EQ(R"({"b":"x","a":3,"c":true,"d":false,"e":null})", object.Text());
}

TEST(JsonObjectText, HoldsNumbersOf64Bits) {
    EXPECT_EQ(R"({"n":9223372036854775807})", JsonObject().AddNumber("n", 9223372036854775807).Text());
    EXPECT_EQ(R"({"n":-1})", JsonObject().AddNumber("n", -1).Text());
    EXPECT_EQ(R"({"n":0})", JsonObject().AddNumber("n", 0).Text());
}

TEST(JsonObjectText, HoldsListsAndObjects) {
    EXPECT_EQ(R"({"l":[]})", JsonObject().AddTexts("l", {}).Text());
    EXPECT_EQ(R"({"l":["a","b\"c"]})", JsonObject().AddTexts("l", {"a", "b\"c"}).Text());
    EXPECT_EQ(R"({"o":{"p":1},"q":2})",
              JsonObject().AddObject("o", JsonObject().AddNumber("p", 1)).AddNumber("q", 2).Text());
}

TEST(JsonObjectText, EscapesWhatEndsOrStartsAnEscape) {
    EXPECT_EQ(R"({"t":"a\"b\\c/d"})", TextOf(QM_W("a\"b\\c/d")));
}

TEST(JsonObjectText, HasShortEscapesForFiveControlCharacters) {
    EXPECT_EQ(R"({"t":"\b\f\n\r\t"})", TextOf(QM_W("\b\f\n\r\t")));
}

TEST(JsonObjectText, EscapesEveryOtherControlCharacterByItsNumber) {
    EXPECT_EQ(R"({"t":"\u0000"})", TextOf(WideString(WideView(QM_W("\0"), 1))));
    EXPECT_EQ(R"({"t":"\u0001\u0007\u000b\u000e\u001b\u001f "})", TextOf(QM_W("\x01\x07\x0b\x0e\x1b\x1f ")));
    // Delete and the second set of controls steer terminals too.
    EXPECT_EQ(R"({"t":"~\u007f\u0080\u009b\u009f"})", TextOf(QM_W("~\x7f\x80\x9b\x9f")));
}

TEST(JsonObjectText, LeavesOtherCharactersInUtf8) {
    EXPECT_EQ("{\"t\":\"\xc2\xa0\xc3\xbc\xe6\x96\x87\xf0\x9f\x9a\x80\"}", TextOf(QM_W("\u00a0\u00fc\u6587\U0001F680")));
}

TEST(JsonObjectText, EscapesHalvesOfSurrogatePairs) {
    const WideChar high[] = {0xD83D, QM_W('a')};
    EXPECT_EQ(R"({"t":"\ud83da"})", TextOf(WideString(WideView(high, 2))));
    const WideChar low[] = {0xDE80};
    EXPECT_EQ(R"({"t":"\ude80"})", TextOf(WideString(WideView(low, 1))));
    const WideChar reversed[] = {0xDE80, 0xD83D};
    EXPECT_EQ(R"({"t":"\ude80\ud83d"})", TextOf(WideString(WideView(reversed, 2))));
    const WideChar highThenPair[] = {0xD83D, 0xD83D, 0xDE80};
    EXPECT_EQ("{\"t\":\"\\ud83d\xf0\x9f\x9a\x80\"}", TextOf(WideString(WideView(highThenPair, 3))));
}

TEST(JsonObjectText, EscapesNamesAsTexts) {
    EXPECT_EQ(R"({"a\"b":""})", JsonObject().Add("a\"b", "").Text());
}

TEST(JsonObjectText, TakesBytesAsUtf8) {
    EXPECT_EQ("{\"t\":\"\xc3\xbc\\n\"}", JsonObject().Add("t", std::string("\xc3\xbc\n")).Text());
}

}  // namespace
}  // namespace quillmark::cli
