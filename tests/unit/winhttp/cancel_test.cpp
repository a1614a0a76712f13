// Closing handles while calls are under way. How fast a call ends is a matter of cancel_posix_test.cpp: the system's
// own service ends it at once, Wine when the reply or a time-out comes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

class CancelTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ERROR_SUCCESS, SetReceiveTimeout(m_session, 400)); }

    // Runs the calls on a thread of their own and closes the request once Reach() was called. The closing may come
    // before the call that it is to end: then that call finds no handle.
    void ExpectCancellation(ScopedHandle request, const std::function<DWORD(HINTERNET)>& calls) {
        const HINTERNET handle = request;
        auto code = std::async(std::launch::async, [&] { return calls(handle); });
        m_reached.get_future().wait();
        request.Close();
        // Under Wine the time-out may end the call.
        EXPECT_THAT(code.get(),
                    testing::AnyOf(OrWineSays(ERROR_WINHTTP_OPERATION_CANCELLED, SocketTimedOut, ERROR_WINHTTP_TIMEOUT),
                                   testing::Eq<DWORD>(ERROR_INVALID_HANDLE)));
        EXPECT_EQ(ERROR_INVALID_HANDLE, Code(WinHttpReceiveResponse(handle, nullptr)));
    }

    void Reach() { m_reached.set_value(); }

    std::promise<void> m_reached;
    ScopedHandle m_session = OpenSession();
};

TEST_F(CancelTest, EndsWaitingForTheReply) {
    RawServer server([this](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        Reach();
        peer.ReadToEnd();
    });
    ExpectCancellation(OpenRequest(m_session, server.Port(), "GET", "/"),
                       [](HINTERNET request) { return Exchange(request).code; });
}

TEST_F(CancelTest, EndsReading) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nx");
        peer.ReadToEnd();
    });
    ExpectCancellation(OpenRequest(m_session, server.Port(), "GET", "/"), [this](HINTERNET request) {
        EXPECT_EQ(ERROR_SUCCESS, Send(request));
        EXPECT_TRUE(WinHttpReceiveResponse(request, nullptr));
        char byte = 0;
        DWORD count = 0;
        EXPECT_TRUE(WinHttpReadData(request, &byte, 1, &count));
        Reach();
        return Code(WinHttpReadData(request, &byte, 1, &count));
    });
}

TEST_F(CancelTest, ClosingTheConnectionOrTheSessionEndsNoRequest) {
    std::promise<void> asked;
    std::promise<void> answer;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        asked.set_value();
        answer.get_future().wait();
        peer.Send(Ok("answer"));
        peer.ReadToEnd();
    });
    ScopedHandle connection(WinHttpConnect(m_session, QM_W("127.0.0.1"), server.Port(), 0));
    const ScopedHandle request(WinHttpOpenRequest(connection, QM_W("GET"), QM_W("/"), nullptr, nullptr, nullptr, 0));
    auto body = std::async(std::launch::async, [&] { return Exchange(request).body; });
    asked.get_future().wait();
    connection.Close();
    m_session.Close();
    answer.set_value();
    EXPECT_EQ("answer", body.get());
}

}  // namespace
}  // namespace quillmark::test
