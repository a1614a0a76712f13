#include "transport/WinHttpSession.h"

#include <thread>

#include "TransportTest.h"

namespace quillmark {
namespace {

class WinHttpSessionTest : public TransportTest {};

TEST_F(WinHttpSessionTest, InitialiseOpensSynchronouslyWithTheDefaultProxyAndSetsTheNormalTimeouts) {
    {
        WinHttpSession opened;
        EXPECT_EQ(opened.Initialise(), 0u);
        EXPECT_EQ(opened.GetHandle(), reinterpret_cast<HINTERNET>(1));
    }
    EXPECT_EQ(winHttp->Calls(),
              (Texts{"WinHttpOpen(null, 0, null, null, 0)", "WinHttpSetTimeouts(h1, 60000, 60000, 300000, 300000)",
                     "WinHttpCloseHandle(h1)"}));
    EXPECT_TRUE(LoggedInformation("WinHttpSession::Initialise", "Successfully initialised http session"));
}

TEST_F(WinHttpSessionTest, InitialiseIsAScopeWithItsStatus) {
    winHttp->Fail("WinHttpOpen", 12001);
    WinHttpSession failed;
    EXPECT_EQ(failed.Initialise(), 12001u);
    EXPECT_TRUE(log.Has(110, "WinHttpImpl", "WinHttpSession::Initialise", ""));
    EXPECT_TRUE(log.Has(104, "WinHttpImpl", "WinHttpSession::Initialise", "Exited [status=12001]"));
}

TEST_F(WinHttpSessionTest, AFailedOpenReturnsItsCodeAndLeavesNoHandle) {
    winHttp->Fail("WinHttpOpen", 8);
    WinHttpSession failed;
    EXPECT_EQ(failed.Initialise(), 8u);
    EXPECT_EQ(failed.GetHandle(), nullptr);
    EXPECT_TRUE(LoggedError("WinHttpSession::Initialise", "WinHttpOpen failed, error code: 8"));
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpOpen(null, 0, null, null, 0)"});
}

TEST_F(WinHttpSessionTest, FailedTimeoutsReturnTheirCodeAndKeepTheHandleOpen) {
    winHttp->Fail("WinHttpSetTimeouts", 87);
    WinHttpSession failed;
    EXPECT_EQ(failed.Initialise(), 87u);
    EXPECT_NE(failed.GetHandle(), nullptr);
    EXPECT_TRUE(LoggedError("WinHttpSession::Initialise", "WinHttpSetTimeouts failed, error code: 87"));
    EXPECT_FALSE(log.Has(101, "Successfully initialised http session"));
    EXPECT_EQ(winHttp->OpenHandles(), 1u);
}

TEST_F(WinHttpSessionTest, SetTimeoutsPassesItsValuesByPosition) {
    WinHttpSession opened;
    ASSERT_EQ(opened.Initialise(), 0u);
    winHttp->ClearCalls();
    EXPECT_NE(opened.SetTimeouts(1, 2, 3, 4), FALSE);
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpSetTimeouts(h1, 1, 2, 3, 4)"});
}

TEST_F(WinHttpSessionTest, SetTimeoutsReturnsThePlatformsResult) {
    WinHttpSession opened;
    winHttp->Fail("WinHttpSetTimeouts", 87);
    EXPECT_EQ(opened.SetTimeouts(1, 2, 3, 4), FALSE);
    EXPECT_EQ(::GetLastError(), 87u);
}

TEST_F(WinHttpSessionTest, TokenIsEmptyUntilSetAndIsReplacedBySetting) {
    WinHttpSession opened;
    EXPECT_TRUE(opened.GetSessionToken().empty());
    opened.SetSessionToken(QM_W("first"));
    opened.SetSessionToken(QM_W("second"));
    EXPECT_EQ(opened.GetSessionToken(), QM_W("second"));
}

TEST_F(WinHttpSessionTest, TokenMayBeReplacedWhileOtherThreadsReadIt) {
    WinHttpSession shared;
    shared.SetSessionToken(QM_W("old"));
    std::thread reader([&] {
        for (int i = 0; i < 2000; ++i) {
            const WideString token = shared.GetSessionToken();
            ASSERT_TRUE(token == QM_W("old") || token == QM_W("new"));
        }
    });
    for (int i = 0; i < 2000; ++i) {
        shared.SetSessionToken(i % 2 == 0 ? QM_W("new") : QM_W("old"));
    }
    reader.join();
}

}  // namespace
}  // namespace quillmark
