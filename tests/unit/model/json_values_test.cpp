// Single values by key, and the reply as text for the log.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "fakes/RecordingEventing.h"
#include "model/JsonResponse.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

constexpr const char* ValueFunction = "CNativeHttp::GetJSONValueFromResponse";

// The string under "key", or "(none)".
std::string StringOf(std::string_view text) {
    std::string value = "(none)";
    const bool found = GetJSONStringFromResponse(ReplyOf(text), "key", value);
    EXPECT_EQ(found, value != "(none)") << text;
    return value;
}

// 1 and 0 for the boolean under "key", -1 for none; in that case the out argument is left alone.
int BoolOf(std::string_view text) {
    bool first = false;
    bool second = true;
    const bool found = GetJSONBoolFromResponse(ReplyOf(text), "key", first);
    EXPECT_EQ(GetJSONBoolFromResponse(ReplyOf(text), "key", second), found);
    if (!found) {
        EXPECT_FALSE(first) << text;
        EXPECT_TRUE(second) << text;
        return -1;
    }
    EXPECT_EQ(first, second);
    return first ? 1 : 0;
}

TEST(JsonString, IsTheMembersText) {
    EXPECT_EQ(StringOf(R"({"key":"value"})"), "value");
    EXPECT_EQ(StringOf(R"({"key":""})"), "");
    EXPECT_EQ(StringOf(R"({"other":1,"key":"\u00e4\n"})"), "\xC3\xA4\n");
}

TEST(JsonString, KeepsBytesThatAreNoUtf8) {
    EXPECT_EQ(StringOf("{\"key\":\"a\xFF\xC0\"}"), "a\xFF\xC0");
}

TEST(JsonString, KeepsAZeroInTheMiddle) {
    EXPECT_EQ(StringOf(R"({"key":"a\u0000b"})"), std::string("a\0b", 3));
}

TEST(JsonString, IsNoneWhenMissingOrOfAnotherType) {
    for (const char* text : {"{}", "{\"other\":\"x\"}", "{\"key\":null}", "{\"key\":5}", "{\"key\":1.5}",
                             "{\"key\":true}", "{\"key\":[\"x\"]}", "{\"key\":{\"key\":\"x\"}}"}) {
        const fakes::RecordedLog log;
        EXPECT_EQ(StringOf(text), "(none)");
        EXPECT_TRUE(log.Records().empty()) << text;
    }
}

TEST(JsonString, IsNoneAndLoggedWhenTheReplyIsNoJson) {
    const fakes::RecordedLog log;
    EXPECT_EQ(StringOf("not json"), "(none)");
    ASSERT_EQ(log.Records().size(), 1u);
    const fakes::LogRecord record = log.Records().front();
    EXPECT_EQ(record.descriptor.id, 103u);
    EXPECT_EQ(record.source, "NativeHttp");
    EXPECT_EQ(record.function, ValueFunction);
    EXPECT_EQ(record.text.rfind("Failed to parse JSON from server, parser error = [* Line 1, Column 1\n", 0), 0u);
}

TEST(JsonString, IsNoneForANullBuffer) {
    std::string value = "untouched";
    EXPECT_FALSE(GetJSONStringFromResponse(ResponseBuffer(), "key", value));
    EXPECT_EQ(value, "untouched");
}

TEST(JsonString, IsNoneAndLoggedWhenTheRootIsAnArray) {
    const fakes::RecordedLog log;
    EXPECT_EQ(StringOf("[\"key\"]"), "(none)");
    ASSERT_EQ(log.Records().size(), 1u);
    EXPECT_TRUE(log.Has(103, "NativeHttp", ValueFunction,
                        "JSON library has thrown a runtime_error exception (in Json::Value::find(begin, end): requires "
                        "objectValue or nullValue)!"));
}

TEST(JsonString, ReadsOnlyTheBytesOfTheBuffer) {
    ResponseBuffer reply;
    constexpr std::string_view Text = "{\"key\":\"value\"}garbage{";
    Text.copy(reply.Extend(Text.size()), Text.size());
    reply.Commit(Text.find('g'));
    std::string value;
    EXPECT_TRUE(GetJSONStringFromResponse(reply, "key", value));
    EXPECT_EQ(value, "value");
}

TEST(JsonBool, IsTheMembersValue) {
    EXPECT_EQ(BoolOf(R"({"key":true})"), 1);
    EXPECT_EQ(BoolOf(R"({"key":false})"), 0);
}

TEST(JsonBool, MayBeGivenAsALowerCaseString) {
    EXPECT_EQ(BoolOf(R"({"key":"true"})"), 1);
    EXPECT_EQ(BoolOf(R"({"key":"false"})"), 0);
}

TEST(JsonBool, IsNoneForAnythingElse) {
    for (const char* text : {"{\"key\":\"True\"}", "{\"key\":\"TRUE\"}", "{\"key\":\" true\"}", "{\"key\":\"\"}",
                             "{\"key\":\"true\\u0000\"}", "{\"key\":1}", "{\"key\":0}", "{\"key\":null}",
                             "{\"key\":[true]}", "{\"key\":{}}", "{}", "[true]", "true", "", "{\"key\":tru"}) {
        EXPECT_EQ(BoolOf(text), -1) << text;
    }
}

TEST(JsonText, IsIndented) {
    std::string text;
    EXPECT_TRUE(RenderJSONResponse(ReplyOf(R"({"b":[1,2.5,"x"],"a":{"c":null},"e":[]})"), text));
    EXPECT_EQ(text,
              "{\n"
              "\t\"a\" : \n"
              "\t{\n"
              "\t\t\"c\" : null\n"
              "\t},\n"
              "\t\"b\" : \n"
              "\t[\n"
              "\t\t1,\n"
              "\t\t2.5,\n"
              "\t\t\"x\"\n"
              "\t],\n"
              "\t\"e\" : []\n"
              "}");
}

TEST(JsonText, KeepsUtf8AndEscapesLineFeeds) {
    std::string text;
    EXPECT_TRUE(RenderJSONResponse(ReplyOf("[\"\xC3\xA4\\n\"]"), text));
    EXPECT_EQ(text, "[\n\t\"\xC3\xA4\\n\"\n]");
}

TEST(JsonText, LeavesTheTextAloneAndLogsNothingWhenTheReplyIsNoJson) {
    const fakes::RecordedLog log;
    std::string text = "untouched";
    EXPECT_FALSE(RenderJSONResponse(ReplyOf("<html>"), text));
    EXPECT_FALSE(RenderJSONResponse(ReplyOf("\"scalar\""), text));
    EXPECT_FALSE(RenderJSONResponse(ReplyOf("// comment\n{}"), text));
    EXPECT_FALSE(RenderJSONResponse(ResponseBuffer(), text));
    EXPECT_EQ(text, "untouched");
    EXPECT_TRUE(log.Records().empty());
}

}  // namespace
}  // namespace quillmark
