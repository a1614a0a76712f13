// Closing a request's handle from another thread ends the call that is blocked in it, at once, in every phase. Wine
// ends it with the reply or a time-out; cancel_test.cpp has what holds there too.
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <future>
#include <thread>

#include "handles/HandleTable.h"
#include "unit/platform/BlockedThread.h"
#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/StalledLookup.h"

namespace quillmark::test {
namespace {

// Far more than it takes and far less than any time-out.
constexpr long AtOnce = 500;

class CancelPosixTest : public testing::Test {
protected:
    // Runs the calls on a thread of their own. Once `reached` has returned and the thread is blocked, closes the
    // request and returns the code that the calls end with.
    DWORD CancelWhileBlocked(const char* phase, ScopedHandle request, const std::function<DWORD(HINTERNET)>& calls,
                             const std::function<void()>& reached) {
        EXPECT_TRUE(WinHttpSetTimeouts(request, 0, 0, 0, 0));
        const HINTERNET handle = request;
        std::promise<unsigned> threadId;
        std::atomic<bool> returned{false};
        DWORD code = ERROR_SUCCESS;
        std::thread thread([&] {
            threadId.set_value(static_cast<unsigned>(gettid()));
            code = calls(handle);
            returned = true;
        });
        reached();
        AwaitBlockedInPoll(threadId.get_future().get());
        EXPECT_FALSE(returned) << phase;
        const Stopwatch stopwatch;
        request.Close();
        thread.join();
        const long milliseconds = stopwatch.Milliseconds();
        std::printf("cancelled while %s: %ld ms\n", phase, milliseconds);
        EXPECT_LT(milliseconds, AtOnce) << phase;
        EXPECT_EQ(ERROR_INVALID_HANDLE, Code(WinHttpReceiveResponse(handle, nullptr))) << phase;
        return code;
    }

    // The phase is reached when this was called.
    void Reach() { m_reached.set_value(); }
    std::function<void()> WhenReached() {
        return [this] { m_reached.get_future().wait(); };
    }

    std::promise<void> m_reached;
    ScopedHandle m_session = OpenSession();
};

constexpr auto AtTheStart = [] {};

TEST_F(CancelPosixTest, EndsTheLookUpOfAName) {
    const StalledLookup lookup;
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED,
              CancelWhileBlocked(
                  "resolving", OpenRequest(m_session, 80, "GET", "/", 0, StalledName),
                  [](HINTERNET request) { return Send(request); }, [&] { lookup.AwaitBegun(); }));
}

TEST_F(CancelPosixTest, EndsConnecting) {
    const BlackHole hole;
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED, CancelWhileBlocked(
                                                     "connecting", OpenRequest(m_session, hole.Port(), "GET", "/"),
                                                     [](HINTERNET request) { return Send(request); }, AtTheStart));
}

TEST_F(CancelPosixTest, EndsTheTlsHandshake) {
    RawServer server([this](Peer& peer) {
        static_cast<void>(peer.Read(1));
        Reach();
        peer.ReadToEnd();
    });
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED,
              CancelWhileBlocked(
                  "shaking hands", OpenRequest(m_session, server.Port(), "GET", "/", WINHTTP_FLAG_SECURE),
                  [](HINTERNET request) { return Send(request); }, WhenReached()));
}

TEST_F(CancelPosixTest, EndsSending) {
    std::promise<void> over;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        over.get_future().wait();
    });
    const std::string chunk(1024 * 1024, 'x');
    const auto send = [&](HINTERNET request) {
        DWORD code = StartUpload(request, 1ULL << 40);
        Reach();
        while (code == ERROR_SUCCESS) {
            code = Write(request, chunk);
        }
        return code;
    };
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED,
              CancelWhileBlocked("sending", OpenRequest(m_session, server.Port(), "POST", "/"), send, WhenReached()));
    over.set_value();
}

TEST_F(CancelPosixTest, EndsWaitingForTheReply) {
    RawServer server([](Peer& peer) { peer.ReadToEnd(); });
    const auto wait = [this](HINTERNET request) {
        EXPECT_EQ(ERROR_SUCCESS, Send(request));
        Reach();
        return Receive(request).code;
    };
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED,
              CancelWhileBlocked("waiting", OpenRequest(m_session, server.Port(), "GET", "/"), wait, WhenReached()));
}

TEST_F(CancelPosixTest, EndsReading) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nx");
        peer.ReadToEnd();
    });
    const auto read = [this](HINTERNET request) {
        EXPECT_EQ(ERROR_SUCCESS, Send(request));
        EXPECT_TRUE(WinHttpReceiveResponse(request, nullptr));
        char byte = 0;
        DWORD count = 0;
        EXPECT_TRUE(WinHttpReadData(request, &byte, 1, &count));
        Reach();
        return Code(WinHttpReadData(request, &byte, 1, &count));
    };
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED,
              CancelWhileBlocked("reading", OpenRequest(m_session, server.Port(), "GET", "/"), read, WhenReached()));
}

TEST_F(CancelPosixTest, EndsWaitingWithOwedBytes) {
    RawServer server([](Peer& peer) { peer.ReadToEnd(); });
    const auto wait = [this](HINTERNET request) {
        EXPECT_EQ(ERROR_SUCCESS, StartUpload(request, 3));
        Reach();
        return Receive(request).code;
    };
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED,
              CancelWhileBlocked("waiting with owed bytes", OpenRequest(m_session, server.Port(), "POST", "/"), wait,
                                 WhenReached()));
}

TEST_F(CancelPosixTest, LeavesOtherRequestsOfTheSessionAlone) {
    std::promise<void> answer;
    RawServer server([&](Peer& peer) {
        if (peer.ReadHead().starts_with("GET /answered")) {
            answer.get_future().wait();
            peer.Send(Ok("answer"));
        }
        peer.ReadToEnd();
    });
    auto other = std::async(std::launch::async,
                            [&] { return Exchange(OpenRequest(m_session, server.Port(), "GET", "/answered")).body; });
    EXPECT_EQ(ERROR_WINHTTP_OPERATION_CANCELLED,
              CancelWhileBlocked(
                  "another request waits", OpenRequest(m_session, server.Port(), "GET", "/"),
                  [](HINTERNET request) { return Exchange(request).code; }, AtTheStart));
    answer.set_value();
    EXPECT_EQ("answer", other.get());
}

TEST_F(CancelPosixTest, LeavesNoHandleBehind) {
    const std::size_t before = platform::OpenHandleCount();
    {
        const BlackHole hole;
        CancelWhileBlocked(
            "connecting, counted", OpenRequest(m_session, hole.Port(), "GET", "/"),
            [](HINTERNET request) { return Send(request); }, AtTheStart);
    }
    EXPECT_EQ(before, platform::OpenHandleCount());
}

}  // namespace
}  // namespace quillmark::test
