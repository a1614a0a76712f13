// The order of the interface's virtual functions, which hosts call by. The destructor takes the table's first two
// entries.
#include "fakes/SlotIndex.h"

#include <gtest/gtest.h>

#include "quillmark/HttpApi.h"

namespace quillmark::test {
namespace {

using fakes::SlotOf;
using Api = IQuillmarkHttpAPI;

TEST(ClientSlots, DiscoveryAndConfigurationComeFirst) {
    EXPECT_EQ(SlotOf(&Api::Init), 2u);
    EXPECT_EQ(SlotOf(&Api::CreateNewSession), 3u);
    EXPECT_EQ(SlotOf(&Api::Version), 4u);
    EXPECT_EQ(SlotOf(&Api::SupportsApi16), 5u);
    EXPECT_EQ(SlotOf(&Api::SupportsApi17), 6u);
    EXPECT_EQ(SlotOf(&Api::SetServer), 7u);
    EXPECT_EQ(SlotOf(&Api::SetPort), 8u);
    EXPECT_EQ(SlotOf(&Api::SetNarrowValue), 9u);
    EXPECT_EQ(SlotOf(&Api::SetDeviceName), 10u);
    EXPECT_EQ(SlotOf(&Api::SetAuthMode), 11u);
}

TEST(ClientSlots, AccountComesSecond) {
    EXPECT_EQ(SlotOf(&Api::Login), 12u);
    EXPECT_EQ(SlotOf(&Api::Register), 13u);
    EXPECT_EQ(SlotOf(&Api::GetSessionToken), 14u);
    EXPECT_EQ(SlotOf(&Api::SetSessionToken), 15u);
}

TEST(ClientSlots, FolderTreeComesThird) {
    EXPECT_EQ(SlotOf(&Api::GetChanges), 16u);
    EXPECT_EQ(SlotOf(&Api::GetRemoteFolderMap), 17u);
    EXPECT_EQ(SlotOf(&Api::GetPathAttributes), 18u);
    EXPECT_EQ(SlotOf(&Api::SetPathAttributes), 19u);
    EXPECT_EQ(SlotOf(&Api::GetMappingsFromResponse), 20u);
    EXPECT_EQ(SlotOf(&Api::GetPathListing), 21u);
    EXPECT_EQ(SlotOf(&Api::DeletePath), 22u);
    EXPECT_EQ(SlotOf(&Api::RenamePath), 23u);
    EXPECT_EQ(SlotOf(&Api::AcknowledgeRemoteWipe), 24u);
    EXPECT_EQ(SlotOf(&Api::CreateFolder), 25u);
}

TEST(ClientSlots, TransfersComeFourth) {
    EXPECT_EQ(SlotOf(&Api::UploadFile), 26u);
    EXPECT_EQ(SlotOf(&Api::UploadDelta), 27u);
    EXPECT_EQ(SlotOf(&Api::ResumableUpload), 28u);
    EXPECT_EQ(SlotOf(&Api::CancelUpload), 29u);
    EXPECT_EQ(SlotOf(&Api::CompleteUpload), 30u);
    EXPECT_EQ(SlotOf(&Api::GetResumableUploadMetadata), 31u);
    EXPECT_EQ(SlotOf(&Api::DownloadFile), 32u);
    EXPECT_EQ(SlotOf(&Api::DownloadData), 33u);
}

TEST(ClientSlots, StatisticsSharingLocksAndJobsComeLastBeforeRelease) {
    EXPECT_EQ(SlotOf(&Api::PublishSyncStats), 34u);
    EXPECT_EQ(SlotOf(&Api::GenerateLink), 35u);
    EXPECT_EQ(SlotOf(&Api::TestLock), 36u);
    EXPECT_EQ(SlotOf(&Api::RequestLock), 37u);
    EXPECT_EQ(SlotOf(&Api::ReleaseLock), 38u);
    EXPECT_EQ(SlotOf(&Api::AsyncDeltaStart), 39u);
    EXPECT_EQ(SlotOf(&Api::AsyncDeltaStatus), 40u);
    EXPECT_EQ(SlotOf(&Api::AsyncDeltaCommit), 41u);
    EXPECT_EQ(SlotOf(&Api::AsyncDeltaCancel), 42u);
    EXPECT_EQ(SlotOf(&Api::Release), 43u);
}

}  // namespace
}  // namespace quillmark::test
