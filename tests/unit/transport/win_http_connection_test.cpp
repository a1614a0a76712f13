#include "transport/WinHttpConnection.h"

#include <cstdio>
#include <cstdlib>

#include "TransportTest.h"

namespace quillmark {
namespace {

class WinHttpConnectionTest : public TransportTest {
protected:
    void SetUp() override {
        session = WinHttpFactory().CreateSession();
        ASSERT_EQ(session->Initialise(), 0u);
        winHttp->ClearCalls();
        log.Clear();
    }

    // Connects and tells, for the parent of a process of its own, what was logged and what WinHTTP was given.
    [[nodiscard]] std::string ConnectAndTell(DWORD connect = 0, DWORD resolve = 0, DWORD send = 0, DWORD receive = 0) {
        winHttp->ClearCalls();
        log.Clear();
        WinHttpConnection opened;
        const DWORD error = opened.Initialise(QM_W("server"), 80, session, connect, resolve, send, receive);
        return std::to_string(error) + " " + log.Texts(101).at(0) + " " + winHttp->Calls().at(1) + "\n";
    }
};

// What is read once per process needs a process of its own: the death test runs the binary anew up to its statement.
class ConnectionSettingsDeathTest : public WinHttpConnectionTest {
protected:
    ConnectionSettingsDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    void Configure(DWORD connect, DWORD resolve, DWORD send, DWORD receive) {
        registry->values = {{QM_W("HTTPConnectionRequestTimeout"), connect},
                            {QM_W("HTTPNameResolutionTimeout"), resolve},
                            {QM_W("HTTPSendRequestTimeout"), send},
                            {QM_W("HTTPReceiveResponseTimeout"), receive}};
    }

    [[noreturn]] static void Tell(const std::string& text) {
        std::fputs(text.c_str(), stderr);
        std::exit(0);
    }
};

TEST_F(WinHttpConnectionTest, InitialiseNamesTheServerOnTheSession) {
    {
        WinHttpConnection opened;
        EXPECT_EQ(opened.Initialise(QM_W("files.example.com"), 8443, session, 1, 2, 3, 4), 0u);
        EXPECT_EQ(opened.GetHandle(), reinterpret_cast<HINTERNET>(2));
    }
    EXPECT_EQ(winHttp->Calls(), (Texts{"WinHttpConnect(h1, \"files.example.com\", 8443, 0)",
                                       "WinHttpSetTimeouts(h1, 1, 2, 3, 4)", "WinHttpCloseHandle(h2)"}));
    EXPECT_TRUE(LoggedInformation("WinHttpConnection::Initialise", "Successfully initialised http connection"));
}

TEST_F(WinHttpConnectionTest, TimeoutsGoToTheSessionByPositionSoConnectAndResolveAreCrossed) {
    WinHttpConnection opened;
    ASSERT_EQ(opened.Initialise(QM_W("server"), 80, session, 11, 22, 33, 44), 0u);
    EXPECT_TRUE(LoggedInformation("WinHttpConnection::Initialise",
                                  "Calling WinHttpSetTimeouts. CONN:11, RES:22, SEND:33, RECV:44"));
    // The platform's order is resolve, connect, send, receive.
    EXPECT_EQ(winHttp->Calls().at(1), "WinHttpSetTimeouts(h1, 11, 22, 33, 44)");
}

TEST_F(WinHttpConnectionTest, InitialiseIsAScopeWithItsStatus) {
    WinHttpConnection opened;
    ASSERT_EQ(opened.Initialise(QM_W("server"), 80, session, 1, 2, 3, 4), 0u);
    EXPECT_TRUE(log.Has(110, "WinHttpImpl", "WinHttpConnection::Initialise", ""));
    EXPECT_TRUE(log.Has(104, "WinHttpImpl", "WinHttpConnection::Initialise", "Exited [status=0]"));
}

TEST_F(WinHttpConnectionTest, AFailedConnectReturnsItsCodeAndSetsNoTimeouts) {
    winHttp->Fail("WinHttpConnect", 12005);
    WinHttpConnection failed;
    EXPECT_EQ(failed.Initialise(QM_W(""), 80, session, 1, 2, 3, 4), 12005u);
    EXPECT_EQ(failed.GetHandle(), nullptr);
    EXPECT_TRUE(LoggedError("WinHttpConnection::Initialise", "WinHttpConnect failed, error code: 12005"));
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpConnect(h1, \"\", 80, 0)"});
}

TEST_F(WinHttpConnectionTest, FailedTimeoutsAreAWarningOnly) {
    winHttp->Fail("WinHttpSetTimeouts", 87);
    WinHttpConnection opened;
    EXPECT_EQ(opened.Initialise(QM_W("server"), 80, session, 1, 2, 3, 4), 0u);
    EXPECT_TRUE(log.Has(102, "WinHttpImpl", "WinHttpConnection::Initialise",
                        "WinHttpSetTimeouts failed with error code: [87]. Failed to override timeout defaults."));
    EXPECT_TRUE(log.Has(101, "Successfully initialised http connection"));
}

TEST_F(ConnectionSettingsDeathTest, DefaultsHoldWithoutRegistryValuesAndOverrides) {
    EXPECT_EXIT(Tell(ConnectAndTell()), ::testing::ExitedWithCode(0),
                "^0 Calling WinHttpSetTimeouts. CONN:60000, RES:0, SEND:60000, RECV:60000 "
                "WinHttpSetTimeouts.h1, 60000, 0, 60000, 60000.\n$");
}

TEST_F(ConnectionSettingsDeathTest, RegistryValuesReplaceTheDefaults) {
    Configure(101, 102, 103, 104);
    EXPECT_EXIT(Tell(ConnectAndTell()), ::testing::ExitedWithCode(0),
                "CONN:101, RES:102, SEND:103, RECV:104 WinHttpSetTimeouts.h1, 101, 102, 103, 104.");
}

TEST_F(ConnectionSettingsDeathTest, AMissingValueLeavesItsOwnDefaultOnly) {
    registry->values = {{QM_W("HTTPSendRequestTimeout"), 103}};
    EXPECT_EXIT(Tell(ConnectAndTell()), ::testing::ExitedWithCode(0), "CONN:60000, RES:0, SEND:103, RECV:60000");
}

TEST_F(ConnectionSettingsDeathTest, AnOverrideWinsOverTheRegistryAndZeroIsNone) {
    Configure(101, 102, 103, 104);
    EXPECT_EXIT(Tell(ConnectAndTell(0, 5, 0, 7)), ::testing::ExitedWithCode(0), "CONN:101, RES:5, SEND:103, RECV:7");
}

TEST_F(ConnectionSettingsDeathTest, AChangeInTheRegistryHasNoEffectAfterTheFirstConnection) {
    EXPECT_EXIT(
        {
            const std::string first = ConnectAndTell(1, 2, 3, 4);
            Configure(101, 102, 103, 104);
            Tell(ConnectAndTell());
        },
        ::testing::ExitedWithCode(0), "CONN:60000, RES:0, SEND:60000, RECV:60000");
}

}  // namespace
}  // namespace quillmark
