// The order of the attribute record's virtual functions, which hosts are built against.
#include <gtest/gtest.h>

#include "fakes/SlotIndex.h"
#include "quillmark/Attributes.h"

namespace quillmark {
namespace {

using fakes::SlotOf;

// The destructor is slot 0 and takes the table's entries 0 and 1: slot n is entry n + 1.
TEST(ServerAttributesSlots, HasOperationsAndResetTakeSlots1To8) {
    EXPECT_EQ(SlotOf(&IServerAttributes::Clone), 1u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::HasTimes), 2u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::HasSize), 3u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::HasFileAttributes), 4u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::HasAuxiliaryValue), 5u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::HasAuxiliaryText), 6u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::HasName), 7u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::Reset), 8u + 1);
}

TEST(ServerAttributesSlots, SettersTakeSlots9To20) {
    EXPECT_EQ(SlotOf(&IServerAttributes::SetCreationTime), 9u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetLastAccessTime), 10u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetLastWriteTime), 11u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetChangeTime), 12u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetSize), 13u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetAuxiliaryValue), 14u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetFileAttributes), 15u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetName), 16u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetAuxiliaryText), 17u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetReadOnly), 18u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetFolderReadOnly), 19u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetDirectory), 20u + 1);
}

TEST(ServerAttributesSlots, GettersTakeSlots21To35) {
    EXPECT_EQ(SlotOf(&IServerAttributes::GetCreationTime), 21u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetLastAccessTime), 22u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetLastWriteTime), 23u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetChangeTime), 24u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetSize), 25u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetSizeText), 26u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetSizeTextW), 27u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetAuxiliaryValue), 28u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetFileAttributes), 29u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetFileAttributesText), 30u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetFileAttributesTextW), 31u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetName), 32u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetAuxiliaryText), 33u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::IsReadOnly), 34u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::IsFolderReadOnly), 35u + 1);
}

TEST(ServerAttributesSlots, ClearOperationsRevisionAndEqualsTakeSlots36To44) {
    EXPECT_EQ(SlotOf(&IServerAttributes::ClearTimes), 36u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::ClearSize), 37u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::ClearFileAttributes), 38u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::ClearAuxiliaryValue), 39u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::ClearAuxiliaryText), 40u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::ClearName), 41u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::SetRevision), 42u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::GetRevision), 43u + 1);
    EXPECT_EQ(SlotOf(&IServerAttributes::Equals), 44u + 1);
}

}  // namespace
}  // namespace quillmark
