// Every operation of a client object once, through the loaded DLL, against the reference server.
#include <gtest/gtest.h>

#include "BareWinHttp.h"
#include "LoadedLibrary.h"

namespace quillmark::test {
namespace {

constexpr StatusPair Success{0, 0};
constexpr GUID UploadId = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};

class EveryOperationTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(host.Login(), 0u); }

    // A delta that replaces whatever it is applied to by this text of at most 64 bytes.
    static std::string DeltaTo(const std::string& text) {
        return std::string("rs\x02\x36") + static_cast<char>(text.size()) + text + '\0';
    }

    Host host;
    std::shared_ptr<IServerAttributes> record = MakeAttributes();
};

TEST_F(EveryOperationTest, DiscoveryAndConfiguration) {
    DWORD mode = 0;
    DWORD extra = 0;
    EXPECT_EQ(host->Init(mode, extra, nullptr), 0u);
    EXPECT_EQ(mode, SERVER_MODE_LEGACY);
    EXPECT_TRUE(host->SupportsApi16());
    EXPECT_TRUE(host->SupportsApi17());
    WideString version;
    EXPECT_EQ(host->Version(version), 0u);
    EXPECT_FALSE(version.empty());
    host->SetNarrowValue("value");
    host->SetDeviceName("another device");
    host->SetAuthMode(AUTH_MODE_PASSWORD);
    EXPECT_EQ(host->SetPort(1), 0u);
    WideString server = QM_W("http://LOCALHOST");
    EXPECT_EQ(host->SetServer(server), 0u);
    EXPECT_EQ(server, QM_W("http://localhost"));
}

TEST_F(EveryOperationTest, Sessions) {
    WideString token;
    host->GetSessionToken(token);
    EXPECT_FALSE(token.empty());
    host->SetSessionToken(QM_W("no session"));
    EXPECT_EQ(host->GetPathAttributes(QM_W("/"), record, nullptr).error, 20006u);
    host->CreateNewSession(token);
    EXPECT_EQ(host->GetPathAttributes(QM_W("/"), record, nullptr), Success);
}

TEST_F(EveryOperationTest, DevicesAndRemoteWipe) {
    EXPECT_EQ(host->Register(QM_W("anna"), QM_W("new device"), nullptr), Success);
    Ask(HttpUrl(), L"POST", L"/control/wipe", "user=anna&device=device-1", L"application/x-www-form-urlencoded");
    EXPECT_EQ(host->GetPathAttributes(QM_W("/"), record, nullptr).error, 20006u);
    EXPECT_EQ(host->AcknowledgeRemoteWipe(QM_W("anna"), QM_W("device-1"), nullptr), Success);
    EXPECT_EQ(host.Login(), 0u);
}

TEST_F(EveryOperationTest, TheFolderTree) {
    EXPECT_EQ(host->CreateFolder(QM_W("/docs"), record, nullptr), Success);
    EXPECT_EQ(host.Upload(QM_W("/docs/a"), "content"), 0u);
    EXPECT_EQ(host->RenamePath(QM_W("/docs/a"), QM_W("/docs/b"), 0, record, nullptr), Success);
    EXPECT_EQ(record->GetName(), QM_W("b"));
    record = UploadAttributes(7);
    EXPECT_EQ(host->SetPathAttributes(QM_W("/docs/b"), record, nullptr), Success);
    EXPECT_EQ(NarrowUtf8(record->GetLastWriteTime().ToText()), "2026-01-02T03:04:05.678Z");
    EXPECT_EQ(host->GetPathAttributes(QM_W("/docs/b"), record, nullptr), Success);
    EXPECT_EQ(record->GetSize(), 7);
    ItemList children;
    EXPECT_EQ(host->GetPathListing(QM_W("/docs"), children, record, nullptr), Success);
    EXPECT_EQ(children.size(), 1u);
    EXPECT_EQ(host->DeletePath(QM_W("/docs/b"), nullptr, nullptr), Success);
    EXPECT_EQ(host->GetPathAttributes(QM_W("/docs/b"), record, nullptr).error, 21002u);
}

TEST_F(EveryOperationTest, ChangesOfOtherDevices) {
    NotificationList changes;
    EXPECT_EQ(host->GetChanges(changes, nullptr), Success);
    EXPECT_TRUE(changes.empty());
}

TEST_F(EveryOperationTest, MappedFolders) {
    ASSERT_EQ(host->CreateFolder(QM_W("/docs"), record, nullptr), Success);
    MappingList mappings;
    ResponseBuffer reply;
    EXPECT_EQ(host->GetRemoteFolderMap(mappings, reply, nullptr), Success);
    ASSERT_EQ(mappings.size(), 1u);
    EXPECT_EQ(mappings.front()->path, QM_W("/docs"));
    DWORD count = 0;
    EXPECT_EQ(host->GetMappingsFromResponse(reply, mappings, 0, count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(mappings.size(), 2u);
}

TEST_F(EveryOperationTest, WholeFilesAndPieces) {
    EXPECT_EQ(host.Upload(QM_W("/a"), "0123456789"), 0u);
    EXPECT_EQ(host.ContentOf(QM_W("/a")), "0123456789");
    EXPECT_EQ(host->DownloadData(QM_W("/a"), host.Path("piece"), nullptr, record, 0, 4, nullptr, nullptr, 0), 0u);
    EXPECT_EQ(host.Read("piece"), "0123");
}

TEST_F(EveryOperationTest, DeltasAndDeltaJobs) {
    ASSERT_EQ(host.Upload(QM_W("/a"), "the old content"), 0u);
    const WideString delta = host.Write("delta", DeltaTo("patched"));
    EXPECT_EQ(host->UploadDelta(delta, QM_W("/a"), UploadAttributes(7), 0, nullptr, nullptr), 0u);
    EXPECT_EQ(host.ContentOf(QM_W("/a")), "patched");

    GUID job = {};
    const WideString next = host.Write("next", DeltaTo("again"));
    ASSERT_EQ(host->AsyncDeltaStart(next, QM_W("/a"), UploadAttributes(5), job, 0, nullptr, nullptr), 0u);
    AsyncDeltaJobList jobs{{job, 0}};
    do {
        ASSERT_EQ(host->AsyncDeltaStatus(jobs, nullptr), 0u);
    } while (jobs.front().state == 2);
    EXPECT_EQ(jobs.front().state, 1u);
    EXPECT_EQ(host->AsyncDeltaCommit(job, UploadAttributes(5), 5, nullptr), 0u);
    EXPECT_EQ(host.ContentOf(QM_W("/a")), "again");

    ASSERT_EQ(host->AsyncDeltaStart(next, QM_W("/a"), UploadAttributes(5), job, 0, nullptr, nullptr), 0u);
    EXPECT_EQ(host->AsyncDeltaCancel(job, nullptr), 0u);
}

TEST_F(EveryOperationTest, ResumableUploads) {
    const std::string content = Pattern(300'000);
    const WideString local = host.Write("source", content);
    const auto attributes = UploadAttributes(content.size());
    std::int64_t offset = 0;
    std::int64_t length = 200'000;
    EXPECT_EQ(host->ResumableUpload(local, QM_W("/a"), attributes, UploadId, offset, length, true, nullptr, nullptr, 0),
              0u);
    bool locked = true;
    EXPECT_EQ(host->GetResumableUploadMetadata(QM_W("/a"), UploadId, offset, locked, nullptr), 0u);
    EXPECT_EQ(offset, 200'000);
    EXPECT_FALSE(locked);
    EXPECT_EQ(host->CancelUpload(QM_W("/a"), UploadId, nullptr), 0u);
    EXPECT_NE(host->GetResumableUploadMetadata(QM_W("/a"), UploadId, offset, locked, nullptr), 0u);

    offset = 0;
    length = 300'000;
    EXPECT_EQ(host->ResumableUpload(local, QM_W("/a"), attributes, UploadId, offset, length, true, nullptr, nullptr, 0),
              0u);
    EXPECT_TRUE(host.ContentOf(QM_W("/a")) == content);
}

TEST_F(EveryOperationTest, AResumableUploadThatMetAChangeGoesUnderAnotherName) {
    const std::string content = Pattern(300'000);
    const WideString local = host.Write("source", content);
    const auto attributes = UploadAttributes(content.size());
    ASSERT_EQ(host.Upload(QM_W("/a"), "one"), 0u);
    ASSERT_EQ(host->GetPathAttributes(QM_W("/a"), record, nullptr), Success);
    attributes->SetRevision(record->GetRevision());
    std::int64_t offset = 0;
    std::int64_t length = 200'000;
    ASSERT_EQ(host->ResumableUpload(local, QM_W("/a"), attributes, UploadId, offset, length, true, nullptr, nullptr, 0),
              0u);
    ASSERT_EQ(host.Upload(QM_W("/a"), "another"), 0u);
    offset = 200'000;
    EXPECT_EQ(
        host->ResumableUpload(local, QM_W("/a"), attributes, UploadId, offset, length, false, nullptr, nullptr, 0),
        21077u);
    EXPECT_EQ(host->CompleteUpload(QM_W("/a"), QM_W("/b"), UploadId, record, nullptr), 0u);
    EXPECT_EQ(record->GetName(), QM_W("b"));
    EXPECT_TRUE(host.ContentOf(QM_W("/b")) == content);
    EXPECT_EQ(host.ContentOf(QM_W("/a")), "another");
}

TEST_F(EveryOperationTest, Locks) {
    ASSERT_EQ(host.Upload(QM_W("/a"), "content"), 0u);
    EXPECT_EQ(host->RequestLock(QM_W("/a"), 600, nullptr), Success);
    DWORD state = 99;
    EXPECT_EQ(host->TestLock(QM_W("/a"), state, nullptr), Success);
    EXPECT_EQ(host->ReleaseLock(QM_W("/a"), nullptr), Success);
    EXPECT_EQ(host->TestLock(QM_W("/a"), state, nullptr), Success);
    EXPECT_EQ(state, 0u);
}

TEST_F(EveryOperationTest, StatisticsAndShares) {
    EXPECT_EQ(host->PublishSyncStats("{\"files\": 3}", nullptr), Success);
    EXPECT_NE(Ask(HttpUrl(), L"GET", L"/control/audit").find("files"), std::string::npos);
    ASSERT_EQ(host.Upload(QM_W("/a"), "content"), 0u);
    const auto request = std::make_shared<ShareRequest>();
    request->name = QM_W("Plans");
    request->paths = {QM_W("/a")};
    request->targets = {QM_W("carl")};
    EXPECT_EQ(host->GenerateLink(request, nullptr), Success);
}

}  // namespace
}  // namespace quillmark::test
