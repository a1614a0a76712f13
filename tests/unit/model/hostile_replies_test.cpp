// Replies that no honest server sends, and what the parser makes of documents that are not quite JSON.
#include <gtest/gtest.h>
#include <json/value.h>

#include <new>
#include <string>
#include <string_view>

#include "fakes/RecordingEventing.h"
#include "model/JsonExceptions.h"
#include "model/JsonResponse.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

// The code that an operation ends with when it reads this reply: what the reader returns or, when it throws, the code
// at the operation's boundary.
DWORD CodeOf(std::string_view text, bool topLevel, std::uint32_t& count) {
    constexpr Logger log("CNativeHttp::Operation", LogSource::NativeHttp);
    count = 0;
    ItemList items;
    try {
        return GetAttributesFromResponse(ReplyOf(text), items, topLevel, count);
    } catch (...) {
        return CodeOfExceptionInFlight(log);
    }
}

DWORD CodeOf(std::string_view text, bool topLevel) {
    std::uint32_t count = 0;
    return CodeOf(text, topLevel, count);
}

std::string Nested(std::size_t depth, std::string_view opening, std::string_view closing) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += opening;
    }
    for (std::size_t i = 0; i < depth; ++i) {
        text += closing;
    }
    return text;
}

TEST(HostileReply, NestingWithoutBoundsIsInvalidData) {
    for (const std::string& text : {Nested(100000, "[", "]"), std::string(100000, '['), Nested(100000, "{\"a\":", ""),
                                    Nested(100000, "{\"contents\":", "}"), Nested(100000, "[{\"a\":", "}]")}) {
        EXPECT_EQ(CodeOf(text, true), 13u);
        EXPECT_EQ(CodeOf(text, false), 13u);
    }
}

TEST(HostileReply, NestingWithoutBoundsGivesNoValue) {
    const fakes::RecordedLog log;
    std::string text;
    bool flag = false;
    const ResponseBuffer reply = ReplyOf(Nested(100000, "{\"key\":", ""));
    EXPECT_FALSE(GetJSONStringFromResponse(reply, "key", text));
    EXPECT_FALSE(GetJSONBoolFromResponse(reply, "key", flag));
    EXPECT_EQ(
        log.Count(103, "JSON library has thrown a runtime_error exception (Exceeded stackLimit in readValue().)!"), 2u);
}

TEST(HostileReply, NestingWithoutBoundsCannotBeRendered) {
    std::string text;
    EXPECT_THROW(static_cast<void>(RenderJSONResponse(ReplyOf(std::string(100000, '[')), text)), Json::Exception);
}

TEST(HostileReply, DeepNestingWithinTheParsersLimitIsRead) {
    EXPECT_EQ(CodeOf(R"({"name":"a","x":)" + Nested(900, "[", "]") + "}", false), 0u);
    std::string text;
    EXPECT_TRUE(RenderJSONResponse(ReplyOf(Nested(900, "[", "]")), text));
}

TEST(HostileReply, ContentsThatAreAScalarAreInvalidData) {
    for (const char* text : {R"({"contents":"items"})", R"({"contents":7})", R"({"contents":1.5})",
                             R"({"contents":true})", R"({"document_info":"item"})"}) {
        const fakes::RecordedLog log;
        EXPECT_EQ(CodeOf(text, true), 13u) << text;
        EXPECT_EQ(log.Texts(103).size(), 1u) << text;
    }
}

TEST(HostileReply, SingleItemWithABadConversionIsInvalidData) {
    for (const char* text :
         {R"({"directory":"true"})", R"({"directory":[]})", R"({"directory":{}})", R"({"revision":[]})",
          R"({"revision":{}})", R"({"name":["a"]})", R"({"name":{}})", R"({"orca_path":[]})", R"({"attributes":-1})",
          R"({"attributes":4294967296})", R"({"attributes":1e300})", R"({"attributes":-1e300})",
          R"({"attributes":-0.5e1})", R"({"attributes":18446744073709551616})", R"({"folder_permissions":[]})",
          R"({"folder_permissions":{}})"}) {
        const fakes::RecordedLog log;
        std::uint32_t count = 0;
        EXPECT_EQ(CodeOf(text, false, count), 13u) << text;
        EXPECT_EQ(count, 0u) << text;
        EXPECT_TRUE(log.Mentions("JSON library has thrown a runtime_error exception (")) << text;
    }
}

TEST(HostileReply, ListWithABadConversionIsASuccessWithFewerItems) {
    std::uint32_t count = 0;
    EXPECT_EQ(CodeOf(R"([{"name":"a"},{"name":"b","attributes":-1},{"name":"c"}])", false, count), 0u);
    EXPECT_EQ(count, 1u);
}

TEST(HostileReply, HugeListIsRead) {
    std::string text = "[{}";
    for (int i = 1; i < 100000; ++i) {
        text += ",{}";
    }
    std::uint32_t count = 0;
    EXPECT_EQ(CodeOf(text + "]", false, count), 0u);
    EXPECT_EQ(count, 100000u);
}

TEST(HostileReply, HugeStringIsRead) {
    std::uint32_t count = 0;
    EXPECT_EQ(CodeOf("{\"name\":\"" + std::string(10000000, 'n') + "\"}", false, count), 0u);
    EXPECT_EQ(count, 1u);
}

TEST(HostileReply, EveryPrefixOfAReplyIsInvalidData) {
    constexpr std::string_view Reply = R"({"contents":[{"name":"a\u00e4","size":1.5e3,"directory":true},null]})";
    for (std::size_t length = 0; length < Reply.size(); ++length) {
        EXPECT_EQ(CodeOf(Reply.substr(0, length), true), 13u) << length;
    }
    EXPECT_EQ(CodeOf(Reply, true), 0u);
}

TEST(HostileReply, EveryReplyWithOneByteChangedEndsWithACode) {
    constexpr std::string_view Reply = R"({"contents":[{"name":"\u00e4","size":1,"directory":true,"revision":"1"}]})";
    for (std::size_t place = 0; place < Reply.size(); ++place) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string changed(Reply);
            changed[place] = static_cast<char>(byte);
            const DWORD code = CodeOf(changed, true);
            EXPECT_TRUE(code == 0 || code == 13) << place << " " << byte;
        }
    }
}

TEST(ParserAccepts, TextBehindTheRoot) {
    std::uint32_t count = 0;
    EXPECT_EQ(CodeOf(R"({"name":"a"} and more)", false, count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(CodeOf("{}{", false), 0u);
}

TEST(ParserAccepts, KeysGivenTwiceAndTakesTheLast) {
    std::string value;
    EXPECT_TRUE(GetJSONStringFromResponse(ReplyOf(R"({"key":"first","key":"last"})"), "key", value));
    EXPECT_EQ(value, "last");
}

TEST(ParserAccepts, LeadingZeros) {
    ItemList items;
    std::uint32_t count = 0;
    EXPECT_EQ(GetAttributesFromResponse(ReplyOf(R"({"size":007})"), items, false, count), 0u);
    EXPECT_EQ(items.front()->GetSize(), 7);
}

TEST(ParserAccepts, ASignWithoutDigitsAsZero) {
    ItemList items;
    std::uint32_t count = 0;
    EXPECT_EQ(GetAttributesFromResponse(ReplyOf(R"({"size":-})"), items, false, count), 0u);
    EXPECT_EQ(items.front()->GetSize(), 0);
}

TEST(ParserAccepts, CommentsWhereAMemberOrTheNextElementIsDue) {
    EXPECT_EQ(CodeOf("{ // comment\n}", false), 0u);
    EXPECT_EQ(CodeOf("[{} /* comment */ ,{}]", false), 0u);
}

TEST(ParserAccepts, BytesThatAreNoUtf8InsideAString) {
    EXPECT_EQ(CodeOf("{\"name\":\"\xFF\xFE\xC0\x80\xED\xA0\x80\"}", false), 0u);
}

TEST(ParserAccepts, ControlCharactersAndZeroBytesInsideAString) {
    EXPECT_EQ(CodeOf("{\"name\":\"a\nb\tc\"}", false), 0u);
    EXPECT_EQ(CodeOf(std::string_view("{\"name\":\"a\0b\"}", 14), false), 0u);
}

TEST(ParserRefuses, LoneSurrogates) {
    for (const char* text : {R"({"name":"\ud83d"})", R"({"name":"\ud83dx"})", R"({"name":"\ud83d\n"})"}) {
        EXPECT_EQ(CodeOf(text, false), 13u) << text;
    }
}

TEST(ParserRefuses, ByteOrderMark) {
    EXPECT_EQ(CodeOf("\xEF\xBB\xBF{}", false), 13u);
}

TEST(ParserRefuses, NumbersBeyondTheRangeOfDouble) {
    EXPECT_EQ(CodeOf(R"({"size":1e400})", false), 13u);
    EXPECT_EQ(CodeOf(R"({"size":-1e400})", false), 13u);
}

TEST(ParserRefuses, WhatIsNoJson) {
    for (const char* text : {"",
                             " ",
                             "{",
                             "}",
                             "[",
                             "]",
                             "{]",
                             "[1 2]",
                             "{\"a\"}",
                             "{\"a\":}",
                             "{'a':1}",
                             "{a:1}",
                             "[tru]",
                             "[NaN]",
                             "[Infinity]",
                             "[\"\\x\"]",
                             "[\"\\u12\"]",
                             "[\"open]",
                             "[,]",
                             "[,1]",

                             "<?xml version=\"1.0\"?>"}) {
        EXPECT_EQ(CodeOf(text, false), 13u) << text;
    }
}

TEST(ParserRefuses, CommentsBeforeAValue) {
    EXPECT_EQ(CodeOf("/* comment */ {}", false), 13u);
    EXPECT_EQ(CodeOf("[ // comment\n{}]", false), 13u);
    EXPECT_EQ(CodeOf("{\"name\": /* comment */ \"a\"}", false), 13u);
}

TEST(ParserRefuses, AZeroByteBetweenValues) {
    EXPECT_EQ(CodeOf(std::string_view("{\0}", 3), false), 13u);
}

}  // namespace
}  // namespace quillmark
