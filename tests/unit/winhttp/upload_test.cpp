// Streamed bodies: announced lengths, owed bytes and replies that come early.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {
namespace {

std::string Body(std::size_t size) {
    std::string body(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        body[i] = static_cast<char>('a' + i % 26);
    }
    return body;
}

// A server that answers as soon as `needed` bytes of a body are there and then expects `owed` more bytes before the
// next request; it tells what these were.
struct Settled {
    int connections = 0;
    std::string owedBytes;
    int secondStatus = 0;
};

class UploadTest : public testing::Test {
protected:
    // Uploads a body of 100 bytes that was announced with so many more, then makes a second request.
    Settled UploadWithDebt(std::size_t owed, std::string replyHead = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok") {
        std::promise<std::string> paid;
        std::future<std::string> settled = paid.get_future();
        RawServer server([&](Peer& peer) {
            if (peer.Number() == 0) {
                static_cast<void>(peer.ReadHead());
                static_cast<void>(peer.Read(100));
                peer.Send(replyHead);
                paid.set_value(peer.Read(owed));
            }
            while (!peer.ReadHead().empty()) {
                peer.Send(Ok());
            }
        });
        Settled result;
        {
            const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
            EXPECT_EQ(ERROR_SUCCESS, StartUpload(request, 100 + owed));
            EXPECT_EQ(ERROR_SUCCESS, Write(request, Body(100)));
            const Reply reply = Receive(request);
            EXPECT_EQ(ERROR_SUCCESS, reply.code);
            EXPECT_EQ("ok", reply.body);
        }
        result.secondStatus = Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status;
        // The server's thread may see the end of the first connection after the second one was answered.
        const bool inTime = settled.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
        EXPECT_TRUE(inTime);
        result.owedBytes = inTime ? settled.get() : "";
        result.connections = server.Connections();
        return result;
    }

    ScopedHandle m_session = OpenSession();
};

TEST_F(UploadTest, WholeBodyArrivesInOrder) {
    const std::string body = Body(3 * 1024 * 1024 + 17);
    std::string received;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        received = peer.Read(body.size());
        peer.Send(Ok());
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, body.size()));
    for (std::size_t at = 0; at < body.size(); at += 16384) {
        ASSERT_EQ(ERROR_SUCCESS, Write(request, std::string_view(body).substr(at, 16384)));
    }
    EXPECT_EQ(200, Receive(request).status);
    EXPECT_TRUE(received == body);
}

TEST_F(UploadTest, OptionalDataIsTheBeginningOfTheBody) {
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok(peer.Read(10)));
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    char beginning[] = "01234";
    ASSERT_TRUE(WinHttpSendRequest(request, nullptr, 0, beginning, 5, 10, 0));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "567"));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "89"));
    EXPECT_EQ("0123456789", Receive(request).body);
}

TEST_F(UploadTest, OneWriteLargerThanWhatIsGatheredGoesOutWhole) {
    const std::string body = Body(700'001);
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok(peer.Read(body.size()) == body ? "same" : "different"));
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, body.size()));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, body));
    EXPECT_EQ("same", Receive(request).body);
}

TEST_F(UploadTest, LengthOf5GiBIsAnnouncedByTheHeader) {
    std::promise<std::string> head;
    RawServer server([&](Peer& peer) {
        head.set_value(peer.ReadHead());
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 5368709120ULL));
    EXPECT_NE(std::string::npos, head.get_future().get().find("\r\nContent-Length: 5368709120\r\n"));
}

TEST_F(UploadTest, HeaderWinsOverTheTotalOfTheCall) {
    std::promise<std::string> head;
    RawServer server([&](Peer& peer) {
        head.set_value(peer.ReadHead());
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    // 2^32 + 5 truncated to 32 bits.
    ASSERT_TRUE(
        WinHttpSendRequest(request, QM_W("Content-Length: 4294967301\r\n"), static_cast<DWORD>(-1), nullptr, 0, 5, 0));
    EXPECT_NE(std::string::npos, head.get_future().get().find("\r\nContent-Length: 4294967301\r\n"));
}

TEST_F(UploadTest, WritePastTheTotalFailsAndIsNotSent) {
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

TEST_F(UploadTest, OptionalDataLongerThanTheTotalIsRefused) {
    const ScopedHandle request = OpenRequest(m_session, UnusedPort(), "POST", "/up");
    char data[] = "12345";
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpSendRequest(request, nullptr, 0, data, 5, 4, 0)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpSendRequest(request, nullptr, 0, nullptr, 5, 5, 0)));
}

TEST_F(UploadTest, ContentLengthThatIsNoNumberIsRefused) {
    for (const char* text : {"Content-Length: ten", "Content-Length: -1", "Content-Length: 18446744073709551616",
                             "Content-Length: 9223372036854775808"}) {
        const ScopedHandle request = OpenRequest(m_session, UnusedPort(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, text));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, Send(request)) << text;
    }
}

TEST_F(UploadTest, EmptyWriteChangesNothing) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok(peer.Read(2)));
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 2));
    DWORD written = 99;
    EXPECT_TRUE(WinHttpWriteData(request, nullptr, 0, &written));
    EXPECT_EQ(0u, written);
    EXPECT_TRUE(WinHttpWriteData(request, "ab", 2, nullptr));
    EXPECT_EQ("ab", Receive(request).body);
}

TEST_F(UploadTest, BodyOfTheAnnouncedLengthOwesNothing) {
    const Settled settled = UploadWithDebt(0);
    EXPECT_EQ("", settled.owedBytes);
    EXPECT_EQ(1, settled.connections);
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, TwoOwedBytesArePaidAfterTheHeadAndTheConnectionIsKept) {
    const Settled settled = UploadWithDebt(2);
    EXPECT_EQ("\r\n", settled.owedBytes);
    EXPECT_EQ(1, settled.connections);
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, ThreeOwedBytesArePaidAfterTheHeadAndTheConnectionIsKept) {
    const Settled settled = UploadWithDebt(3);
    EXPECT_EQ("\r\n\n", settled.owedBytes);
    EXPECT_EQ(1, settled.connections);
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, FourOwedBytesCostTheConnection) {
    const Settled settled = UploadWithDebt(4);
    EXPECT_EQ("", settled.owedBytes);
    EXPECT_EQ(2, settled.connections);
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, FourOwedBytesAfterAnErrorStatusCostTheConnection) {
    const Settled settled = UploadWithDebt(4, "HTTP/1.1 409 Conflict\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_EQ("", settled.owedBytes);
    EXPECT_EQ(2, settled.connections);
}

TEST_F(UploadTest, OwedBytesAreNotPaidToAServerThatCloses) {
    const Settled settled = UploadWithDebt(2, "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_EQ("", settled.owedBytes);
    EXPECT_EQ(2, settled.connections);
}

TEST_F(UploadTest, OwedBytesArePaidAfterAConflictAndTheConnectionIsKept) {
    const Settled settled = UploadWithDebt(3, "HTTP/1.1 409 Conflict\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_EQ("\r\n\n", settled.owedBytes);
    EXPECT_EQ(1, settled.connections);
}

TEST_F(UploadTest, OwedBytesArePaidWhenTheReplyIsChunked) {
    const Settled settled =
        UploadWithDebt(2, "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n\r\n");
    EXPECT_EQ("\r\n", settled.owedBytes);
    EXPECT_EQ(1, settled.connections);
}

TEST_F(UploadTest, SilentServerIsPaidAfterASecondAndAtOnceFromThenOn) {
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

TEST_F(UploadTest, ServerThatClosesBehindAnEarlyReplyIsPaidBeforeItFromThenOn) {
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

TEST_F(UploadTest, FourOwedBytesAreNeverPaid) {
    std::promise<std::string> seen;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        seen.set_value(peer.ReadToEnd());
    });
    {
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
        ASSERT_TRUE(WinHttpSetTimeouts(request, 0, 0, 0, 1300));
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 104));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, Body(100)));
        EXPECT_EQ(ERROR_WINHTTP_TIMEOUT, Receive(request).code);
    }
    EXPECT_EQ(Body(100), seen.get_future().get());
}

TEST_F(UploadTest, EarlyConflictReachesTheCallerAndLaterWritesAreDiscarded) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        static_cast<void>(peer.Read(1000));
        peer.Send("HTTP/1.1 409 Conflict\r\nContent-Length: 5\r\n\r\nearly");
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    const std::uint64_t total = 64ULL * 1024 * 1024;
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, total));
    const std::string chunk = Body(16384);
    for (std::uint64_t sent = 0; sent < total; sent += chunk.size()) {
        ASSERT_EQ(ERROR_SUCCESS, Write(request, chunk));
    }
    const Reply reply = Receive(request);
    EXPECT_EQ(ERROR_SUCCESS, reply.code);
    EXPECT_EQ(409, reply.status);
    EXPECT_EQ("early", reply.body);
}

TEST_F(UploadTest, EarlyReplyOfAServerThatReadsNoMoreReachesTheCaller) {
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

TEST_F(UploadTest, EarlyReplyOfAServerThatClosesReachesTheCaller) {
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

TEST_F(UploadTest, LostConnectionWithoutAReplyFailsTheWriteThatMeetsIt) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Reset();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 64ULL * 1024 * 1024));
    const std::string chunk = Body(256 * 1024);
    DWORD code = ERROR_SUCCESS;
    for (int i = 0; i < 256 && code == ERROR_SUCCESS; ++i) {
        code = Write(request, chunk);
    }
    EXPECT_EQ(ERROR_WINHTTP_CONNECTION_ERROR, code);
    EXPECT_EQ(ERROR_WINHTTP_CONNECTION_ERROR, Receive(request).code);
    EXPECT_EQ(1, server.Connections());
}

}  // namespace
}  // namespace quillmark::test
