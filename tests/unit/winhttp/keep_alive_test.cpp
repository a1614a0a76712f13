// Connections that are kept for the next request, and requests that are never sent twice.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

class KeepAliveTest : public testing::Test {
protected:
    ScopedHandle m_session = OpenSession();
};

// Answers each request with its body's first 20 bytes; every other upload with 409. A body is what is announced less
// the two bytes that its sender owes, which are taken as the line break that they are paid with. Windows' service never
// pays them: there the next request follows at once.
void ServeUploads(Peer& peer) {
    std::string_view owed;
    for (int number = 0;; ++number) {
        std::string head = peer.ReadHead();
        if (head.starts_with(owed)) {
            head.erase(0, owed.size());
        } else {
            EXPECT_TRUE(UnderWine()) << head;
        }
        if (head.empty()) {
            return;
        }
        const std::size_t at = head.find("Content-Length: ");
        const std::size_t announced = at == std::string::npos ? 0 : std::stoul(head.substr(at + 16));
        const std::string body = peer.Read(announced < 2 ? 0 : announced - 2);
        const char* status = number % 4 == 1 ? "409 Conflict" : "200 OK";
        peer.Send("HTTP/1.1 " + std::string(status) + "\r\nContent-Length: 20\r\n\r\n" +
                  (body + std::string(20, '.')).substr(0, 20));
        owed = announced >= 2 ? "\r\n" : "";
    }
}

TEST_F(KeepAliveTest, FiftyRequestsUseOneConnection) {
    RawServer server(ServeUploads);
    for (int i = 0; i < 50; ++i) {
        if (i % 2 == 0) {
            EXPECT_EQ("....................", Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).body);
            continue;
        }
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 70'002));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, std::string(70'000, 'x')));
        const Reply reply = Receive(request);
        EXPECT_EQ(i % 4 == 1 ? 409 : 200, reply.status) << i;
        EXPECT_EQ("xxxxxxxxxxxxxxxxxxxx", reply.body);
    }
    EXPECT_EQ(1, server.Connections());
}

TEST_F(KeepAliveTest, UnreadReplyThatHasArrivedKeepsTheConnection) {
    RawServer server([](Peer& peer) {
        while (!peer.ReadHead().empty()) {
            peer.Send("HTTP/1.1 404 Not Found\r\nContent-Length: 7\r\n\r\nnothing");
        }
    });
    for (int i = 0; i < 3; ++i) {
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
        ASSERT_EQ(ERROR_SUCCESS, Send(request));
        ASSERT_TRUE(WinHttpReceiveResponse(request, nullptr));
    }
    // Wine keeps a connection only when its reply was read.
    EXPECT_THAT(server.Connections(), OrUnderWine(1, 3));
}

TEST_F(KeepAliveTest, UnreadReplyThatIsStillComingClosesTheConnection) {
    RawServer server([](Peer& peer) {
        while (!peer.ReadHead().empty()) {
            if (peer.Number() != 0) {
                peer.Send(Ok());
            } else {
                peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nfirst");
            }
        }
    });
    {
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
        ASSERT_EQ(ERROR_SUCCESS, Send(request));
        ASSERT_TRUE(WinHttpReceiveResponse(request, nullptr));
    }
    EXPECT_EQ(200, Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status);
    EXPECT_EQ(2, server.Connections());
}

TEST_F(KeepAliveTest, SessionsShareNoConnection) {
    RawServer server([](Peer& peer) {
        while (!peer.ReadHead().empty()) {
            peer.Send(Ok());
        }
    });
    const ScopedHandle other = OpenSession();
    EXPECT_EQ(200, Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status);
    EXPECT_EQ(200, Exchange(OpenRequest(other, server.Port(), "GET", "/")).status);
    EXPECT_EQ(2, server.Connections());
}

TEST_F(KeepAliveTest, ClosingTheSessionClosesItsIdleConnections) {
    std::promise<void> closed;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok());
        peer.ReadToEnd();
        closed.set_value();
    });
    EXPECT_EQ(200, Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status);
    m_session.Close();
    EXPECT_EQ(std::future_status::ready, closed.get_future().wait_for(std::chrono::seconds(10)));
}

TEST_F(KeepAliveTest, RequestOutlivesItsSession) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok("late"));
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    m_session.Close();
    EXPECT_EQ("late", Exchange(request).body);
}

TEST_F(KeepAliveTest, ConnectionThatTheServerClosedMeanwhileIsReplacedBeforeSending) {
    std::promise<void> closed;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok());
        if (peer.Number() == 0) {
            peer.Abort();
            closed.set_value();
        }
        peer.ReadToEnd();
    });
    EXPECT_EQ(200, Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status);
    closed.get_future().wait();
    EXPECT_EQ(200, Exchange(OpenRequest(m_session, server.Port(), "POST", "/"), "body").status);
    EXPECT_EQ(2, server.Connections());
}

// A server whose kept connection dies after the second request went out and before its reply.
class LostReplyTest : public KeepAliveTest, public testing::WithParamInterface<bool> {
protected:
    void Serve(Peer& peer) {
        static_cast<void>(peer.ReadHead());
        // With a body, so that Wine keeps the connection too.
        peer.Send(Ok("x"));
        if (!peer.ReadHead().empty()) {
            ++m_seen;
        }
        if (GetParam()) {
            peer.Reset();
        }
    }

    std::atomic<int> m_seen{0};
    RawServer m_server{[this](Peer& peer) { Serve(peer); }};
};

TEST_P(LostReplyTest, PostIsSeenOnce) {
    ASSERT_EQ(200, Exchange(OpenRequest(m_session, m_server.Port(), "GET", "/")).status);
    EXPECT_THAT(Exchange(OpenRequest(m_session, m_server.Port(), "POST", "/"), "a=b").code, IsConnectionError());
    EXPECT_EQ(1, m_seen);
    EXPECT_EQ(1, m_server.Connections());
}

TEST_P(LostReplyTest, DeleteIsSeenOnce) {
    ASSERT_EQ(200, Exchange(OpenRequest(m_session, m_server.Port(), "GET", "/")).status);
    EXPECT_THAT(Exchange(OpenRequest(m_session, m_server.Port(), "DELETE", "/")).code, IsConnectionError());
    EXPECT_EQ(1, m_seen);
    EXPECT_EQ(1, m_server.Connections());
}

TEST_P(LostReplyTest, GetIsSeenOnce) {
    ASSERT_EQ(200, Exchange(OpenRequest(m_session, m_server.Port(), "GET", "/")).status);
    EXPECT_THAT(Exchange(OpenRequest(m_session, m_server.Port(), "GET", "/")).code, IsConnectionError());
    EXPECT_EQ(1, m_seen);
    EXPECT_EQ(1, m_server.Connections());
}

TEST_P(LostReplyTest, StreamedBodyIsSeenOnce) {
    ASSERT_EQ(200, Exchange(OpenRequest(m_session, m_server.Port(), "GET", "/")).status);
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 300'000));
    DWORD code = Write(request, std::string(300'000, 'x'));
    if (code == ERROR_SUCCESS) {
        code = Receive(request).code;
    }
    EXPECT_THAT(code, IsConnectionError());
    EXPECT_EQ(1, m_seen);
    EXPECT_EQ(1, m_server.Connections());
}

INSTANTIATE_TEST_SUITE_P(EndAndReset, LostReplyTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "Reset" : "EndOfStream"; });

TEST_F(KeepAliveTest, SmallRequestsOnAKeptConnectionTakeWellUnderAMillisecond) {
    RawServer server([](Peer& peer) {
        while (!peer.ReadHead().empty()) {
            peer.Send(Ok("{}"));
        }
    });
    ASSERT_EQ(200, Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status);
    constexpr int RequestCount = 500;
    const Stopwatch stopwatch;
    for (int i = 0; i < RequestCount; ++i) {
        ASSERT_EQ("{}", Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).body);
    }
    const double each = static_cast<double>(stopwatch.Milliseconds()) / RequestCount;
    RecordProperty("milliseconds_per_request", std::to_string(each));
    std::printf("%d requests, %.3f ms each\n", RequestCount, each);
    // Far more than it takes, far less than a delayed acknowledgement.
    // Wine takes longer for everything.
    EXPECT_LT(each, UnderWine() ? 35.0 : 10.0);
}

TEST_F(KeepAliveTest, SixteenThreadsShareASession) {
    RawServer server(ServeUploads);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 20; ++round) {
                const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
                const std::string body(20, static_cast<char>('a' + i));
                const bool same = StartUpload(request, 22) == ERROR_SUCCESS && Write(request, body) == ERROR_SUCCESS &&
                                  Receive(request).body == body;
                failures += same ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, failures);
    EXPECT_LE(server.Connections(), 16);
}

}  // namespace
}  // namespace quillmark::test
