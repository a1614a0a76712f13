// What our own service does for uploads beyond Windows': owed bytes for servers that wait for them, early replies that
// reach the caller whatever becomes of the connection, and lengths that are checked. Wine 8 waits for ever for a server
// that waits for owed bytes, reports the lost connection in the place of an early reply, and checks no length.
#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "unit/winhttp/UploadTest.h"

namespace quillmark::test {
namespace {

class UploadPosixTest : public UploadTest {};

TEST_F(UploadPosixTest, WritePastTheTotalFailsAndIsNotSent) {
    std::promise<std::string> rest;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok(peer.Read(4)));
        rest.set_value(peer.ReadToEnd());
    });
    {
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 4));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, "abc"));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, Write(request, "de"));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, "d"));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, Write(request, "e"));
        EXPECT_EQ("abcd", Receive(request).body);
    }
    m_session.Close();
    EXPECT_EQ("", rest.get_future().get());
}

TEST_F(UploadPosixTest, OptionalDataLongerThanTheTotalIsRefused) {
    const ScopedHandle request = OpenRequest(m_session, UnusedPort(), "POST", "/up");
    char data[] = "12345";
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpSendRequest(request, nullptr, 0, data, 5, 4, 0)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpSendRequest(request, nullptr, 0, nullptr, 5, 5, 0)));
}

TEST_F(UploadPosixTest, ContentLengthThatIsNoNumberIsRefused) {
    for (const char* text : {"Content-Length: ten", "Content-Length: -1", "Content-Length: 18446744073709551616",
                             "Content-Length: 9223372036854775808"}) {
        const ScopedHandle request = OpenRequest(m_session, UnusedPort(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, text));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, Send(request)) << text;
    }
}

TEST_F(UploadPosixTest, SilentServerIsPaidAfterASecondAndAtOnceFromThenOn) {
    std::string paid;
    RawServer server([&](Peer& peer) {
        while (!peer.ReadHead().empty()) {
            // Takes Content-Length at its word.
            paid += peer.Read(102).substr(100);
            peer.Send(Ok("done"));
        }
    });
    long milliseconds[2] = {};
    for (long& elapsed : milliseconds) {
        const Stopwatch stopwatch;
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 102));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, Body(100)));
        EXPECT_EQ("done", Receive(request).body);
        elapsed = stopwatch.Milliseconds();
    }
    EXPECT_EQ("\r\n\r\n", paid);
    EXPECT_EQ(1, server.Connections());
    EXPECT_GE(milliseconds[0], 1000);
    EXPECT_LT(milliseconds[0], 1500);
    EXPECT_LT(milliseconds[1], 500);
}

TEST_F(UploadPosixTest, ServerThatClosesBehindAnEarlyReplyIsPaidBeforeItFromThenOn) {
    // It promises to keep the connection and closes it, unless all announced bytes came before its reply.
    std::atomic<int> seen{0};
    RawServer server([&](Peer& peer) {
        for (bool whole = true; whole && !peer.ReadHead().empty();) {
            ++seen;
            whole = peer.Number() != 0;
            static_cast<void>(peer.Read(whole ? 102 : 100));
            peer.Send(Ok("done"));
        }
    });
    for (int i = 0; i < 4; ++i) {
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 102));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, Body(100)));
        const Stopwatch stopwatch;
        EXPECT_EQ("done", Receive(request).body) << i;
        EXPECT_LT(stopwatch.Milliseconds(), 500) << i;
    }
    EXPECT_EQ(4, seen);
    EXPECT_EQ(2, server.Connections());
}

TEST_F(UploadPosixTest, EarlyReplyOfAServerThatReadsNoMoreReachesTheCaller) {
    // It neither reads nor closes: with the connection's buffers full nothing can be sent any more.
    std::promise<void> over;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 401 Unauthorized\r\nContent-Length: 4\r\n\r\nstop");
        over.get_future().wait();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 64ULL * 1024 * 1024));
    const std::string chunk = Body(1024 * 1024);
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(ERROR_SUCCESS, Write(request, chunk));
    }
    const Reply reply = Receive(request);
    over.set_value();
    EXPECT_EQ(ERROR_SUCCESS, reply.code);
    EXPECT_EQ(401, reply.status);
    EXPECT_EQ("stop", reply.body);
}

TEST_F(UploadPosixTest, EarlyReplyOfAServerThatClosesReachesTheCaller) {
    for (int round = 0; round < 20; ++round) {
        RawServer server([](Peer& peer) {
            static_cast<void>(peer.ReadHead());
            peer.Send("HTTP/1.1 401 Unauthorized\r\nConnection: close\r\nContent-Length: 4\r\n\r\nstop");
            static_cast<void>(peer.Read(100'000));
        });
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 16ULL * 1024 * 1024));
        const std::string chunk = Body(16384);
        for (int i = 0; i < 1024; ++i) {
            ASSERT_EQ(ERROR_SUCCESS, Write(request, chunk)) << i;
        }
        const Reply reply = Receive(request);
        EXPECT_EQ(ERROR_SUCCESS, reply.code);
        EXPECT_EQ(401, reply.status);
        EXPECT_EQ("stop", reply.body);
    }
}

}  // namespace
}  // namespace quillmark::test
