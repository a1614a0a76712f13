// Streamed bodies: announced lengths, owed bytes and replies that come early.
#include <gtest/gtest.h>

#include <future>

#include "unit/winhttp/UploadTest.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

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

// Windows' service never pays: what follows the short body on its kept connection is the next request.
auto OrNextRequest(const std::string& paid, const std::string& beginning) {
    return OrUnderWine(paid, beginning);
}

TEST_F(UploadTest, BodyOfTheAnnouncedLengthOwesNothing) {
    const Settled settled = UploadWithDebt(0);
    EXPECT_EQ("", settled.owedBytes);
    EXPECT_EQ(1, settled.connections);
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, TwoOwedBytesArePaidAfterTheHeadAndTheConnectionIsKept) {
    const Settled settled = UploadWithDebt(2);
    EXPECT_THAT(settled.owedBytes, OrNextRequest("\r\n", "GE"));
    EXPECT_EQ(1, settled.connections);
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, ThreeOwedBytesArePaidAfterTheHeadAndTheConnectionIsKept) {
    const Settled settled = UploadWithDebt(3);
    EXPECT_THAT(settled.owedBytes, OrNextRequest("\r\n\n", "GET"));
    EXPECT_EQ(1, settled.connections);
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, FourOwedBytesCostTheConnection) {
    const Settled settled = UploadWithDebt(4);
    EXPECT_THAT(settled.owedBytes, OrNextRequest("", "GET "));
    EXPECT_THAT(settled.connections, OrUnderWine(2, 1));
    EXPECT_EQ(200, settled.secondStatus);
}

TEST_F(UploadTest, FourOwedBytesAfterAnErrorStatusCostTheConnection) {
    const Settled settled = UploadWithDebt(4, "HTTP/1.1 409 Conflict\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_THAT(settled.owedBytes, OrNextRequest("", "GET "));
    EXPECT_THAT(settled.connections, OrUnderWine(2, 1));
}

TEST_F(UploadTest, OwedBytesAreNotPaidToAServerThatCloses) {
    const Settled settled = UploadWithDebt(2, "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_EQ("", settled.owedBytes);
    EXPECT_EQ(2, settled.connections);
}

TEST_F(UploadTest, OwedBytesArePaidAfterAConflictAndTheConnectionIsKept) {
    const Settled settled = UploadWithDebt(3, "HTTP/1.1 409 Conflict\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_THAT(settled.owedBytes, OrNextRequest("\r\n\n", "GET"));
    EXPECT_EQ(1, settled.connections);
}

TEST_F(UploadTest, OwedBytesArePaidWhenTheReplyIsChunked) {
    const Settled settled =
        UploadWithDebt(2, "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n\r\n");
    EXPECT_THAT(settled.owedBytes, OrNextRequest("\r\n", "GE"));
    EXPECT_EQ(1, settled.connections);
}

TEST_F(UploadTest, FourOwedBytesAreNeverPaid) {
    std::promise<std::string> seen;
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        seen.set_value(peer.ReadToEnd());
    });
    {
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
        ASSERT_EQ(ERROR_SUCCESS, SetReceiveTimeout(request, 1300));
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 104));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, Body(100)));
        EXPECT_THAT(Receive(request).code, IsTimeout());
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
    EXPECT_THAT(code, IsConnectionError());
    EXPECT_THAT(Receive(request).code, IsConnectionError());
    EXPECT_EQ(1, server.Connections());
}

}  // namespace
}  // namespace quillmark::test
