// Several threads of the command-line host share a session: when it ends under all of them, there is one new login.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "Calls.h"
#include "integration/support/Appliance.h"
#include "integration/support/HostClient.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {
namespace {

using cli::Calls;
using cli::Client;
using cli::StoredSession;

constexpr const char* Root = "/api/1.7/folders/";

class RenewalTest : public ::testing::Test {
protected:
    RenewalTest() : m_server({"--no-sync"}) {
        m_options.sessionPath = WidenUtf8(m_folder / "session");
        m_options.retries = 3;
        m_options.interrupt = m_interrupt.Get();
        m_options.inputPassword = "secret";
        LogIn();
    }

    // Another program's login: the file of the session then holds another token.
    void LogIn() {
        Client client(m_options);
        client.UseServer(m_server.HttpUrl());
        StoredSession session;
        session.server = m_server.HttpUrl();
        session.user = "anna";
        session.device = "test";
        client.Login(session, "secret", "cannot log in");
    }
    static DWORD Look(Calls& calls) {
        return calls.Run([&calls] {
            std::shared_ptr<IServerAttributes> root;
            return calls.Api().GetPathAttributes(QM_W("/"), root, calls.CancelEvent()).error;
        });
    }
    [[nodiscard]] std::uint64_t Logins() const { return m_server.RequestCount("POST", "/api/1.7/sessions"); }
    void EndSession() { m_server.AddFaults({{"method", "GET"}, {"path", Root}, {"kind", "expire-token"}}); }

    Appliance m_server;
    TempFolder m_folder;
    TestEvent m_interrupt;
    cli::GlobalOptions m_options;
};

TEST_F(RenewalTest, ThereIsOneLoginForAllThreads) {
    Client client(m_options);
    client.Resume();
    for (int round = 0; round < 5; ++round) {
        m_server.ResetStatistics();
        EndSession();
        std::atomic<int> failures = 0;
        std::vector<std::thread> threads;
        for (int count = 0; count < 8; ++count) {
            threads.emplace_back([&client, &failures] {
                Calls calls(client);
                failures += Look(calls) == ERROR_SUCCESS ? 0 : 1;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(0, failures);
        EXPECT_EQ(1u, Logins());
    }
    EXPECT_EQ(0u, m_server.UnusedFaults());
}

TEST_F(RenewalTest, TheNewTokenIsKeptInTheFile) {
    StoredSession before;
    ASSERT_EQ(0u, cli::LoadSession(m_options.sessionPath, before));
    Client client(m_options);
    client.Resume();
    EndSession();
    Calls calls(client);
    EXPECT_EQ(0u, Look(calls));
    StoredSession after;
    ASSERT_EQ(0u, cli::LoadSession(m_options.sessionPath, after));
    EXPECT_NE(before.token, after.token);
    EXPECT_EQ(before.user, after.user);
    WideString token;
    client.Api().GetSessionToken(token);
    EXPECT_EQ(after.token, NarrowUtf8(token));
}

TEST_F(RenewalTest, AnotherProgramsNewTokenIsTakenOverWithoutALogin) {
    m_options.inputPassword.reset();
    ASSERT_EQ(0, ::unsetenv("QUILLMARK_PASSWORD"));
    StoredSession stale;
    ASSERT_EQ(0u, cli::LoadSession(m_options.sessionPath, stale));
    StoredSession fresh = stale;
    stale.token = std::string(64, '0');
    ASSERT_EQ(0u, cli::SaveSession(m_options.sessionPath, stale));
    Client client(m_options);
    client.Resume();
    ASSERT_EQ(0u, cli::SaveSession(m_options.sessionPath, fresh));
    m_server.ResetStatistics();
    Calls calls(client);
    EXPECT_EQ(0u, Look(calls));
    EXPECT_EQ(0u, Logins());
}

TEST_F(RenewalTest, ASessionThatEndsAgainAtOnceIsNotRenewedForEver) {
    Client client(m_options);
    client.Resume();
    for (int count = 0; count < 3; ++count) {
        EndSession();
    }
    m_server.ResetStatistics();
    Calls calls(client);
    EXPECT_EQ(20006u, Look(calls));
    EXPECT_EQ(1u, Logins());
}

TEST_F(RenewalTest, AnInterruptionEndsEveryThreadsOperation) {
    Client client(m_options);
    client.Resume();
    m_server.AddFaults({{"method", "GET"}, {"path", Root}, {"kind", "stall"}, {"ms", 60'000}, {"count", 8}});
    std::vector<std::thread> threads;
    for (int count = 0; count < 8; ++count) {
        threads.emplace_back([&client] {
            Calls calls(client);
            EXPECT_NE(0u, Look(calls));
            EXPECT_TRUE(calls.Interrupted());
        });
    }
    while (m_server.UnusedFaults() != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const auto begin = std::chrono::steady_clock::now();
    m_interrupt.Set();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

}  // namespace
}  // namespace quillmark::testing
