// Which settings a running process takes from a registry file that is changed under it, and which ones only a new
// process does.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "integration/client/ScriptedServer.h"
#include "integration/support/HostClient.h"
#include "integration/support/TempFolder.h"
#include "quillmark/Eventing.h"

namespace quillmark::testing {
namespace {

constexpr const char* Registry = "QUILLMARK_REGISTRY";

// A death test runs its statement in a new process, made of the program anew, which finds the same registry.
class SettingsDeathTest : public ::testing::Test {
protected:
    SettingsDeathTest() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        m_isNewProcess = ::testing::internal::InDeathTestChild();
        if (!m_isNewProcess) {
            std::filesystem::create_directory(m_folder.Path() / "registry");
            ::setenv(Registry, (m_folder / "registry").c_str(), 1);
        }
    }
    ~SettingsDeathTest() override {
        ::Init(0, nullptr);
        Eventing::CloseLog(m_log);
    }
    void SetUp() override {
        m_log = Eventing::OpenLog((m_folder / "log").c_str(), 4);
        ASSERT_NE(0u, m_log);
        ::Init(m_log, std::make_shared<Services::ServicesCollection>());
    }

    // Before the first operation; the first settings are in place.
    void Login() { ASSERT_EQ(0u, m_client.Login()); }
    [[nodiscard]] bool IsNewProcess() const { return m_isNewProcess; }
    // The machine's settings from now on.
    static void Write(const std::string& values) {
        WriteFileAt(
            std::string(std::getenv(Registry)) + "/settings.reg",
            "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software\\Brevant\\Quillmark]\n" + values);
    }
    // What the new process has to say is what it writes to standard error. No destructor cleans up after it.
    [[noreturn]] void Tell(const std::string& text) const {
        std::filesystem::remove_all(m_folder.Path());
        std::fputs(text.c_str(), stderr);
        std::exit(0);
    }

    // The time-outs of the connection that was made last, as the log has them.
    [[nodiscard]] std::string LastTimeouts() const {
        constexpr std::string_view Prefix = "Calling WinHttpSetTimeouts. ";
        const std::string log = ReadFileAt(m_folder / "log");
        const std::size_t at = log.rfind(Prefix) + Prefix.size();
        return log.substr(at, log.find('\n', at) - at);
    }
    std::string TimeoutsOfVersion() {
        WideString version;
        EXPECT_EQ(0u, m_client->Version(version));
        return LastTimeouts();
    }
    std::string TimeoutsOfDelta() {
        const WideString delta = WriteFileAt(m_folder / "delta", "delta");
        EXPECT_EQ(0u, m_client->UploadDelta(delta, QM_W("/item"), UploadAttributes(5), 2, nullptr, nullptr));
        return LastTimeouts();
    }
    std::string TimeoutsOfLock() {
        EXPECT_EQ(0u, m_client->RequestLock(QM_W("/item"), 60, nullptr).error);
        return LastTimeouts();
    }
    // The time-out that the server is told with the question for the mapped folders.
    bool AsksForFoldersWith(const std::string& seconds) {
        MappingList mappings;
        ResponseBuffer reply;
        EXPECT_EQ(0u, m_client->GetRemoteFolderMap(mappings, reply, nullptr).error);
        return !m_server.Request("GET /api/1.7/folders?includeAll=true&timeout=" + seconds + " HTTP/1.1\r\n").empty();
    }
    // In how many hours a chunk says that its upload expires, "never" when it does not say so. path: once per process.
    std::string ExpiryOf(const std::string& path) {
        constexpr double TicksPerHour = 36000000000;
        constexpr std::string_view Header = "qm_expiry: ";
        std::int64_t offset = 0;
        std::int64_t length = 5;
        const WideString local = WriteFileAt(m_folder / "file", "chunk");
        EXPECT_EQ(0u, m_client->ResumableUpload(local, WidenUtf8(path), UploadAttributes(5), GUID{}, offset, length,
                                                true, nullptr, nullptr, 0));
        const std::string request = m_server.Request("POST /api/1.7/resume/upload" + path + "?");
        const std::size_t at = request.find(Header);
        if (at == std::string::npos) {
            return "never";
        }
        const auto expiry = CAttributeTime::Parse(request.substr(at + Header.size(), 24));
        const auto ticks = static_cast<double>(expiry.Ticks() - CAttributeTime::Now().Ticks());
        return "in " + std::to_string(static_cast<int>(ticks / TicksPerHour + 0.5)) + " h";
    }

private:
    bool m_isNewProcess = false;
    TempFolder m_folder;
    std::uint64_t m_log = 0;
    ScriptedServer m_server;
    HostClient m_client{m_server.Url()};
};

const ::testing::ExitedWithCode Well(0);

TEST_F(SettingsDeathTest, ForAllConnectionsAreReadOncePerProcess) {
    if (!IsNewProcess()) {
        Write(
            "\"HTTPConnectionRequestTimeout\"=dword:00002711\n"
            "\"HTTPNameResolutionTimeout\"=dword:00002712\n"
            "\"HTTPSendRequestTimeout\"=dword:00002713\n"
            "\"HTTPReceiveResponseTimeout\"=dword:00002714\n");
        Login();
        EXPECT_EQ("CONN:10001, RES:10002, SEND:10003, RECV:10004", TimeoutsOfVersion());
        Write(
            "\"HTTPConnectionRequestTimeout\"=dword:00004e21\n"
            "\"HTTPNameResolutionTimeout\"=dword:00004e22\n"
            "\"HTTPSendRequestTimeout\"=dword:00004e23\n"
            "\"HTTPReceiveResponseTimeout\"=dword:00004e24\n");
        EXPECT_EQ("CONN:10001, RES:10002, SEND:10003, RECV:10004", TimeoutsOfVersion());
    }
    EXPECT_EXIT((Login(), Tell(TimeoutsOfVersion())), Well, "CONN:20001, RES:20002, SEND:20003, RECV:20004");
}

TEST_F(SettingsDeathTest, ForDeltasAreReadOncePerProcess) {
    if (!IsNewProcess()) {
        Write(
            "\"HTTPDeltaSendRequestTimeout\"=dword:00002711\n"
            "\"HTTPDeltaReceiveResponseTimeout\"=dword:00002712\n");
        Login();
        EXPECT_EQ("CONN:60000, RES:0, SEND:10001, RECV:10002", TimeoutsOfDelta());
        Write(
            "\"HTTPDeltaSendRequestTimeout\"=dword:00004e21\n"
            "\"HTTPDeltaReceiveResponseTimeout\"=dword:00004e22\n");
        EXPECT_EQ("CONN:60000, RES:0, SEND:10001, RECV:10002", TimeoutsOfDelta());
    }
    EXPECT_EXIT((Login(), Tell(TimeoutsOfDelta())), Well, "CONN:60000, RES:0, SEND:20001, RECV:20002");
}

TEST_F(SettingsDeathTest, ForTheExpiryOfUploadsIsReadOncePerProcess) {
    if (!IsNewProcess()) {
        Write("\"UploadExpiry\"=dword:0000000c\n");
        Login();
        EXPECT_EQ("in 12 h", ExpiryOf("/first"));
        Write("\"UploadExpiry\"=dword:00000030\n");
        EXPECT_EQ("in 12 h", ExpiryOf("/second"));
    }
    EXPECT_EXIT((Login(), Tell(ExpiryOf("/third"))), Well, "in 48 h");
}

TEST_F(SettingsDeathTest, ThatAreMissingStayMissingInTheProcess) {
    if (!IsNewProcess()) {
        Login();
        EXPECT_EQ("CONN:60000, RES:0, SEND:60000, RECV:60000", TimeoutsOfVersion());
        EXPECT_EQ("CONN:60000, RES:0, SEND:300000, RECV:600000", TimeoutsOfDelta());
        EXPECT_EQ("never", ExpiryOf("/first"));
        Write(
            "\"HTTPSendRequestTimeout\"=dword:00002711\n"
            "\"HTTPDeltaSendRequestTimeout\"=dword:00002712\n"
            "\"UploadExpiry\"=dword:0000000c\n");
        EXPECT_EQ("CONN:60000, RES:0, SEND:60000, RECV:60000", TimeoutsOfVersion());
        EXPECT_EQ("CONN:60000, RES:0, SEND:300000, RECV:600000", TimeoutsOfDelta());
        EXPECT_EQ("never", ExpiryOf("/second"));
    }
    EXPECT_EXIT((Login(), Tell(TimeoutsOfVersion() + "; " + TimeoutsOfDelta() + "; " + ExpiryOf("/third"))), Well,
                "CONN:60000, RES:0, SEND:10001, RECV:60000; CONN:60000, RES:0, SEND:10002, RECV:600000; in 12 h");
}

TEST_F(SettingsDeathTest, ForLocksAreReadAtEveryCall) {
    Login();
    EXPECT_EQ("CONN:10000, RES:10000, SEND:10000, RECV:10000", TimeoutsOfLock());
    Write("\"ServerLockHTTPTimeout\"=dword:00000003\n");
    EXPECT_EQ("CONN:3000, RES:3000, SEND:3000, RECV:3000", TimeoutsOfLock());
    Write("\"ServerLockHTTPTimeout\"=dword:00000007\n");
    EXPECT_EQ("CONN:7000, RES:7000, SEND:7000, RECV:7000", TimeoutsOfLock());
    Write("");
    EXPECT_EQ("CONN:10000, RES:10000, SEND:10000, RECV:10000", TimeoutsOfLock());
}

TEST_F(SettingsDeathTest, ForMappedFoldersAreReadAtEveryCall) {
    Login();
    EXPECT_TRUE(AsksForFoldersWith("30"));
    Write("\"OfflineMappointTimeout\"=dword:00000005\n");
    EXPECT_TRUE(AsksForFoldersWith("5"));
    Write("\"OfflineMappointTimeout\"=dword:00000078\n");
    EXPECT_TRUE(AsksForFoldersWith("120"));
}

}  // namespace
}  // namespace quillmark::testing
