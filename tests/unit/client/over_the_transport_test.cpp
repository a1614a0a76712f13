// Operations on the transport that hosts get, down to what WinHTTP is asked to send: the bytes of the forms, and values
// that must not reach a request's head.
#include "common/ModuleState.h"
#include "fakes/RecordingFileSystem.h"
#include "fakes/RecordingWinHttp.h"
#include "transport/WinHttpFactory.h"
#include "unit/client/ClientTest.h"
#include "unit/client/SettingsFolder.h"

namespace quillmark::test {
namespace {

constexpr GUID Id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};

class OverTheTransport : public ::testing::Test {
protected:
    void SetUp() override {
        auto services = std::make_shared<Services::ServicesCollection>();
        services->fileSystem = files;
        services->winHttp = winHttp;
        InstallServices(std::move(services));
        client = std::make_unique<CNativeHttp>(QM_W("laptop"), std::make_shared<WinHttpFactory>());
        Discover();
        attributes->SetCreationTime(CAttributeTime::Parse("2015-03-01T10:20:30.123Z"));
        for (auto set : {&IServerAttributes::SetLastAccessTime, &IServerAttributes::SetLastWriteTime,
                         &IServerAttributes::SetChangeTime}) {
            (attributes.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        }
        attributes->SetFileAttributes(0x20);
        attributes->SetSize(5);
        files->Put(QM_W("f"), "hello");
    }
    void TearDown() override {
        client.reset();
        EXPECT_EQ(winHttp->OpenHandles(), 0u);
        InstallServices(nullptr);
    }

    void Answer(const std::string& body) { winHttp->reply.rounds = {{static_cast<DWORD>(body.size()), body}}; }
    void Discover() {
        winHttp->OnCall([this](const std::string& call) {
            if (call.find("\"/endpoints\"") != std::string::npos) {
                Answer(R"({"qm":{"sync":{"1.7":{"path":"/qm","tos":7}},"audit":{"1.0":{"path":"/audit","tos":0}}}})");
            } else if (call.find("\"/qm/init\"") != std::string::npos) {
                Answer(R"({"device_token_auth":true})");
            }
        });
        DWORD mode = 0;
        DWORD extra = 0;
        ASSERT_EQ(client->Init(mode, extra, nullptr), 0u);
        winHttp->OnCall({});
        winHttp->ClearCalls();
        Answer("{}");
    }
    [[nodiscard]] bool NothingWasSent() const {
        return winHttp->Count("WinHttpSendRequest") == 0 && winHttp->Count("WinHttpWriteData") == 0;
    }

    SettingsFolder settings;
    std::shared_ptr<fakes::RecordingWinHttp> winHttp = std::make_shared<fakes::RecordingWinHttp>();
    std::shared_ptr<fakes::RecordingFileSystem> files = std::make_shared<fakes::RecordingFileSystem>();
    std::unique_ptr<CNativeHttp> client;
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
};

TEST_F(OverTheTransport, ANewPathGoesIntoTheHeadAsItIs) {
    EXPECT_EQ(client->CompleteUpload(QM_W("/a"), QM_W("/Shared/b 100%"), Id, attributes, nullptr), 0u);
    EXPECT_THAT(winHttp->Calls(), ::testing::Contains(::testing::HasSubstr("\"qm_new_path: /Shared/b 100%\"")));
    EXPECT_FALSE(NothingWasSent());
}

TEST_F(OverTheTransport, ANewPathWithALineBreakIs87BeforeAnythingIsSent) {
    for (const WideChar* path : {QM_W("/b\r\nEvil: 1"), QM_W("/b\rc"), QM_W("/b\nc"), QM_W("\n/b"), QM_W("/b\r")}) {
        EXPECT_EQ(client->CompleteUpload(QM_W("/a"), path, Id, attributes, nullptr), 87u) << NarrowUtf8(path);
    }
    EXPECT_TRUE(NothingWasSent());
    EXPECT_THAT(winHttp->Calls(), ::testing::Not(::testing::Contains(::testing::HasSubstr("qm_new_path"))));
}

TEST_F(OverTheTransport, ARevisionWithALineBreakIs87BeforeAnythingIsSentOfAChunk) {
    for (const char* revision : {"r\r\nEvil: 1", "r\n", "\rr"}) {
        attributes->SetRevision(revision);
        std::int64_t offset = 0;
        std::int64_t length = 5;
        EXPECT_EQ(
            client->ResumableUpload(QM_W("f"), QM_W("/a"), attributes, Id, offset, length, true, nullptr, nullptr, 0),
            87u);
    }
    EXPECT_TRUE(NothingWasSent());
}

TEST_F(OverTheTransport, FormsWithOneFieldEndWithASeparator) {
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 600, nullptr).error, 0u);
    EXPECT_EQ(winHttp->OptionalData(), "timeout=600&");
    EXPECT_EQ(client->PublishSyncStats("", nullptr).error, 0u);
    EXPECT_EQ(winHttp->OptionalData(), "data=&");
    EXPECT_EQ(client->PublishSyncStats("{\"user\":\"J\xC3\xBC\"}", nullptr).error, 0u);
    EXPECT_EQ(winHttp->OptionalData(), "data=%7B%22user%22%3A%22J%C3%BC%22%7D&");
}

TEST_F(OverTheTransport, OtherFormsEndWithTheirLastField) {
    EXPECT_EQ(client->Register(QM_W("ann b"), QM_W("dev-7"), nullptr).error, 0u);
    EXPECT_EQ(winHttp->OptionalData(), "user_id=ann+b&device_id=dev-7&device_name=laptop&platform=windows");

    std::shared_ptr<IServerAttributes> item;
    Answer("{}");
    EXPECT_EQ(client->RenamePath(QM_W("/docs/a"), QM_W("/docs/b c"), 1, item, nullptr).error, 0u);
    EXPECT_EQ(winHttp->OptionalData(), "path=b+c&operation=update");
    Answer("{}");
    EXPECT_EQ(client->RenamePath(QM_W("/docs/a"), QM_W("/x/a"), 1, item, nullptr).error, 0u);
    EXPECT_EQ(winHttp->OptionalData(), "path=%2Fx%2Fa&overwrite=true&operation=move");

    ShareRequest share;
    share.paths = {QM_W("/b"), QM_W("/a")};
    share.targets = {QM_W("bob@example.com")};
    share.name = QM_W("Plans");
    share.message = QM_W("A & B = C");
    Answer("{}");
    EXPECT_EQ(client->GenerateLink(std::make_shared<ShareRequest>(share), nullptr).error, 0u);
    EXPECT_EQ(winHttp->OptionalData(),
              "path=%2Fa&path=%2Fb&target=bob%40example.com&name=Plans&message=A+%26+B+%3D+C&type=USER");

    Answer("{}");
    EXPECT_EQ(client->AsyncDeltaCommit(Id, attributes, 5368709120, nullptr), 0u);
    EXPECT_EQ(winHttp->OptionalData(),
              "revision=&creation_time=2015-03-01T10%3A20%3A30.123Z&modification_time=2016-02-29T23%3A59%3A59.999Z&"
              "attributes=32&expected_size=5368709120");
}

TEST_F(OverTheTransport, TheWipeIsAnnouncedWithItsLengthAndSentAfterwards) {
    EXPECT_EQ(client->AcknowledgeRemoteWipe(QM_W("ann"), QM_W("dev-7"), nullptr).error, 0u);
    EXPECT_EQ(winHttp->Body(), "username=ann&device_id=dev-7");
    EXPECT_THAT(winHttp->Calls(), ::testing::Contains(::testing::HasSubstr("Content-Length: 28")));
}

}  // namespace
}  // namespace quillmark::test
