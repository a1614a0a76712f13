// How the members of an item in a reply become the fields of its record.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "fakes/RecordingEventing.h"
#include "model/JsonResponse.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

// 2016-02-29T23:59:59Z.
constexpr std::int64_t LeapSecondBefore2016March = 131012639990000000;

// The record of a single item; null when the reply gives none.
std::shared_ptr<IServerAttributes> ItemOf(std::string_view text) {
    ItemList items;
    std::uint32_t count = 0;
    EXPECT_EQ(GetAttributesFromResponse(ReplyOf(text), items, false, count), 0u);
    EXPECT_EQ(items.size(), count);
    return items.empty() ? nullptr : items.front();
}

constexpr const char* Dictionary = "CNativeHttp::ProcessJSONDictionary";

TEST(ItemFields, ReadsACompleteItem) {
    const fakes::RecordedLog log;
    const auto item = ItemOf(R"({"revision":"r1","name":"Bericht \u00e4.txt","directory":false,
        "creation_time":"2016-02-29T23:59:59.9999999Z","modification_time":"2016-02-29T23:59:59.5Z",
        "size":5000000000,"attributes":33,"permissions":"WRITE"})");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->GetRevision(), "r1");
    EXPECT_EQ(item->GetName(), QM_W("Bericht \u00e4.txt"));
    EXPECT_EQ(item->GetCreationTime().Ticks(), LeapSecondBefore2016March + 9999999);
    EXPECT_EQ(item->GetChangeTime().Ticks(), LeapSecondBefore2016March + 5000000);
    EXPECT_EQ(item->GetLastWriteTime().Ticks(), LeapSecondBefore2016March + 5000000);
    EXPECT_EQ(item->GetLastAccessTime().Ticks(), LeapSecondBefore2016March + 5000000);
    EXPECT_EQ(item->GetSize(), 5000000000);
    EXPECT_EQ(item->GetFileAttributes(), 33u);
    EXPECT_FALSE(item->IsReadOnly());
    EXPECT_FALSE(item->IsFolderReadOnly());
    EXPECT_FALSE(item->HasAuxiliaryValue());
    EXPECT_FALSE(item->HasAuxiliaryText());
    EXPECT_TRUE(log.Records().empty());
}

TEST(ItemFields, DefaultsAndLogsWhatIsMissing) {
    const fakes::RecordedLog log;
    const auto item = ItemOf("{}");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->GetRevision(), "");
    EXPECT_FALSE(item->HasName());
    EXPECT_FALSE(item->GetCreationTime().IsSet());
    EXPECT_FALSE(item->GetLastWriteTime().IsSet());
    EXPECT_EQ(item->GetSize(), 0);
    EXPECT_EQ(item->GetFileAttributes(), 0x80u);
    EXPECT_FALSE(item->IsReadOnly());
    EXPECT_EQ(log.Texts(102),
              std::vector<std::string>({"Invalid or missing 'creation_time' in server response.",
                                        "Invalid or missing 'creation_time' in server response.",
                                        "Invalid or missing 'size' in server response (type is 0)",
                                        "Invalid or missing 'attributes' in server response (type is 0)"}));
    EXPECT_TRUE(log.Has(102, "NativeHttp", Dictionary, "Invalid or missing 'size' in server response (type is 0)"));
}

TEST(ItemRevision, TakesANumberOrABooleanAsText) {
    EXPECT_EQ(ItemOf(R"({"revision":17})")->GetRevision(), "17");
    EXPECT_EQ(ItemOf(R"({"revision":true})")->GetRevision(), "true");
    EXPECT_EQ(ItemOf(R"({"revision":null})")->GetRevision(), "");
}

TEST(ItemName, LosesItsTrailingSlashes) {
    EXPECT_EQ(ItemOf(R"({"name":"folder//"})")->GetName(), QM_W("folder"));
}

TEST(ItemName, ComesFromThePathWhenEmptyOrMissing) {
    EXPECT_EQ(ItemOf(R"({"name":"","orca_path":"/Shared/Docs/report.txt"})")->GetName(), QM_W("report.txt"));
    EXPECT_EQ(ItemOf(R"({"orca_path":"/Shared/Docs/report.txt"})")->GetName(), QM_W("report.txt"));
    EXPECT_EQ(ItemOf(R"({"name":null,"orca_path":"/\u4e2d\u6587"})")->GetName(), QM_W("\u4e2d\u6587"));
}

TEST(ItemName, SplitsThePathAtTheLastBackslashFirst) {
    EXPECT_EQ(ItemOf(R"({"orca_path":"a\\b/c"})")->GetName(), QM_W("b/c"));
    EXPECT_EQ(ItemOf(R"({"orca_path":"a\\b\\c"})")->GetName(), QM_W("c"));
}

TEST(ItemName, IsEmptyWhenThePathHasNoSeparatorOrNothingBehindIt) {
    EXPECT_FALSE(ItemOf(R"({"orca_path":"report.txt"})")->HasName());
    EXPECT_FALSE(ItemOf(R"({"orca_path":"/Shared/"})")->HasName());
    EXPECT_FALSE(ItemOf(R"({"orca_path":""})")->HasName());
}

TEST(ItemName, WinsOverThePath) {
    EXPECT_EQ(ItemOf(R"({"name":"a","orca_path":"/x/b"})")->GetName(), QM_W("a"));
}

TEST(ItemName, AcceptsEveryCharacter) {
    const fakes::RecordedLog log;
    EXPECT_EQ(ItemOf(R"j({"name":"a:b*c?<d>|\"e\\f 01#$%&'()"})j")->GetName(), QM_W("a:b*c?<d>|\"e\\f 01#$%&'()"));
    EXPECT_EQ(ItemOf(R"({"name":"tab\tfeed\nbell\u0007"})")->GetName(), QM_W("tab\tfeed\nbell\u0007"));
    EXPECT_FALSE(log.Mentions("Invalid filename in server response."));
}

TEST(ItemName, KeepsAZeroInTheMiddle) {
    const auto item = ItemOf(R"({"name":"a\u0000b"})");
    EXPECT_EQ(item->GetName().view(), WideView(QM_W("a\0b"), 3));
}

TEST(ItemName, ReplacesInvalidUtf8) {
    EXPECT_EQ(ItemOf("{\"name\":\"a\xFF"
                     "b\"}")
                  ->GetName(),
              QM_W("a\uFFFDb"));
    EXPECT_EQ(ItemOf("{\"name\":\"a\xE4\xB8\"}")->GetName(), QM_W("a\uFFFD"));
    EXPECT_EQ(ItemOf("{\"orca_path\":\"/a\xFF/b\xC0\"}")->GetName(), QM_W("b\uFFFD"));
}

TEST(ItemName, JoinsSurrogatePairs) {
    EXPECT_EQ(ItemOf(R"({"name":"\ud83d\ude00"})")->GetName(), QM_W("\U0001F600"));
    EXPECT_EQ(ItemOf("{\"name\":\"\xF0\x9F\x98\x80\"}")->GetName(), QM_W("\U0001F600"));
}

TEST(ItemTimes, DropTheItemWhenTheCreationTimeCannotBeRead) {
    const fakes::RecordedLog log;
    EXPECT_EQ(ItemOf(R"({"name":"a","creation_time":"2015-01-01T00:00:00Z"})"), nullptr);
    EXPECT_TRUE(log.Has(103, "AttributeTime",
                        "CAttributeTime::operator =", "Error: [2015-01-01T00:00:00Z] is not a valid time"));
}

TEST(ItemTimes, DropTheItemWhenTheModificationTimeCannotBeRead) {
    const fakes::RecordedLog log;
    EXPECT_EQ(ItemOf(R"({"name":"a","modification_time":"yesterday"})"), nullptr);
    EXPECT_EQ(log.Count(103, "Error: [yesterday] is not a valid time"), 1u);
}

TEST(ItemTimes, StayUnsetWhenTheyAreNoText) {
    const fakes::RecordedLog log;
    const auto item = ItemOf(R"({"creation_time":0,"modification_time":["2016-02-29T23:59:59.5Z"]})");
    ASSERT_NE(item, nullptr);
    EXPECT_FALSE(item->GetCreationTime().IsSet());
    EXPECT_FALSE(item->GetLastAccessTime().IsSet());
    EXPECT_FALSE(item->GetLastWriteTime().IsSet());
    EXPECT_FALSE(item->GetChangeTime().IsSet());
    // One text for both members is meant.
    EXPECT_EQ(log.Count(102, "Invalid or missing 'creation_time' in server response."), 2u);
    EXPECT_FALSE(log.Mentions("'modification_time'"));
}

TEST(ItemSize, IsReadFromEveryKindOfNumber) {
    EXPECT_EQ(ItemOf(R"({"size":0})")->GetSize(), 0);
    EXPECT_EQ(ItemOf(R"({"size":-5})")->GetSize(), -5);
    EXPECT_EQ(ItemOf(R"({"size":4294967296})")->GetSize(), 4294967296);
    EXPECT_EQ(ItemOf(R"({"size":1.9})")->GetSize(), 1);
    EXPECT_EQ(ItemOf(R"({"size":-1.9})")->GetSize(), -1);
    EXPECT_EQ(ItemOf(R"({"size":2e3})")->GetSize(), 2000);
}

TEST(ItemSize, GoesThroughDoubleAndLosesBitsAbove2To53) {
    EXPECT_EQ(ItemOf(R"({"size":9007199254740993})")->GetSize(), 9007199254740992);
}

TEST(ItemSize, SaturatesAtTheLimitsOf64Bits) {
    EXPECT_EQ(ItemOf(R"({"size":1e300})")->GetSize(), 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(ItemOf(R"({"size":9223372036854775808})")->GetSize(), 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(ItemOf(R"({"size":18446744073709551615})")->GetSize(), 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(ItemOf(R"({"size":-1e300})")->GetSize(), -0x7FFFFFFFFFFFFFFF - 1);
    EXPECT_EQ(ItemOf(R"({"size":-9223372036854775808})")->GetSize(), -0x7FFFFFFFFFFFFFFF - 1);
}

TEST(ItemSize, IsZeroAndLoggedWithItsTypeWhenItIsNoNumber) {
    const fakes::RecordedLog log;
    EXPECT_EQ(ItemOf(R"({"size":"123"})")->GetSize(), 0);
    EXPECT_TRUE(log.Has(102, "NativeHttp", Dictionary, "Invalid or missing 'size' in server response (type is 4)"));
    EXPECT_EQ(ItemOf(R"({"size":true})")->GetSize(), 0);
    EXPECT_TRUE(log.Has(102, "Invalid or missing 'size' in server response (type is 5)"));
    EXPECT_EQ(ItemOf(R"({"size":[1]})")->GetSize(), 0);
    EXPECT_TRUE(log.Has(102, "Invalid or missing 'size' in server response (type is 6)"));
    EXPECT_EQ(ItemOf(R"({"size":{}})")->GetSize(), 0);
    EXPECT_TRUE(log.Has(102, "Invalid or missing 'size' in server response (type is 7)"));
}

TEST(ItemAttributes, OfAFolderAlwaysHoldTheDirectoryBit) {
    EXPECT_EQ(ItemOf(R"({"directory":true,"attributes":32})")->GetFileAttributes(), 0x30u);
    EXPECT_EQ(ItemOf(R"({"directory":true,"attributes":16})")->GetFileAttributes(), 0x10u);
    EXPECT_EQ(ItemOf(R"({"directory":true})")->GetFileAttributes(), 0x10u);
}

TEST(ItemAttributes, ReplaceWhatTheDirectoryMemberSet) {
    EXPECT_EQ(ItemOf(R"({"directory":false,"attributes":33})")->GetFileAttributes(), 0x21u);
    EXPECT_EQ(ItemOf(R"({"directory":false,"attributes":16})")->GetFileAttributes(), 0x10u);
    EXPECT_EQ(ItemOf(R"({"attributes":4294967295})")->GetFileAttributes(), 0xFFFFFFFFu);
    EXPECT_EQ(ItemOf(R"({"attributes":32.9})")->GetFileAttributes(), 32u);
}

TEST(ItemAttributes, OfADirectoryThatIsANumberAreReplacedWithoutTheBit) {
    // A number converts to true, but only the boolean true puts the bit back.
    EXPECT_EQ(ItemOf(R"({"directory":1})")->GetFileAttributes(), 0x10u);
    EXPECT_EQ(ItemOf(R"({"directory":1,"attributes":32})")->GetFileAttributes(), 0x20u);
    EXPECT_EQ(ItemOf(R"({"directory":0})")->GetFileAttributes(), 0x80u);
    EXPECT_EQ(ItemOf(R"({"directory":null})")->GetFileAttributes(), 0x80u);
}

TEST(ItemAttributes, KeepTheDirectoryMembersWhenTheyAreNoNumber) {
    const fakes::RecordedLog log;
    EXPECT_EQ(ItemOf(R"({"attributes":"32"})")->GetFileAttributes(), 0x80u);
    EXPECT_TRUE(
        log.Has(102, "NativeHttp", Dictionary, "Invalid or missing 'attributes' in server response (type is 4)"));
    EXPECT_EQ(ItemOf(R"({"directory":true,"attributes":false})")->GetFileAttributes(), 0x10u);
    EXPECT_TRUE(log.Has(102, "Invalid or missing 'attributes' in server response (type is 5)"));
}

TEST(ItemPermissions, WriteInAnyLetterCaseIsWritable) {
    for (const char* text :
         {R"({"permissions":"WRITE"})", R"({"permissions":"write"})", R"({"permissions":"wRiTe"})"}) {
        const auto item = ItemOf(text);
        EXPECT_FALSE(item->IsReadOnly()) << text;
        EXPECT_FALSE(item->IsFolderReadOnly()) << text;
    }
}

TEST(ItemPermissions, AnyOtherTextSetsBothFlags) {
    for (const char* text : {R"({"permissions":"READ"})", R"({"permissions":""})", R"({"permissions":"WRITES"})",
                             R"({"permissions":"WRIT"})", R"({"permissions":"WRITE "})"}) {
        const auto item = ItemOf(text);
        EXPECT_TRUE(item->IsReadOnly()) << text;
        EXPECT_TRUE(item->IsFolderReadOnly()) << text;
    }
}

TEST(ItemPermissions, OnlyTextCounts) {
    const auto item = ItemOf(R"({"permissions":["READ"]})");
    EXPECT_FALSE(item->IsReadOnly());
    EXPECT_FALSE(item->IsFolderReadOnly());
}

TEST(ItemPermissions, FolderPermissionsOverrideTheFolderFlag) {
    const auto cleared = ItemOf(R"({"permissions":"READ","folder_permissions":"Write"})");
    EXPECT_TRUE(cleared->IsReadOnly());
    EXPECT_FALSE(cleared->IsFolderReadOnly());
    const auto set = ItemOf(R"({"permissions":"WRITE","folder_permissions":"READ"})");
    EXPECT_FALSE(set->IsReadOnly());
    EXPECT_TRUE(set->IsFolderReadOnly());
}

TEST(ItemPermissions, FolderPermissionsOfAnyTypeButNullCount) {
    EXPECT_TRUE(ItemOf(R"({"folder_permissions":5})")->IsFolderReadOnly());
    EXPECT_TRUE(ItemOf(R"({"folder_permissions":false})")->IsFolderReadOnly());
    EXPECT_FALSE(ItemOf(R"({"folder_permissions":null})")->IsFolderReadOnly());
    EXPECT_FALSE(ItemOf(R"({"folder_permissions":5})")->IsReadOnly());
}

}  // namespace
}  // namespace quillmark
