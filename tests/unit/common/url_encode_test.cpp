#include "common/UrlEncode.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace quillmark {
namespace {

TEST(UrlEncodeTest, GivesNothingForNothing) {
    EXPECT_EQ(UrlEncode(WideView(), false), "");
    EXPECT_EQ(UrlEncode(WideView(), true), "");
}

TEST(UrlEncodeTest, KeepsSlashAndTildeInPathsOnly) {
    EXPECT_EQ(UrlEncode(QM_W("a b/c~d"), false), "a%20b/c~d");
    EXPECT_EQ(UrlEncode(QM_W("a b/c~d"), true), "a+b%2Fc%7Ed");
}

TEST(UrlEncodeTest, EncodesEveryOtherAsciiCharacterInPaths) {
    WideString all;
    for (WideChar unit = 1; unit < 0x80; ++unit) {
        all += unit;
    }
    EXPECT_EQ(UrlEncode(all, false),
              "%01%02%03%04%05%06%07%08%09%0A%0B%0C%0D%0E%0F%10%11%12%13%14%15%16%17%18%19%1A%1B%1C%1D%1E%1F"
              "%20%21%22%23%24%25%26%27%28%29%2A%2B%2C-./0123456789%3A%3B%3C%3D%3E%3F"
              "%40ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_%60abcdefghijklmnopqrstuvwxyz%7B%7C%7D~%7F");
}

TEST(UrlEncodeTest, EncodesEveryOtherAsciiCharacterInForms) {
    WideString all;
    for (WideChar unit = 1; unit < 0x80; ++unit) {
        all += unit;
    }
    EXPECT_EQ(UrlEncode(all, true),
              "%01%02%03%04%05%06%07%08%09%0A%0B%0C%0D%0E%0F%10%11%12%13%14%15%16%17%18%19%1A%1B%1C%1D%1E%1F"
              "+%21%22%23%24%25%26%27%28%29%2A%2B%2C-.%2F0123456789%3A%3B%3C%3D%3E%3F"
              "%40ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_%60abcdefghijklmnopqrstuvwxyz%7B%7C%7D%7E%7F");
}

TEST(UrlEncodeTest, EncodesTheUtf8BytesOfOtherLetters) {
    EXPECT_EQ(UrlEncode(QM_W("\x00E9"), false), "%C3%A9");
    EXPECT_EQ(UrlEncode(QM_W("\x4E2D"), true), "%E4%B8%AD");
    EXPECT_EQ(UrlEncode(QM_W("\xD83D\xDE00"), false), "%F0%9F%98%80");
    EXPECT_EQ(UrlEncode(QM_W("e\x0301"), false), "e%CC%81");
}

TEST(UrlEncodeTest, EncodesALoneSurrogateAsTheReplacementCharacter) {
    const WideChar lone = 0xD800;
    EXPECT_EQ(UrlEncode(WideView(&lone, 1), false), "%EF%BF%BD");
}

TEST(UrlEncodeTest, EncodesZeros) {
    EXPECT_EQ(UrlEncode(WideView(QM_W("a\0b"), 3), false), "a%00b");
}

TEST(UrlEncodeTest, RefusesATextThatIsTooLong) {
    const WideChar unit = QM_W('a');
    EXPECT_THROW(static_cast<void>(UrlEncode(WideView(&unit, std::size_t{1} << 31U), false)), std::length_error);
}

}  // namespace
}  // namespace quillmark
