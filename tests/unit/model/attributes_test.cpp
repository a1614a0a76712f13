#include "quillmark/Attributes.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace quillmark {
namespace {

using Record = std::shared_ptr<IServerAttributes>;

constexpr std::int64_t Unset = 0x7FFFFFFFFFFFFFFF;

// A record with every field set, each to a value of its own.
Record FullRecord() {
    Record record = MakeAttributes();
    record->SetRevision("rev-17");
    record->SetCreationTime(CAttributeTime(101));
    record->SetLastAccessTime(CAttributeTime(102));
    record->SetLastWriteTime(CAttributeTime(103));
    record->SetChangeTime(CAttributeTime(104));
    record->SetSize(105);
    record->SetAuxiliaryValue(106);
    record->SetFileAttributes(0x21);
    record->SetName(QM_W("report.txt"));
    record->SetAuxiliaryText(QM_W("aside"));
    record->SetReadOnly(true);
    record->SetFolderReadOnly(true);
    return record;
}

void ExpectFull(const IServerAttributes& record) {
    EXPECT_EQ(record.GetRevision(), "rev-17");
    EXPECT_EQ(record.GetCreationTime().Ticks(), 101);
    EXPECT_EQ(record.GetLastAccessTime().Ticks(), 102);
    EXPECT_EQ(record.GetLastWriteTime().Ticks(), 103);
    EXPECT_EQ(record.GetChangeTime().Ticks(), 104);
    EXPECT_EQ(record.GetSize(), 105);
    EXPECT_EQ(record.GetAuxiliaryValue(), 106);
    EXPECT_EQ(record.GetFileAttributes(), 0x21u);
    EXPECT_EQ(record.GetName(), QM_W("report.txt"));
    EXPECT_EQ(record.GetAuxiliaryText(), QM_W("aside"));
    EXPECT_TRUE(record.IsReadOnly());
    EXPECT_TRUE(record.IsFolderReadOnly());
}

void ExpectUnset(const IServerAttributes& record) {
    EXPECT_EQ(record.GetRevision(), "");
    EXPECT_EQ(record.GetCreationTime().Ticks(), Unset);
    EXPECT_EQ(record.GetLastAccessTime().Ticks(), Unset);
    EXPECT_EQ(record.GetLastWriteTime().Ticks(), Unset);
    EXPECT_EQ(record.GetChangeTime().Ticks(), Unset);
    EXPECT_EQ(record.GetSize(), Unset);
    EXPECT_EQ(record.GetAuxiliaryValue(), Unset);
    EXPECT_EQ(record.GetFileAttributes(), 0xFFFFFFFFu);
    EXPECT_TRUE(record.GetName().empty());
    EXPECT_TRUE(record.GetAuxiliaryText().empty());
    EXPECT_FALSE(record.IsReadOnly());
    EXPECT_FALSE(record.IsFolderReadOnly());
    EXPECT_FALSE(record.HasTimes());
    EXPECT_FALSE(record.HasSize());
    EXPECT_FALSE(record.HasFileAttributes());
    EXPECT_FALSE(record.HasAuxiliaryValue());
    EXPECT_FALSE(record.HasAuxiliaryText());
    EXPECT_FALSE(record.HasName());
}

TEST(AttributesTest, StartWithEveryFieldUnset) {
    ExpectUnset(*MakeAttributes());
}

TEST(AttributesTest, HandBackWhatWasSet) {
    const Record record = FullRecord();
    ExpectFull(*record);
    EXPECT_TRUE(record->HasTimes());
    EXPECT_TRUE(record->HasSize());
    EXPECT_TRUE(record->HasFileAttributes());
    EXPECT_TRUE(record->HasAuxiliaryValue());
    EXPECT_TRUE(record->HasAuxiliaryText());
    EXPECT_TRUE(record->HasName());
}

TEST(AttributesTest, ResetUnsetsEverything) {
    const Record record = FullRecord();
    record->Reset();
    ExpectUnset(*record);
}

TEST(AttributesTest, ResetLeavesTheRecordShareable) {
    const auto record = std::make_shared<CAttributes<CServerItemAttributesBase>>();
    record->Reset();
    EXPECT_EQ(record->shared_from_this(), record);
}

TEST(AttributesTest, HaveTimesOnlyWhenAllFourAreSet) {
    const Record record = MakeAttributes();
    record->SetCreationTime(CAttributeTime(0));
    EXPECT_FALSE(record->HasTimes());
    record->SetLastAccessTime(CAttributeTime(0));
    EXPECT_FALSE(record->HasTimes());
    record->SetLastWriteTime(CAttributeTime(0));
    EXPECT_FALSE(record->HasTimes());
    record->SetChangeTime(CAttributeTime(0));
    EXPECT_TRUE(record->HasTimes());
    record->SetCreationTime(CAttributeTime());
    EXPECT_FALSE(record->HasTimes());
}

TEST(AttributesTest, CloneIsAnIndependentCopy) {
    const Record record = FullRecord();
    const Record clone = record->Clone();
    EXPECT_NE(clone, record);
    ExpectFull(*clone);
    clone->SetName(QM_W("other"));
    clone->SetSize(1);
    ExpectFull(*record);
}

TEST(AttributesTest, ConvertingCopyTakesEveryField) {
    const CAttributes<CServerItemAttributesBase> copy(FullRecord());
    ExpectFull(copy);
    const CAttributes<CServerItemAttributesBase> unset(MakeAttributes());
    ExpectUnset(unset);
}

TEST(AttributesTest, ConvertingCopyOfNothingIsUnset) {
    const CAttributes<CServerItemAttributesBase> copy(nullptr);
    ExpectUnset(copy);
}

TEST(AttributesTest, CopyAttributesOverwritesEveryField) {
    const Record target = FullRecord();
    CopyAttributes(*MakeAttributes(), *target);
    ExpectUnset(*target);
    CopyAttributes(*FullRecord(), *target);
    ExpectFull(*target);
}

TEST(AttributesTest, NameLosesEveryTrailingSlash) {
    const Record record = MakeAttributes();
    record->SetName(QM_W("a/b//"));
    EXPECT_EQ(record->GetName(), QM_W("a/b"));
    record->SetName(QM_W("folder"));
    EXPECT_EQ(record->GetName(), QM_W("folder"));
    record->SetName(QM_W("/lead\\"));
    EXPECT_EQ(record->GetName(), QM_W("/lead\\"));
}

TEST(AttributesTest, NameOfSlashesOnlyIsEmpty) {
    const Record record = FullRecord();
    record->SetName(QM_W("/"));
    EXPECT_TRUE(record->GetName().empty());
    EXPECT_FALSE(record->HasName());
    record->SetName(QM_W("///"));
    EXPECT_FALSE(record->HasName());
}

TEST(AttributesTest, AuxiliaryTextIsKeptUnchanged) {
    const Record record = MakeAttributes();
    record->SetAuxiliaryText(QM_W("text//"));
    EXPECT_EQ(record->GetAuxiliaryText(), QM_W("text//"));
}

TEST(AttributesTest, SetDirectoryReplacesAllFileAttributes) {
    const Record record = MakeAttributes();
    record->SetFileAttributes(0x21);
    record->SetDirectory(false);
    EXPECT_EQ(record->GetFileAttributes(), 0x80u);
    record->SetFileAttributes(0x21);
    record->SetDirectory(true);
    EXPECT_EQ(record->GetFileAttributes(), 0x10u);
}

TEST(AttributesTest, ReadOnlyFlagsAreIndependent) {
    const Record record = MakeAttributes();
    record->SetReadOnly(true);
    EXPECT_TRUE(record->IsReadOnly());
    EXPECT_FALSE(record->IsFolderReadOnly());
    record->SetFolderReadOnly(true);
    record->SetReadOnly(false);
    EXPECT_FALSE(record->IsReadOnly());
    EXPECT_TRUE(record->IsFolderReadOnly());
    record->SetFolderReadOnly(false);
    EXPECT_FALSE(record->IsFolderReadOnly());
}

TEST(AttributesTest, SizePrintsAsUnsigned64BitNumber) {
    const Record record = MakeAttributes();
    EXPECT_EQ(record->GetSizeText(), "9223372036854775807");
    record->SetSize(5000000000);
    EXPECT_EQ(record->GetSizeText(), "5000000000");
    EXPECT_EQ(record->GetSizeTextW(), QM_W("5000000000"));
    record->SetSize(-1);
    EXPECT_EQ(record->GetSizeText(), "18446744073709551615");
    EXPECT_EQ(record->GetSizeTextW(), QM_W("18446744073709551615"));
}

TEST(AttributesTest, FileAttributesPrintAsUnsigned32BitNumber) {
    const Record record = MakeAttributes();
    EXPECT_EQ(record->GetFileAttributesText(), "4294967295");
    EXPECT_EQ(record->GetFileAttributesTextW(), QM_W("4294967295"));
    record->SetFileAttributes(0x30);
    EXPECT_EQ(record->GetFileAttributesText(), "48");
    EXPECT_EQ(record->GetFileAttributesTextW(), QM_W("48"));
}

TEST(AttributesTest, EachClearUnsetsItsFieldsOnly) {
    const Record record = FullRecord();
    record->ClearTimes();
    EXPECT_EQ(record->GetCreationTime().Ticks(), Unset);
    EXPECT_EQ(record->GetLastAccessTime().Ticks(), Unset);
    EXPECT_EQ(record->GetLastWriteTime().Ticks(), Unset);
    EXPECT_EQ(record->GetChangeTime().Ticks(), Unset);
    EXPECT_TRUE(record->HasSize());
    record->ClearSize();
    EXPECT_FALSE(record->HasSize());
    EXPECT_TRUE(record->HasFileAttributes());
    record->ClearFileAttributes();
    EXPECT_EQ(record->GetFileAttributes(), 0xFFFFFFFFu);
    EXPECT_TRUE(record->HasAuxiliaryValue());
    record->ClearAuxiliaryValue();
    EXPECT_FALSE(record->HasAuxiliaryValue());
    EXPECT_TRUE(record->HasAuxiliaryText());
    record->ClearAuxiliaryText();
    EXPECT_FALSE(record->HasAuxiliaryText());
    EXPECT_TRUE(record->HasName());
    record->ClearName();
    EXPECT_FALSE(record->HasName());
    EXPECT_EQ(record->GetRevision(), "rev-17");
    EXPECT_TRUE(record->IsReadOnly());
}

TEST(AttributesTest, EqualOnlyWhenEveryFieldMatches) {
    EXPECT_TRUE(FullRecord()->Equals(*FullRecord()));
    EXPECT_TRUE(MakeAttributes()->Equals(*MakeAttributes()));
    const std::vector<std::function<void(IServerAttributes&)>> changes = {
        [](IServerAttributes& record) { record.SetRevision("rev-18"); },
        [](IServerAttributes& record) { record.SetCreationTime(CAttributeTime(1)); },
        [](IServerAttributes& record) { record.SetLastAccessTime(CAttributeTime(1)); },
        [](IServerAttributes& record) { record.SetLastWriteTime(CAttributeTime(1)); },
        [](IServerAttributes& record) { record.SetChangeTime(CAttributeTime(1)); },
        [](IServerAttributes& record) { record.SetSize(1); },
        [](IServerAttributes& record) { record.SetAuxiliaryValue(1); },
        [](IServerAttributes& record) { record.SetFileAttributes(1); },
        [](IServerAttributes& record) { record.SetName(QM_W("other")); },
        [](IServerAttributes& record) { record.SetAuxiliaryText(QM_W("other")); },
        [](IServerAttributes& record) { record.SetReadOnly(false); },
        [](IServerAttributes& record) { record.SetFolderReadOnly(false); }};
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const Record changed = FullRecord();
        changes[i](*changed);
        EXPECT_FALSE(FullRecord()->Equals(*changed)) << "change " << i;
        EXPECT_FALSE(changed->Equals(*FullRecord())) << "change " << i;
    }
}

TEST(AttributesTest, EqualMindsLetterCase) {
    const Record record = FullRecord();
    record->SetRevision("REV-17");
    EXPECT_FALSE(record->Equals(*FullRecord()));
    record->SetRevision("rev-17");
    EXPECT_TRUE(record->Equals(*FullRecord()));
    record->SetName(QM_W("Report.txt"));
    EXPECT_FALSE(record->Equals(*FullRecord()));
    record->SetName(QM_W("report.txt"));
    record->SetAuxiliaryText(QM_W("Aside"));
    EXPECT_FALSE(record->Equals(*FullRecord()));
}

}  // namespace
}  // namespace quillmark
