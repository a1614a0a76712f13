// The library as a host uses it: loaded as a shared library, reached through its four exports.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <sstream>
#include <string>

#include "fakes/RecordingFactory.h"
#include "quillmark/Eventing.h"
#include "quillmark/HttpApi.h"
#include "support/LogExits.h"
#include "support/TempFolder.h"

namespace quillmark {
namespace {

using fakes::RecordingFactory;

// A log of the library in a folder of the test's own.
class LibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_log = Eventing::OpenLog((m_folder.Path() / "log").string().c_str(), 4);
        ASSERT_NE(m_log, 0u);
        ASSERT_EQ(::Init(m_log, std::make_shared<Services::ServicesCollection>()), 0u);
    }
    void TearDown() override {
        EXPECT_EQ(::Init(0, nullptr), 0u);
        Eventing::CloseLog(m_log);
    }

    [[nodiscard]] std::string Log() const {
        std::ostringstream text;
        text << std::ifstream(m_folder.Path() / "log").rdbuf();
        return text.str();
    }
    [[nodiscard]] std::string LastExitOf(const std::string& function) const {
        return test::LastExitOf((m_folder.Path() / "log").string(), function);
    }

private:
    test::TempFolder m_folder{"library"};
    std::uint64_t m_log = 0;
};

TEST_F(LibraryTest, MakesAndReleasesAClient) {
    const ClientPointer client(::CreateInstance(QM_W("device")));
    ASSERT_NE(client, nullptr);
    EXPECT_FALSE(client->SupportsApi16());
    WideString server = QM_W("https://Files.Example.com");
    EXPECT_EQ(client->SetServer(server), 0u);
    EXPECT_EQ(server, QM_W("https://files.example.com"));
    EXPECT_NE(Log().find("QuillmarkHttpExports"), std::string::npos);
    EXPECT_NE(Log().find("Quillmark set to secure"), std::string::npos);
}

TEST_F(LibraryTest, HandsRecordsToAndFroAcrossItsBoundary) {
    const auto factory = std::make_shared<RecordingFactory>();
    const ClientPointer client(::CreateInstanceWithFactory(QM_W("device"), factory));
    factory->Reply(200, R"({"qm":{"sync":{"1.7":{"path":"/qm","tos":7}}}})");
    factory->Reply(200, R"({"device_token_auth":true})");
    DWORD mode = 0;
    DWORD extra = 0;
    ASSERT_EQ(client->Init(mode, extra, nullptr), 0u);
    EXPECT_EQ(mode, 2u);
    EXPECT_EQ(extra, 1u);

    factory->Reply(200, R"({"name":"report.txt","revision":"17","size":5})");
    std::shared_ptr<IServerAttributes> attributes;
    EXPECT_EQ(client->GetPathAttributes(QM_W("/Shared/report.txt"), attributes, nullptr), StatusPair{});
    ASSERT_NE(attributes, nullptr);
    EXPECT_EQ(attributes->GetName(), QM_W("report.txt"));
    const std::shared_ptr<IServerAttributes> own = MakeAttributes();
    CopyAttributes(*attributes, *own);
    EXPECT_TRUE(own->Equals(*attributes));
    EXPECT_TRUE(attributes->Equals(*own));
    EXPECT_NE(dynamic_cast<CServerItemAttributesBase*>(attributes.get()), nullptr);
}

TEST_F(LibraryTest, HostileReplyIsACodeAndALogLine) {
    const auto factory = std::make_shared<RecordingFactory>();
    const ClientPointer client(::CreateInstanceWithFactory(QM_W("device"), factory));
    factory->Reply(200, std::string(100000, '['));
    DWORD mode = 0;
    DWORD extra = 0;
    EXPECT_EQ(client->Init(mode, extra, nullptr), 19006u);
    EXPECT_NE(Log().find("JSON library has thrown a runtime_error exception (Exceeded stackLimit in readValue().)!"),
              std::string::npos);
}

TEST_F(LibraryTest, MemoryShortageCrossesItsBoundaryAsTheStandardException) {
    class FactoryWithoutMemory final : public IWinHttpFactory {
    public:
        std::shared_ptr<IWinHttpSession> CreateSession() override { throw WideString::OutOfMemory(); }
        std::shared_ptr<IWinHttpConnection> CreateConnection() override { return nullptr; }
        std::shared_ptr<IWinHttpRequest> CreateRequest(const std::shared_ptr<IWinHttpSession>&) override {
            return nullptr;
        }
    };
    EXPECT_THROW(::CreateInstanceWithFactory(QM_W("device"), std::make_shared<FactoryWithoutMemory>()), std::bad_alloc);
    EXPECT_EQ(LastExitOf("CreateInstanceWithFactory"), "[EXCEPTION EXIT]");
    const ClientPointer client(::CreateInstanceWithFactory(QM_W("device"), std::make_shared<RecordingFactory>()));
    EXPECT_EQ(LastExitOf("CreateInstanceWithFactory"), "");
}

TEST_F(LibraryTest, AnExceptionOfTheHostEndsTheScopesThatItPassesAndNoOther) {
    const auto factory = std::make_shared<RecordingFactory>();
    const ClientPointer client(::CreateInstanceWithFactory(QM_W("device"), factory));
    std::shared_ptr<IServerAttributes> attributes;
    factory->OnCall([](const std::string& call) {
        if (call.starts_with("CreateConnection")) {
            throw std::bad_alloc();
        }
    });
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, nullptr), (StatusPair{8, 0}));
    EXPECT_EQ(LastExitOf("CNativeHttp::CreateRequest"), "[EXCEPTION EXIT]");
    EXPECT_EQ(LastExitOf("CNativeHttp::GetPathAttributes"), "[EXCEPTION EXIT]");
    EXPECT_EQ(LastExitOf("CNativeHttp::GetSession"), "");

    factory->OnCall({});
    factory->Reply(200, R"({"name":"a","revision":"17","size":5})");
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, nullptr), StatusPair{});
    EXPECT_EQ(LastExitOf("CNativeHttp::CreateRequest"), "Exited [status=0]");
    EXPECT_EQ(LastExitOf("CNativeHttp::GetPathAttributes"), "Exited [status=0]");
}

TEST_F(LibraryTest, AnExceptionOfTheLibraryIsSeenAlsoAfterOneOfTheHost) {
    const auto factory = std::make_shared<RecordingFactory>();
    const ClientPointer client(::CreateInstanceWithFactory(QM_W("device"), factory));
    std::shared_ptr<IServerAttributes> attributes;
    // One of the host's, which the library's boundary ends; then one of the JSON library's, which is inside the
    // library.
    factory->OnCall([](const std::string& call) {
        if (call.starts_with("CreateConnection")) {
            throw std::bad_alloc();
        }
    });
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, nullptr), (StatusPair{8, 0}));
    factory->OnCall({});
    factory->Reply(200, R"({"name":"a","directory":"true"})");
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, nullptr), (StatusPair{13, 0}));
    EXPECT_EQ(LastExitOf("CNativeHttp::CreateRequest"), "Exited [status=0]");
    EXPECT_EQ(LastExitOf("CNativeHttp::GetPathAttributes"), "[EXCEPTION EXIT]");
}

}  // namespace
}  // namespace quillmark
