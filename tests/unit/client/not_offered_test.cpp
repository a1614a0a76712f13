// Operations that this build does not offer answer 120, each from its own slot, and send nothing.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class NotOfferedTest : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    void TearDown() override { EXPECT_EQ(factory->Calls(), Lines{}); }

    void ExpectScope(const char* function) const {
        EXPECT_TRUE(log.Has(Critical, "NativeHttp", function, "Exited [status=120]")) << function;
    }

    static constexpr StatusPair Answer{120, 0};
    IQuillmarkHttpAPI& Api() { return *client; }
    const WideString path = QM_W("/a");
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    const GUID id = {};
};

TEST_F(NotOfferedTest, AccountOperations) {
    EXPECT_EQ(Api().Register(path, path, nullptr), Answer);
    EXPECT_EQ(Api().AcknowledgeRemoteWipe(path, path, nullptr), Answer);
    ExpectScope("CNativeHttp::Register");
    ExpectScope("CNativeHttp::AcknowledgeRemoteWipe");
}

TEST_F(NotOfferedTest, FolderTreeOperations) {
    NotificationList actions;
    MappingList mappings;
    ResponseBuffer reply;
    DWORD count = 0;
    EXPECT_EQ(Api().GetChanges(actions, nullptr), Answer);
    EXPECT_EQ(Api().GetRemoteFolderMap(mappings, reply, nullptr), Answer);
    EXPECT_EQ(Api().GetMappingsFromResponse(reply, mappings, 0, count), 120u);
    EXPECT_EQ(Api().DeletePath(path, attributes, nullptr), Answer);
    EXPECT_EQ(Api().RenamePath(path, path, 0, attributes, nullptr), Answer);
    ExpectScope("CNativeHttp::GetChanges");
    ExpectScope("CNativeHttp::GetRemoteFolderMap");
    ExpectScope("CNativeHttp::GetMappingsFromResponse");
    ExpectScope("CNativeHttp::DeletePath");
    ExpectScope("CNativeHttp::RenamePath");
}

TEST_F(NotOfferedTest, Transfers) {
    std::int64_t offset = 0;
    std::int64_t length = 0;
    bool locked = false;
    EXPECT_EQ(Api().UploadDelta(path, path, attributes, 1, nullptr, nullptr), 120u);
    EXPECT_EQ(Api().ResumableUpload(path, path, attributes, id, offset, length, true, nullptr, nullptr, 0), 120u);
    EXPECT_EQ(Api().CancelUpload(path, id, nullptr), 120u);
    EXPECT_EQ(Api().CompleteUpload(path, path, id, attributes, nullptr), 120u);
    EXPECT_EQ(Api().GetResumableUploadMetadata(path, id, offset, locked, nullptr), 120u);
    EXPECT_EQ(Api().DownloadData(path, path, nullptr, attributes, 0, 1, nullptr, nullptr, 0), 120u);
    ExpectScope("CNativeHttp::UploadDelta");
    ExpectScope("CNativeHttp::ResumableUpload");
    ExpectScope("CNativeHttp::CancelUpload");
    ExpectScope("CNativeHttp::CompleteUpload");
    ExpectScope("CNativeHttp::GetResumableUploadMetadata");
    ExpectScope("CNativeHttp::DownloadData");
}

TEST_F(NotOfferedTest, DownloadsAgainstADeltaBase) {
    EXPECT_EQ(Api().DownloadFile(path, path, attributes, attributes, QM_W("base"), nullptr, nullptr, 0), 120u);
    ExpectScope("CNativeHttp::DownloadFile");
}

TEST_F(NotOfferedTest, StatisticsLinksLocksAndJobs) {
    GUID job = {};
    AsyncDeltaJobList jobs;
    DWORD lockState = 0;
    EXPECT_EQ(Api().PublishSyncStats("", nullptr), Answer);
    EXPECT_EQ(Api().GenerateLink(nullptr, nullptr), Answer);
    EXPECT_EQ(Api().TestLock(path, lockState, nullptr), Answer);
    EXPECT_EQ(Api().RequestLock(path, 60, nullptr), Answer);
    EXPECT_EQ(Api().ReleaseLock(path, nullptr), Answer);
    EXPECT_EQ(Api().AsyncDeltaStart(path, path, attributes, job, 1, nullptr, nullptr), 120u);
    EXPECT_EQ(Api().AsyncDeltaStatus(jobs, nullptr), 120u);
    EXPECT_EQ(Api().AsyncDeltaCommit(id, attributes, 0, nullptr), 120u);
    EXPECT_EQ(Api().AsyncDeltaCancel(id, nullptr), 120u);
    ExpectScope("CNativeHttp::PublishSyncStats");
    ExpectScope("CNativeHttp::GenerateLink");
    ExpectScope("CNativeHttp::TestLock");
    ExpectScope("CNativeHttp::RequestLock");
    ExpectScope("CNativeHttp::ReleaseLock");
    ExpectScope("CNativeHttp::AsyncDeltaStart");
    ExpectScope("CNativeHttp::AsyncDeltaStatus");
    ExpectScope("CNativeHttp::AsyncDeltaCommit");
    ExpectScope("CNativeHttp::AsyncDeltaCancel");
}

}  // namespace
}  // namespace quillmark::test
