#include "unit/client/Operations.h"

namespace quillmark::test {
namespace {

using Record = std::shared_ptr<IServerAttributes>;

constexpr GUID Id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};

// Made beforehand: what fails in a sweep is then the operation's.
const WideString User = QM_W("u");
const WideString Password = QM_W("p");
const WideString Token = QM_W("t");
const WideString Device = QM_W("d");
const WideString ClientVersion = QM_W("1");
const WideString PlatformVersion = QM_W("2");
const WideString LocalPath = QM_W("f");
const WideString BasePath = QM_W("base");
const WideString NoBase;
const WideString ServerPath = QM_W("/f");
const WideString MovedPath = QM_W("/x/f");
const WideString NewPath = QM_W("/g");

const std::shared_ptr<const ShareRequest> Share = [] {
    ShareRequest share;
    share.paths = {ServerPath};
    return std::make_shared<const ShareRequest>(share);
}();

// For operations that go on with any body, or none.
void NoReply(fakes::RecordingFactory&) {}

// The record of one item, whose texts need memory of their own.
constexpr const char* Item =
    R"({"name":"a name of more than a few letters","revision":"a revision of more than a few letters"})";
void OneItem(fakes::RecordingFactory& factory) {
    factory.Reply(200, Item);
}
void ContentsThenItem(fakes::RecordingFactory& factory) {
    factory.Reply(200);
    factory.Reply(200, Item);
}

const std::vector<Operation> All = {
    {.name = "Init",
     .script =
         [](fakes::RecordingFactory& factory) {
             factory.Reply(200, R"({"qm":{"sync":{"1.7":{"path":"/qm","tos":7}},"audit":{}}})");
             factory.Reply(200, R"({"device_token_auth":true})");
         },
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         DWORD mode = 0;
         DWORD extra = 0;
         return client.Init(mode, extra, event);
     },
     .whenUnread = {ERROR_INCOMPATIBLE_SERVER, ERROR_BAD_SERVER_REPLY},
     .onNewClient = true},
    {.name = "Version",
     .script = [](fakes::RecordingFactory& factory) { factory.Reply(200, R"({"quillmark_version":"5"})"); },
     .run = [](CNativeHttp& client, const Record&, HANDLE) -> DWORD {
         WideString version;
         return client.Version(version);
     },
     .whenUnread = {ERROR_BAD_SERVER_REPLY},
     .takesEvent = false},
    {.name = "Login",
     .script = [](fakes::RecordingFactory& factory) { factory.Reply(200, R"({"session_token":"t"})"); },
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         WideString policy;
         return client.Login(User, Password, Token, Device, policy, ClientVersion, PlatformVersion, event);
     }},
    {.name = "Register",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.Register(User, Device, event).error;
     }},
    {.name = "RegisterAgain",
     .script = [](fakes::RecordingFactory& factory) { factory.Reply(400, "The user has registered the device"); },
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.Register(User, Device, event).error;
     }},
    {.name = "AcknowledgeRemoteWipe",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.AcknowledgeRemoteWipe(User, Device, event).error;
     }},
    {.name = "GetChanges",
     .script = [](fakes::RecordingFactory& factory) { factory.Reply(200, R"({"a":"delete","m":"/d"})"); },
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         NotificationList actions;
         return client.GetChanges(actions, event).error;
     }},
    {.name = "GetRemoteFolderMap",
     .script = [](fakes::RecordingFactory& factory) { factory.Reply(200, R"({"name":"Home"})"); },
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         MappingList mappings;
         ResponseBuffer reply;
         return client.GetRemoteFolderMap(mappings, reply, event).error;
     }},
    {.name = "GetPathAttributes",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         std::shared_ptr<IServerAttributes> item;
         return client.GetPathAttributes(ServerPath, item, event).error;
     }},
    {.name = "SetPathAttributes",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         Record item = record;
         return client.SetPathAttributes(ServerPath, item, event).error;
     }},
    {.name = "GetPathListing",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         ItemList children;
         std::shared_ptr<IServerAttributes> self;
         return client.GetPathListing(ServerPath, children, self, event).error;
     }},
    {.name = "DeletePath",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.DeletePath(ServerPath, record, event).error;
     }},
    {.name = "RenamePath",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         std::shared_ptr<IServerAttributes> item;
         return client.RenamePath(ServerPath, MovedPath, 1, item, event).error;
     }},
    {.name = "CreateFolder",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         std::shared_ptr<IServerAttributes> item;
         return client.CreateFolder(ServerPath, item, event).error;
     }},
    {.name = "UploadFile",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.UploadFile(LocalPath, ServerPath, record, event, nullptr, 0);
     }},
    {.name = "UploadDelta",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.UploadDelta(LocalPath, ServerPath, record, 1, event, nullptr);
     },
     .unchecked = {14, 15}},
    {.name = "ResumableUpload",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         std::int64_t offset = 0;
         std::int64_t length = 10;
         return client.ResumableUpload(LocalPath, ServerPath, record, Id, offset, length, true, event, nullptr, 0);
     }},
    {.name = "ResumableUploadOutOfStep",
     .script =
         [](fakes::RecordingFactory& factory) {
             factory.Reply(409, R"({"errorId":"1202"})");
             factory.Reply(200, R"({"bytes_received":"5"})");
         },
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         std::int64_t offset = 0;
         std::int64_t length = 10;
         return client.ResumableUpload(LocalPath, ServerPath, record, Id, offset, length, true, event, nullptr, 0);
     },
     .unchecked = {24, 25, 26, 27, 28},
     .result = 21202,
     .whenUnread = {20409}},
    {.name = "CancelUpload",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.CancelUpload(ServerPath, Id, event);
     }},
    {.name = "CompleteUpload",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.CompleteUpload(ServerPath, NewPath, Id, record, event);
     }},
    {.name = "GetResumableUploadMetadata",
     .script = [](fakes::RecordingFactory& factory) { factory.Reply(200, R"({"bytes_received":"5"})"); },
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         std::int64_t offset = 0;
         bool locked = false;
         return client.GetResumableUploadMetadata(ServerPath, Id, offset, locked, event);
     }},
    {.name = "DownloadFile",
     .script = ContentsThenItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.DownloadFile(ServerPath, LocalPath, nullptr, record, NoBase, event, nullptr, 0);
     }},
    {.name = "DownloadFileOfAnotherRevision",
     .script =
         [](fakes::RecordingFactory& factory) {
             factory.Reply(409, R"({"errorId":"1077"})");
             ContentsThenItem(factory);
         },
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.DownloadFile(ServerPath, LocalPath, record, record, NoBase, event, nullptr, 0);
     },
     .whenUnread = {20409}},
    {.name = "DownloadDelta",
     .script = ContentsThenItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.DownloadFile(ServerPath, LocalPath, nullptr, record, BasePath, event, nullptr, 0);
     }},
    {.name = "DownloadData",
     .script = ContentsThenItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.DownloadData(ServerPath, LocalPath, nullptr, record, 0, 5, event, nullptr, 0);
     }},
    {.name = "PublishSyncStats",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.PublishSyncStats("text", event).error;
     }},
    {.name = "GenerateLink",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.GenerateLink(Share, event).error;
     }},
    {.name = "TestLock",
     .script = [](fakes::RecordingFactory& factory) { factory.Reply(200, R"({"status":"locked"})"); },
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         DWORD state = 0;
         return client.TestLock(ServerPath, state, event).error;
     }},
    {.name = "RequestLock",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.RequestLock(ServerPath, 60, event).error;
     }},
    {.name = "ReleaseLock",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.ReleaseLock(ServerPath, event).error;
     }},
    {.name = "AsyncDeltaStart",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         GUID job = {};
         return client.AsyncDeltaStart(LocalPath, ServerPath, record, job, 1, nullptr, event);
     },
     .unchecked = {10, 11}},
    {.name = "AsyncDeltaStatus",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         static AsyncDeltaJobList jobs{{Id, 0}};
         return client.AsyncDeltaStatus(jobs, event);
     }},
    {.name = "AsyncDeltaCommit",
     .script = OneItem,
     .run = [](CNativeHttp& client, const Record& record, HANDLE event) -> DWORD {
         return client.AsyncDeltaCommit(Id, record, 10, event);
     }},
    {.name = "AsyncDeltaCancel",
     .script = NoReply,
     .run = [](CNativeHttp& client, const Record&, HANDLE event) -> DWORD {
         return client.AsyncDeltaCancel(Id, event);
     }},
};

}  // namespace

const std::vector<Operation>& AllOperations() {
    return All;
}

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

std::string OperationName(const ::testing::TestParamInfo<Operation>& instance) {
    return instance.param.name;
}

void OperationTest::SetUp() {
    DiscoverWithLogging();
    for (auto set : {&IServerAttributes::SetCreationTime, &IServerAttributes::SetLastAccessTime,
                     &IServerAttributes::SetLastWriteTime, &IServerAttributes::SetChangeTime}) {
        (attributes.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
    }
    attributes->SetSize(10);
    attributes->SetRevision("r1");
}

void OperationTest::Prepare() {
    factory->DropReplies();
    GetParam().script(*factory);
    record = attributes->Clone();
    if (GetParam().onNewClient) {
        client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    }
    factory->ClearCalls();
}

}  // namespace quillmark::test
