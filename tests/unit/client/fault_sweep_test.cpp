// Each operation with its n-th transport call failing, and with its cancel event set at its n-th call, for n = 1, 2,
// ... until the operation has no call left: it ends with a code, hands nothing back that is half done, keeps no
// request, and the next try succeeds.
#include <atomic>
#include <functional>
#include <set>

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

constexpr GUID Id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};

// An operation and the replies that make it succeed.
struct Operation {
    const char* name;
    std::function<void(fakes::RecordingFactory&)> script;
    std::function<DWORD(CNativeHttp&, IServerAttributes&, HANDLE)> run;
    std::set<int> unchecked = {};  // the calls whose failure does not end it, counted from 1
};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

void Answer(fakes::RecordingFactory& factory, const char* body) {
    factory.Reply(200, body);
}

class FaultSweep : public ClientTest, public ::testing::WithParamInterface<Operation> {
protected:
    void SetUp() override {
        DiscoverWithLogging();
        for (auto set : {&IServerAttributes::SetCreationTime, &IServerAttributes::SetLastAccessTime,
                         &IServerAttributes::SetLastWriteTime, &IServerAttributes::SetChangeTime}) {
            (attributes.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        }
        attributes->SetSize(10);
        attributes->SetRevision("r1");
    }
    void TearDown() override { factory->OnCall({}); }

    // With the record that the operation is given in its first state each time.
    DWORD Run(HANDLE cancelEvent = nullptr) {
        factory->DropReplies();
        GetParam().script(*factory);
        record = attributes->Clone();
        return GetParam().run(*client, *record, cancelEvent);
    }

    // Calls whose results are values or nothing, and the one whose failure is only logged: failing them means nothing.
    static bool HasNoCode(const std::string& call) {
        for (const char* function : {"GetHTTPStatus", "GetPostDataLength", "GetMultipartEndLength", "EndMultipart",
                                     "AddMultipartFormField", "Close", "SetSessionToken", "SetTimeouts"}) {
            if (call.starts_with(std::string(function) + "(")) {
                return true;
            }
        }
        return false;
    }

    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    std::shared_ptr<IServerAttributes> record;
};

TEST_P(FaultSweep, AnyCallMayFail) {
    factory->ClearCalls();
    ASSERT_EQ(Run(), 0u);
    const Lines calls = factory->Calls();
    for (std::size_t n = 1; n <= calls.size(); ++n) {
        const std::string& call = calls[n - 1];
        if (HasNoCode(call)) {
            continue;
        }
        factory->FailCall(static_cast<int>(n), 12030);
        const DWORD expected = GetParam().unchecked.contains(static_cast<int>(n)) ? 0u
                               : call.starts_with("Create") ? static_cast<DWORD>(ERROR_INVALID_HANDLE)
                                                            : 12030u;
        EXPECT_EQ(Run(), expected) << call;
        EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0) << call;
        EXPECT_TRUE(expected == 0 || record->Equals(*attributes)) << call;
    }
    EXPECT_EQ(Run(), 0u);
}

TEST_P(FaultSweep, TheEventMayBeSetAtAnyCall) {
    factory->ClearCalls();
    ASSERT_EQ(Run(), 0u);
    const std::size_t calls = factory->Calls().size();
    for (std::size_t n = 1; n <= calls; ++n) {
        const Event cancel;
        const auto made = std::make_shared<std::atomic<std::size_t>>(0);
        factory->OnCall([made, n, handle = cancel.Handle()](const std::string& call) {
            // The trigger's thread closes the request: its call is none of the operation's.
            if (!call.starts_with("Close(") && ++*made == n) {
                ::SetEvent(handle);
            }
        });
        const DWORD code = Run(cancel.Handle());
        factory->OnCall({});
        EXPECT_TRUE(code == 0 || code == 1223) << code << " when set at call " << n;
    }
    EXPECT_EQ(Run(), 0u);
    client.reset();  // with its trigger's thread, which holds a request while it closes it
    EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0);
}

const Operation Operations[] = {
    {"Version", [](fakes::RecordingFactory& factory) { Answer(factory, R"({"quillmark_version":"5"})"); },
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         static_cast<void>(event);
         WideString version;
         return client.Version(version);
     }},
    {"Login", [](fakes::RecordingFactory& factory) { Answer(factory, R"({"session_token":"t"})"); },
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         WideString policy;
         return client.Login(QM_W("u"), QM_W("p"), QM_W("t"), QM_W("d"), policy, QM_W("1"), QM_W("2"), event);
     }},
    {"Register", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         return client.Register(QM_W("u"), QM_W("d"), event).error;
     }},
    {"RegisterAgain",
     [](fakes::RecordingFactory& factory) { factory.Reply(400, "The user has registered the device"); },
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         return client.Register(QM_W("u"), QM_W("d"), event).error;
     }},
    {"AcknowledgeRemoteWipe", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         return client.AcknowledgeRemoteWipe(QM_W("u"), QM_W("d"), event).error;
     }},
    {"GetChanges", [](fakes::RecordingFactory& factory) { Answer(factory, R"({"a":"delete","m":"/d"})"); },
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         NotificationList actions;
         return client.GetChanges(actions, event).error;
     }},
    {"GetRemoteFolderMap", [](fakes::RecordingFactory& factory) { Answer(factory, R"({"name":"Home"})"); },
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         MappingList mappings;
         ResponseBuffer reply;
         return client.GetRemoteFolderMap(mappings, reply, event).error;
     }},
    {"GetPathAttributes", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         std::shared_ptr<IServerAttributes> item;
         return client.GetPathAttributes(QM_W("/f"), item, event).error;
     }},
    {"SetPathAttributes", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         auto item = record.Clone();
         return client.SetPathAttributes(QM_W("/f"), item, event).error;
     }},
    {"GetPathListing", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         ItemList children;
         std::shared_ptr<IServerAttributes> self;
         return client.GetPathListing(QM_W("/f"), children, self, event).error;
     }},
    {"DeletePath", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.DeletePath(QM_W("/f"), shared, event).error;
     }},
    {"RenamePath", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         std::shared_ptr<IServerAttributes> item;
         return client.RenamePath(QM_W("/f"), QM_W("/x/f"), 1, item, event).error;
     }},
    {"CreateFolder", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         std::shared_ptr<IServerAttributes> item;
         return client.CreateFolder(QM_W("/f"), item, event).error;
     }},
    {"UploadFile", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.UploadFile(QM_W("f"), QM_W("/f"), shared, event, nullptr, 0);
     }},
    {"UploadDelta",
     [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.UploadDelta(QM_W("f"), QM_W("/f"), shared, 1, event, nullptr);
     },
     {14, 15}},
    {"ResumableUpload", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         std::int64_t offset = 0;
         std::int64_t length = 10;
         return client.ResumableUpload(QM_W("f"), QM_W("/f"), shared, Id, offset, length, true, event, nullptr, 0);
     }},
    {"CancelUpload", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         return client.CancelUpload(QM_W("/f"), Id, event);
     }},
    {"CompleteUpload", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.CompleteUpload(QM_W("/f"), QM_W("/g"), Id, shared, event);
     }},
    {"GetResumableUploadMetadata",
     [](fakes::RecordingFactory& factory) { Answer(factory, R"({"bytes_received":"5"})"); },
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         std::int64_t offset = 0;
         bool locked = false;
         return client.GetResumableUploadMetadata(QM_W("/f"), Id, offset, locked, event);
     }},
    {"DownloadFile", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.DownloadFile(QM_W("/f"), QM_W("f"), nullptr, shared, QM_W(""), event, nullptr, 0);
     }},
    {"DownloadDelta", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.DownloadFile(QM_W("/f"), QM_W("f"), nullptr, shared, QM_W("base"), event, nullptr, 0);
     }},
    {"DownloadData", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.DownloadData(QM_W("/f"), QM_W("f"), nullptr, shared, 0, 5, event, nullptr, 0);
     }},
    {"PublishSyncStats", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         return client.PublishSyncStats("text", event).error;
     }},
    {"GenerateLink", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         const auto share = std::make_shared<ShareRequest>();
         share->paths = {QM_W("/f")};
         return client.GenerateLink(share, event).error;
     }},
    {"TestLock", [](fakes::RecordingFactory& factory) { Answer(factory, R"({"status":"locked"})"); },
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         DWORD state = 0;
         return client.TestLock(QM_W("/f"), state, event).error;
     }},
    {"RequestLock", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         return client.RequestLock(QM_W("/f"), 60, event).error;
     }},
    {"ReleaseLock", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         return client.ReleaseLock(QM_W("/f"), event).error;
     }},
    {"AsyncDeltaStart",
     [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         GUID job = {};
         return client.AsyncDeltaStart(QM_W("f"), QM_W("/f"), shared, job, 1, nullptr, event);
     },
     {10, 11}},
    {"AsyncDeltaStatus", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD {
         AsyncDeltaJobList jobs{{Id, 0}};
         return client.AsyncDeltaStatus(jobs, event);
     }},
    {"AsyncDeltaCommit", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes& record, HANDLE event) -> DWORD {
         const std::shared_ptr<IServerAttributes> shared(std::shared_ptr<void>(), &record);
         return client.AsyncDeltaCommit(Id, shared, 10, event);
     }},
    {"AsyncDeltaCancel", [](fakes::RecordingFactory&) {},
     [](CNativeHttp& client, IServerAttributes&, HANDLE event) -> DWORD { return client.AsyncDeltaCancel(Id, event); }},
};

INSTANTIATE_TEST_SUITE_P(Of, FaultSweep, ::testing::ValuesIn(Operations),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace quillmark::test
