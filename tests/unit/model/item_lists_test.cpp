// Which items a reply describes: the modes, "contents" and "document_info", lists and single items.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "fakes/RecordingEventing.h"
#include "model/JsonResponse.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

struct Parsed {
    DWORD code = 0;
    std::uint32_t count = 77;
    ItemList items;

    [[nodiscard]] std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& item : items) {
            names.push_back(NarrowUtf8(item->GetName()));
        }
        return names;
    }
};

Parsed Parse(std::string_view text, bool topLevel) {
    Parsed parsed;
    parsed.code = GetAttributesFromResponse(ReplyOf(text), parsed.items, topLevel, parsed.count);
    EXPECT_EQ(parsed.items.size(), parsed.count);
    return parsed;
}

using Names = std::vector<std::string>;

TEST(TopLevelItems, EmptyContentsIsNoItemAndNoError) {
    const Parsed parsed = Parse(R"({"contents":[]})", true);
    EXPECT_EQ(parsed.code, 0u);
    EXPECT_EQ(parsed.count, 0u);
}

TEST(TopLevelItems, EmptyObjectIsNoItemAndNoError) {
    const Parsed parsed = Parse("{}", true);
    EXPECT_EQ(parsed.code, 0u);
    EXPECT_EQ(parsed.count, 0u);
}

TEST(TopLevelItems, ContentsKeepTheReplysOrder) {
    const Parsed parsed = Parse(R"({"contents":[{"name":"b"},{"name":"a"},{"name":"c"}]})", true);
    EXPECT_EQ(parsed.code, 0u);
    EXPECT_EQ(parsed.Names(), Names({"b", "a", "c"}));
}

TEST(TopLevelItems, DocumentInfoThatIsAnObjectIsOneItem) {
    const Parsed parsed = Parse(R"({"document_info":{"name":"x","revision":"9"}})", true);
    EXPECT_EQ(parsed.code, 0u);
    ASSERT_EQ(parsed.count, 1u);
    EXPECT_EQ(parsed.items.front()->GetRevision(), "9");
}

TEST(TopLevelItems, DocumentInfoThatIsAnArrayIsItsItems) {
    EXPECT_EQ(Parse(R"({"document_info":[{"name":"x"},{"name":"y"}]})", true).Names(), Names({"x", "y"}));
}

TEST(TopLevelItems, ContentsThatIsAnObjectIsOneItem) {
    EXPECT_EQ(Parse(R"({"contents":{"name":"x"}})", true).Names(), Names({"x"}));
}

TEST(TopLevelItems, ContentsWinsOverDocumentInfo) {
    EXPECT_EQ(Parse(R"({"document_info":{"name":"info"},"contents":[{"name":"content"}]})", true).Names(),
              Names({"content"}));
}

TEST(TopLevelItems, NullContentsStillWinsAndIsNoItem) {
    const Parsed parsed = Parse(R"({"document_info":{"name":"info"},"contents":null})", true);
    EXPECT_EQ(parsed.code, 0u);
    EXPECT_EQ(parsed.count, 0u);
}

TEST(TopLevelItems, RootArrayIsAListOfFolders) {
    EXPECT_EQ(Parse(R"([{"contents":[{"name":"a"}]},{"document_info":{"name":"b"}},{}])", true).Names(),
              Names({"a", "b"}));
}

TEST(ItemMode, RootObjectIsTheItem) {
    const Parsed parsed = Parse(R"({"name":"self","contents":[{"name":"inside"}]})", false);
    EXPECT_EQ(parsed.code, 0u);
    EXPECT_EQ(parsed.Names(), Names({"self"}));
}

TEST(ItemMode, RootArrayIsTheItems) {
    EXPECT_EQ(Parse(R"([{"name":"a"},{"name":"b"}])", false).Names(), Names({"a", "b"}));
}

TEST(ItemMode, EmptyObjectIsAnItemOfDefaults) {
    const Parsed parsed = Parse("{}", false);
    ASSERT_EQ(parsed.count, 1u);
    EXPECT_FALSE(parsed.items.front()->HasName());
}

TEST(ItemMode, AppendsBehindWhatTheListHolds) {
    ItemList items = {MakeAttributes()};
    std::uint32_t count = 0;
    EXPECT_EQ(GetAttributesFromResponse(ReplyOf(R"({"name":"new"})"), items, false, count), 0u);
    EXPECT_EQ(count, 1u);
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items.back()->GetName(), QM_W("new"));
}

TEST(ChildrenAndSelf, FillsBothListsAndCountsTheSum) {
    ItemList children;
    ItemList self;
    std::uint32_t count = 0;
    const ResponseBuffer reply =
        ReplyOf(R"({"name":"folder","directory":true,"contents":[{"name":"a"},{"name":"b"}]})");
    EXPECT_EQ(GetAttributesFromResponse(reply, children, self, count), 0u);
    EXPECT_EQ(count, 3u);
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(children.front()->GetName(), QM_W("a"));
    EXPECT_EQ(children.back()->GetName(), QM_W("b"));
    ASSERT_EQ(self.size(), 1u);
    EXPECT_EQ(self.front()->GetName(), QM_W("folder"));
    EXPECT_EQ(self.front()->GetFileAttributes(), 0x10u);
}

TEST(ChildrenAndSelf, GivesInvalidDataWhenTheReplyIsNoJson) {
    const fakes::RecordedLog log;
    ItemList children;
    ItemList self;
    std::uint32_t count = 5;
    EXPECT_EQ(GetAttributesFromResponse(ReplyOf("<html>"), children, self, count), 13u);
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(children.empty());
    EXPECT_TRUE(self.empty());
    EXPECT_EQ(log.Texts(103).size(), 1u);
}

TEST(UnreadableReply, GivesInvalidDataAndLogsTheParsersMessage) {
    const fakes::RecordedLog log;
    const Parsed parsed = Parse("<html>", true);
    EXPECT_EQ(parsed.code, 13u);
    EXPECT_EQ(parsed.count, 0u);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::GetAttributesFromResponse",
                        "Failed to parse JSON from server, parser error = [* Line 1, Column 1\n"
                        "  Syntax error: value, object or array expected.\n"
                        "* Line 1, Column 1\n"
                        "  A valid JSON document must be either an array or an object value.\n]"));
}

TEST(UnreadableReply, NullAndEmptyBuffersAreUnreadable) {
    ItemList items;
    std::uint32_t count = 0;
    EXPECT_EQ(GetAttributesFromResponse(ResponseBuffer(), items, true, count), 13u);
    EXPECT_EQ(GetAttributesFromResponse(ReplyOf(""), items, true, count), 13u);
}

TEST(UnreadableReply, ScalarsAtTheRootAreUnreadable) {
    for (const char* text : {"1", "-1.5", "\"text\"", "true", "null"}) {
        EXPECT_EQ(Parse(text, true).code, 13u) << text;
        EXPECT_EQ(Parse(text, false).code, 13u) << text;
    }
}

TEST(ArrayThatBreaks, KeepsTheItemsBeforeTheBadOneAndLosesTheRest) {
    const fakes::RecordedLog log;
    const Parsed parsed = Parse(R"({"contents":[{"name":"a"},{"name":"b","directory":"true"},{"name":"c"}]})", true);
    EXPECT_EQ(parsed.code, 0u);
    EXPECT_EQ(parsed.Names(), Names({"a"}));
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::ProcessJSONArray",
                        "JSON library has thrown a runtime_error exception (Value is not convertible to bool.)!"));
}

TEST(ArrayThatBreaks, EndsAtAnElementThatIsNoObject) {
    EXPECT_EQ(Parse(R"([{"name":"a"},"text",{"name":"c"}])", false).Names(), Names({"a"}));
    EXPECT_EQ(Parse(R"([{"name":"a"},17,{"name":"c"}])", false).Names(), Names({"a"}));
    EXPECT_EQ(Parse(R"([{"name":"a"},[],{"name":"c"}])", false).Names(), Names({"a"}));
    EXPECT_EQ(Parse(R"([{"contents":[{"name":"a"}]},"text"])", true).Names(), Names({"a"}));
}

TEST(ArrayThatBreaks, TakesANullElementAsAnEmptyObject) {
    EXPECT_EQ(Parse(R"([{"name":"a"},null,{"name":"c"}])", false).Names(), Names({"a", "", "c"}));
}

TEST(ArrayOfItems, SkipsAnItemWithAnUnreadableTimeAndGoesOn) {
    const Parsed parsed =
        Parse(R"([{"name":"a"},{"name":"b","creation_time":"2015-01-01T00:00:00Z"},{"name":"c"}])", false);
    EXPECT_EQ(parsed.code, 0u);
    EXPECT_EQ(parsed.Names(), Names({"a", "c"}));
}

}  // namespace
}  // namespace quillmark
