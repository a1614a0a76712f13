// The time-outs, each in the phase that it is for and in no other.
#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

constexpr int Short = 150;

class TimeoutTest : public testing::Test {
protected:
    // It is the time-out's and came when the short time-out had passed.
    void ExpectTimeout(DWORD code, const Stopwatch& stopwatch) {
        const long milliseconds = stopwatch.Milliseconds();
        EXPECT_THAT(code, IsTimeout());
        EXPECT_GE(milliseconds, Short);
        EXPECT_LT(milliseconds, Short + 1000);
    }

    ScopedHandle m_session = OpenSession();
};

TEST_F(TimeoutTest, ConnectingEndsWithTheConnectTimeout) {
    const BlackHole hole;
    ASSERT_TRUE(WinHttpSetTimeouts(m_session, 0, Short, 0, 0));
    const Stopwatch stopwatch;
    ExpectTimeout(Send(OpenRequest(m_session, hole.Port(), "GET", "/")), stopwatch);
}

TEST_F(TimeoutTest, SendingEndsWithTheSendTimeout) {
    std::promise<void> over;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        over.get_future().wait();
    });
    ASSERT_TRUE(WinHttpSetTimeouts(m_session, 0, 0, Short, 0));
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 1ULL << 40));
    const std::string chunk(1024 * 1024, 'x');
    DWORD code = ERROR_SUCCESS;
    while (code == ERROR_SUCCESS) {
        code = Write(request, chunk);
    }
    over.set_value();
    EXPECT_THAT(code, IsTimeout());
}

TEST_F(TimeoutTest, WaitingEndsWithTheReceiveTimeout) {
    RawServer server([](Peer& peer) { peer.ReadToEnd(); });
    ASSERT_EQ(ERROR_SUCCESS, SetReceiveTimeout(m_session, Short));
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    const Stopwatch stopwatch;
    // Wine waits in the call that sends.
    ExpectTimeout(Exchange(request).code, stopwatch);
}

TEST_F(TimeoutTest, ReadingEndsWithTheReceiveTimeout) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
        peer.ReadToEnd();
    });
    ASSERT_TRUE(WinHttpSetTimeouts(m_session, 0, 0, 0, Short));
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, Send(request));
    const Stopwatch stopwatch;
    const Reply reply = Receive(request);
    ExpectTimeout(reply.code, stopwatch);
    EXPECT_EQ("half", reply.body);
}

TEST_F(TimeoutTest, ProgressBeginsItAnew) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\n");
        for (int i = 0; i < 8; ++i) {
            // The pace of the server is what is tested.
            std::this_thread::sleep_for(std::chrono::milliseconds(Short / 2));
            peer.Send("x");
        }
    });
    ASSERT_TRUE(WinHttpSetTimeouts(m_session, 0, 0, 0, Short * 2));
    EXPECT_EQ("xxxxxxxx", Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).body);
}

TEST_F(TimeoutTest, ZeroAndMinusOneMeanNone) {
    for (const int none : {0, -1}) {
        RawServer server([](Peer& peer) {
            static_cast<void>(peer.ReadHead());
            std::this_thread::sleep_for(std::chrono::milliseconds(Short));
            peer.Send(Ok("late"));
        });
        ASSERT_TRUE(WinHttpSetTimeouts(m_session, none, none, none, none));
        EXPECT_EQ("late", Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).body);
    }
}

TEST_F(TimeoutTest, OfTheSessionHoldForRequestsOpenedLater) {
    RawServer server([](Peer& peer) { peer.ReadToEnd(); });
    const ScopedHandle before = OpenRequest(m_session, server.Port(), "GET", "/");
    ASSERT_TRUE(WinHttpSetTimeouts(m_session, 1, 2, 3, 4));
    const ScopedHandle after = OpenRequest(m_session, server.Port(), "GET", "/");
    DWORD value = 0;
    DWORD size = sizeof(value);
    ASSERT_TRUE(WinHttpQueryOption(before, WINHTTP_OPTION_RECEIVE_TIMEOUT, &value, &size));
    EXPECT_EQ(30000u, value);
    const std::pair<DWORD, DWORD> expected[] = {{WINHTTP_OPTION_RESOLVE_TIMEOUT, 1},
                                                {WINHTTP_OPTION_CONNECT_TIMEOUT, 2},
                                                {WINHTTP_OPTION_SEND_TIMEOUT, 3},
                                                {WINHTTP_OPTION_RECEIVE_TIMEOUT, 4}};
    for (const auto& [option, milliseconds] : expected) {
        ASSERT_TRUE(WinHttpQueryOption(after, option, &value, &size));
        EXPECT_EQ(milliseconds, value) << option;
    }
}

TEST_F(TimeoutTest, NewSessionHasTheDefaults) {
    const std::pair<DWORD, DWORD> expected[] = {{WINHTTP_OPTION_RESOLVE_TIMEOUT, 0},
                                                {WINHTTP_OPTION_CONNECT_TIMEOUT, 60000},
                                                {WINHTTP_OPTION_SEND_TIMEOUT, 30000},
                                                {WINHTTP_OPTION_RECEIVE_TIMEOUT, 30000}};
    for (const auto& [option, milliseconds] : expected) {
        DWORD value = 1;
        DWORD size = sizeof(value);
        ASSERT_TRUE(WinHttpQueryOption(m_session, option, &value, &size));
        // Wine has a third of the time for connecting.
        EXPECT_THAT(value, option == WINHTTP_OPTION_CONNECT_TIMEOUT ? OrWineSays(milliseconds, 20000)
                                                                    : testing::Eq(milliseconds))
            << option;
    }
}

TEST_F(TimeoutTest, BelowMinusOneIsRefused) {
    for (int position = 0; position < 4; ++position) {
        const auto at = [&](int index) { return index == position ? -2 : 0; };
        EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpSetTimeouts(m_session, at(0), at(1), at(2), at(3))));
    }
}

TEST_F(TimeoutTest, ConnectionsHaveNone) {
    const ScopedHandle connection(WinHttpConnect(m_session, QM_W("127.0.0.1"), 80, 0));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Code(WinHttpSetTimeouts(connection, 0, 0, 0, 0)));
}

}  // namespace
}  // namespace quillmark::test
