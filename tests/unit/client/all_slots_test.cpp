// Every slot of the interface, called through the interface: each sends a request with its verb and path, or, where it
// sends nothing, has its effect.
#include <array>

#include "fakes/SlotIndex.h"
#include "unit/client/ClientTest.h"
#include "unit/client/SettingsFolder.h"

namespace quillmark::test {
namespace {

constexpr GUID Id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};

// The name under which each slot opens its scope in the log; SetAuthMode and Release open none.
// clang-format off
constexpr std::array<const char*, 43> Scopes = {
    nullptr, "Init", "CreateNewSession", "Version", "SupportsApi16", "SupportsApi17", "SetServer", "SetPort",
    "SetNarrowValue", "SetDeviceName", nullptr, "Login", "Register", "GetSessionToken", "SetSessionToken",
    "GetChanges", "GetRemoteFolderMap", "GetPathAttributes", "SetPathAttributes", "GetMappingsFromResponse",
    "GetPathListing", "DeletePath", "RenamePath", "AcknowledgeRemoteWipe", "CreateFolder", "UploadFile",
    "UploadDelta", "ResumableUpload", "CancelUpload", "CompleteUpload", "GetResumableUploadMetadata", "DownloadFile",
    "DownloadData", "PublishSyncStats", "GenerateLink", "TestLock", "RequestLock", "ReleaseLock", "AsyncDeltaStart",
    "AsyncDeltaStatus", "AsyncDeltaCommit", "AsyncDeltaCancel", nullptr};
// clang-format on

class AllSlots : public ClientTest {
protected:
    void SetUp() override {
        for (auto set : {&IServerAttributes::SetCreationTime, &IServerAttributes::SetLastAccessTime,
                         &IServerAttributes::SetLastWriteTime, &IServerAttributes::SetChangeTime}) {
            (attributes.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        }
        attributes->SetSize(10);
        attributes->SetRevision("r1");
    }

    // One request was sent since the last call of this, of this verb and path.
    void ExpectRequest(const std::string& verb, const std::string& url) {
        const Lines requests = CallsOf("Request::Initialise");
        ASSERT_EQ(requests.size(), 1u) << url;
        EXPECT_THAT(requests[0], ::testing::HasSubstr(", \"" + url + "\", \"" + verb + "\", "));
        factory->ClearCalls();
    }
    // The slot's calls are over: they sent such a request.
    void Sent(std::size_t slot, const std::string& verb, const std::string& url) {
        ExpectRequest(verb, url);
        Done(slot);
    }
    void SentNothing(std::size_t slot) {
        EXPECT_EQ(factory->Count("Request::Initialise"), 0u) << "slot " << slot;
        Done(slot);
    }
    void Done(std::size_t slot) {
        EXPECT_EQ(slot, called) << "a slot was left out";
        ++called;
        if (Scopes.at(slot) != nullptr) {
            EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::" + std::string(Scopes.at(slot)), "")) << slot;
        }
        factory->ClearCalls();
        factory->DropReplies();
        log.Clear();
    }

    void Configuration(IQuillmarkHttpAPI& api);
    void Account(IQuillmarkHttpAPI& api);
    void FolderTree(IQuillmarkHttpAPI& api);
    void Uploads(IQuillmarkHttpAPI& api);
    void DownloadsAndSharing(IQuillmarkHttpAPI& api);
    void LocksAndJobs(IQuillmarkHttpAPI& api);

    SettingsFolder settings;
    std::size_t called = 1;  // slot 0, the destructor, is what Release runs
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    const WideString item = QM_W("/a/b c");
};

void AllSlots::Configuration(IQuillmarkHttpAPI& api) {
    factory->Reply(200, R"({"qm":{"sync":{"1.7":{"path":"/qm","tos":7}},
                                  "audit":{"1.0":{"path":"/audit/1.0","tos":0}}}})");
    factory->Reply(200, R"({"device_token_auth":true})");
    DWORD mode = 0;
    DWORD extra = 0;
    EXPECT_EQ(api.Init(mode, extra, nullptr), 0u);
    const Lines discovery = CallsOf("Request::Initialise");
    ASSERT_EQ(discovery.size(), 2u);
    EXPECT_THAT(discovery[0], ::testing::HasSubstr("\"/endpoints\", \"GET\""));
    EXPECT_THAT(discovery[1], ::testing::HasSubstr("\"/qm/init\", \"GET\""));
    EXPECT_EQ(mode, 2u);
    Done(1);

    api.CreateNewSession(QM_W("token"));
    EXPECT_EQ(factory->Count("CreateSession"), 1u);
    SentNothing(2);

    factory->Reply(200, R"({"quillmark_version":"5.0"})");
    WideString version;
    EXPECT_EQ(api.Version(version), 0u);
    EXPECT_EQ(version, QM_W("5.0"));
    Sent(3, "GET", "/qm/version");

    EXPECT_TRUE(api.SupportsApi16());
    SentNothing(4);
    EXPECT_TRUE(api.SupportsApi17());
    SentNothing(5);

    WideString server = QM_W("HTTPS://Files.Example.com");
    EXPECT_EQ(api.SetServer(server), 0u);
    EXPECT_EQ(server, QM_W("https://files.example.com"));
    SentNothing(6);
    EXPECT_EQ(api.SetPort(8443), 0u);
    SentNothing(7);
    api.SetNarrowValue("value");  // which nothing reads
    SentNothing(8);
    api.SetDeviceName("tablet");
    SentNothing(9);
    api.SetAuthMode(AUTH_MODE_INTEGRATED);
    SentNothing(10);
}

void AllSlots::Account(IQuillmarkHttpAPI& api) {
    WideString policy;
    EXPECT_EQ(api.Login(QM_W("ann"), QM_W("p"), QM_W("t"), QM_W("d"), policy, QM_W(""), QM_W(""), nullptr), 0u);
    // What the configuration's slots set is in these calls.
    EXPECT_THAT(CallsOf("Connection::Initialise")[0], ::testing::HasSubstr("\"files.example.com\", 8443, "));
    EXPECT_THAT(CallsOf("Request::Initialise")[0], ::testing::EndsWith("0x00800000, true)"));
    EXPECT_THAT(CallsOf("AppendFormData"), ::testing::Contains(::testing::HasSubstr("device_name=tablet&")));
    Sent(11, "POST", "/qm/sessions");
    EXPECT_EQ(api.Register(QM_W("ann"), QM_W("d"), nullptr).error, 0u);
    Sent(12, "POST", "/qm/registrations");
    WideString token;
    api.GetSessionToken(token);
    EXPECT_EQ(token, QM_W("token"));
    SentNothing(13);
    api.SetSessionToken(QM_W("other"));
    EXPECT_EQ(factory->Count("SetSessionToken"), 1u);
    SentNothing(14);
}

void AllSlots::FolderTree(IQuillmarkHttpAPI& api) {
    NotificationList actions;
    EXPECT_EQ(api.GetChanges(actions, nullptr).error, 0u);
    Sent(15, "GET", "/qm/notifs");
    factory->Reply(200, R"({"name":"Home"})");
    MappingList mappings;
    ResponseBuffer reply;
    EXPECT_EQ(api.GetRemoteFolderMap(mappings, reply, nullptr).error, 0u);
    Sent(16, "GET", "/qm/folders?includeAll=true&timeout=30");
    std::shared_ptr<IServerAttributes> found;
    EXPECT_EQ(api.GetPathAttributes(item, found, nullptr).error, 0u);
    Sent(17, "GET", "/qm/folders/a/b%20c");
    EXPECT_EQ(api.SetPathAttributes(item, found, nullptr).error, 0u);
    Sent(18, "POST", "/qm/folders/a/b%20c");
    DWORD count = 0;
    EXPECT_EQ(api.GetMappingsFromResponse(reply, mappings, 0, count), 0u);
    EXPECT_EQ(count, 1u);
    SentNothing(19);
    ItemList children;
    EXPECT_EQ(api.GetPathListing(item, children, found, nullptr).error, 0u);
    Sent(20, "GET", "/qm/folders/a/b%20c?type=all");
    EXPECT_EQ(api.DeletePath(item, attributes, nullptr).error, 0u);
    Sent(21, "DELETE", "/qm/folders/a/b%20c?revision=r1");
    EXPECT_EQ(api.RenamePath(item, QM_W("/x"), 1, found, nullptr).error, 0u);
    Sent(22, "POST", "/qm/folders/a/b%20c");
    EXPECT_EQ(api.AcknowledgeRemoteWipe(QM_W("ann"), QM_W("d"), nullptr).error, 0u);
    Sent(23, "POST", "api/devices");
    EXPECT_EQ(api.CreateFolder(item, found, nullptr).error, 0u);
    Sent(24, "POST", "/qm/folders/a");
}

void AllSlots::Uploads(IQuillmarkHttpAPI& api) {
    const std::string upload = "/qm/resume/upload/a/b%20c?resume_id=0F8FAD5B-D9CB-469F-A165-70867728950E";
    const auto record = attributes->Clone();
    EXPECT_EQ(api.UploadFile(QM_W("f"), item, record, nullptr, nullptr, 0), 0u);
    Sent(25, "POST", "/qm/folders/a/b%20c");
    EXPECT_EQ(api.UploadDelta(QM_W("f"), item, record, 1, nullptr, nullptr), 0u);
    Sent(26, "POST", "/qm/delta/a/b%20c?optimise_overwrite_append=true");
    std::int64_t offset = 0;
    std::int64_t length = 5;
    EXPECT_EQ(api.ResumableUpload(QM_W("f"), item, attributes, Id, offset, length, true, nullptr, nullptr, 0), 0u);
    Sent(27, "POST", upload);
    EXPECT_EQ(api.CancelUpload(item, Id, nullptr), 0u);
    Sent(28, "DELETE", upload);
    EXPECT_EQ(api.CompleteUpload(item, QM_W("/x"), Id, record, nullptr), 0u);
    Sent(29, "POST", upload);
    factory->Reply(200, R"({"bytes_received":"5"})");
    bool locked = false;
    EXPECT_EQ(api.GetResumableUploadMetadata(item, Id, offset, locked, nullptr), 0u);
    EXPECT_EQ(offset, 5);
    Sent(30, "GET", upload);
}

void AllSlots::DownloadsAndSharing(IQuillmarkHttpAPI& api) {
    const auto record = MakeAttributes();
    EXPECT_EQ(api.DownloadFile(item, QM_W("f"), attributes, record, QM_W("base"), nullptr, nullptr, 0), 0u);
    ExpectRequest("POST", "/qm/delta/a/b%20c?revision=r1");
    EXPECT_EQ(api.DownloadFile(item, QM_W("f"), attributes, record, QM_W(""), nullptr, nullptr, 0), 0u);
    Sent(31, "GET", "/qm/folders/a/b%20c?revision=r1");
    EXPECT_EQ(api.DownloadData(item, QM_W("f"), attributes, record, 1, 3, nullptr, nullptr, 0), 0u);
    Sent(32, "GET", "/qm/folders/a/b%20c?skip=1&count=2&revision=r1");
    EXPECT_EQ(api.PublishSyncStats("text", nullptr).error, 0u);
    Sent(33, "POST", "/audit/1.0");
    EXPECT_EQ(api.GenerateLink(std::make_shared<ShareRequest>(), nullptr).error, 0u);
    Sent(34, "POST", "/qm/share");
}

void AllSlots::LocksAndJobs(IQuillmarkHttpAPI& api) {
    factory->Reply(200, R"({"status":"locked"})");
    DWORD state = 0;
    EXPECT_EQ(api.TestLock(item, state, nullptr).error, 0u);
    EXPECT_EQ(state, 1u);
    Sent(35, "GET", "/qm/locking/a/b%20c");
    EXPECT_EQ(api.RequestLock(item, 60, nullptr).error, 0u);
    Sent(36, "POST", "/qm/locking/a/b%20c");
    EXPECT_EQ(api.ReleaseLock(item, nullptr).error, 0u);
    Sent(37, "DELETE", "/qm/locking/a/b%20c");
    GUID job = {};
    EXPECT_EQ(api.AsyncDeltaStart(QM_W("f"), item, attributes, job, 2, nullptr, nullptr), 0u);
    Sent(38, "POST", "/qm/asdelta/folders/a/b%20c?revision=r1");
    AsyncDeltaJobList jobs{{Id, 0}};
    EXPECT_EQ(api.AsyncDeltaStatus(jobs, nullptr), 0u);
    Sent(39, "GET", "/qm/asdelta/status?jobId=0F8FAD5B-D9CB-469F-A165-70867728950E");
    EXPECT_EQ(api.AsyncDeltaCommit(Id, attributes->Clone(), 10, nullptr), 0u);
    Sent(40, "POST", "/qm/asdelta/0F8FAD5B-D9CB-469F-A165-70867728950E");
    EXPECT_EQ(api.AsyncDeltaCancel(Id, nullptr), 0u);
    Sent(41, "DELETE", "/qm/asdelta/0F8FAD5B-D9CB-469F-A165-70867728950E");
}

TEST_F(AllSlots, EachSendsItsRequestOrHasItsEffect) {
    IQuillmarkHttpAPI* const api = client.release();
    factory->ClearCalls();
    Configuration(*api);
    Account(*api);
    FolderTree(*api);
    Uploads(*api);
    DownloadsAndSharing(*api);
    LocksAndJobs(*api);
    const std::weak_ptr<IWinHttpSession> session = factory->LastSession();
    EXPECT_FALSE(session.expired());
    api->Release();
    EXPECT_TRUE(session.expired());
    SentNothing(42);
    EXPECT_EQ(called, 43u);
    EXPECT_EQ(fakes::SlotOf(&IQuillmarkHttpAPI::Release), 43u);  // the destructor takes two entries
}

}  // namespace
}  // namespace quillmark::test
