// Replies as servers send them: framings, heads, and what is wrong with them.
#include <gtest/gtest.h>

#include "unit/winhttp/ReplyTest.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

TEST_F(ReplyTest, BodyOfItsLength) {
    ExpectBody("hello", ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello"));
}

TEST_F(ReplyTest, EmptyBody) {
    ExpectBody("", ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"));
}

TEST_F(ReplyTest, ChunkedBodyIsJoinedAndTrailersAreNoHeaders) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n1;x=y\r\n \r\n5\r\nworld\r\n0\r\n"
            "X-Trailer: 1\r\n\r\n");
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    ExpectBody("hello world", Exchange(request));
    EXPECT_EQ("", HeaderOf(request, "X-Trailer"));
}

TEST_F(ReplyTest, BodyUpToTheEndOfTheConnection) {
    ExpectBody("until the end", ReplyOf("HTTP/1.1 200 OK\r\n\r\nuntil the end"));
    ExpectBody("old", ReplyOf("HTTP/1.0 200 OK\r\n\r\nold"));
}

TEST_F(ReplyTest, OneByteAtATime) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        for (const char c : Ok("slow but whole")) {
            peer.Send({&c, 1});
        }
        peer.ReadToEnd();
    });
    ExpectBody("slow but whole", Exchange(OpenRequest(m_session, server.Port(), "GET", "/")));
}

TEST_F(ReplyTest, BytesAfterTheLengthAreCut) {
    const Reply reply = ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello world");
    EXPECT_EQ(ERROR_SUCCESS, reply.code);
    // Wine hands out what came with it.
    EXPECT_THAT(reply.body, OrUnderWine<std::string>("hello", "hello world"));
}

TEST_F(ReplyTest, BodyShorterThanItsLengthIsALostConnection) {
    const Reply reply = ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhello");
    EXPECT_THAT(reply.code, IsLostInTheBody());
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ("hello", reply.body);
}

TEST_F(ReplyTest, ChunkedBodyWithoutItsEndIsALostConnection) {
    const Reply reply = ReplyOf("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n");
    EXPECT_THAT(reply.code, IsLostInTheBody());
    EXPECT_EQ("hello", reply.body);
}

TEST_F(ReplyTest, ResetInTheBodyIsALostConnection) {
    // Wine sees it or not, as it happens.
    EXPECT_THAT(ReplyWithReset("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhello").code,
                OrWineSays(ERROR_WINHTTP_CONNECTION_ERROR, ERROR_SUCCESS, SocketReset));
}

TEST_F(ReplyTest, EndOrResetBeforeTheHeadIsALostConnection) {
    EXPECT_THAT(ReplyOf("").code, IsConnectionError());
    EXPECT_THAT(ReplyWithReset("").code, IsConnectionError());
}

TEST_F(ReplyTest, EndInTheHeadIsAnInvalidReply) {
    EXPECT_THAT(ReplyOf("HTTP/1.1 200 OK\r\nContent-Le").code, IsInvalidReply());
    EXPECT_THAT(ReplyOf("HTTP/1.1 200 OK\r\n").code, IsInvalidReply());
}

TEST_F(ReplyTest, WhatIsNoHttpIsAnInvalidReply) {
    EXPECT_EQ(ERROR_WINHTTP_INVALID_SERVER_RESPONSE, ReplyOf("220 mail.example ESMTP\r\n\r\n").code);
    EXPECT_EQ(ERROR_WINHTTP_INVALID_SERVER_RESPONSE, ReplyOf(std::string(5000, '\xff')).code);
    EXPECT_THAT(ReplyOf("HTTP/9.9 200 OK\r\n\r\n").code, IsInvalidReply());
    EXPECT_EQ(ERROR_WINHTTP_INVALID_SERVER_RESPONSE, ReplyOf("HTTP/1.1 OK\r\n\r\n").code);
}

TEST_F(ReplyTest, ContentLengthThatIsNoNumberIsAnInvalidReply) {
    EXPECT_THAT(ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nhello").code, IsInvalidReply());
    EXPECT_THAT(ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: many\r\n\r\nhello").code, IsInvalidReply());
}

TEST_F(ReplyTest, RepliesWithoutBodyEndAtTheirHead) {
    // The connection stays open, so that waiting for a body would not end.
    const std::pair<const char*, const char*> cases[] = {
        {"GET", "HTTP/1.1 204 No Content\r\n\r\n"},
        {"GET", "HTTP/1.1 304 Not Modified\r\nContent-Length: 100\r\n\r\n"},
        {"HEAD", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n"}};
    for (const auto& [verb, bytes] : cases) {
        RawServer server([bytes = bytes](Peer& peer) {
            while (!peer.ReadHead().empty()) {
                peer.Send(bytes);
            }
        });
        for (int i = 0; i < 2; ++i) {
            const Reply reply = Exchange(OpenRequest(m_session, server.Port(), verb, "/"));
            EXPECT_EQ(ERROR_SUCCESS, reply.code) << bytes;
            EXPECT_EQ("", reply.body) << bytes;
        }
        // Wine keeps a connection only when a body was read from it.
        EXPECT_THAT(server.Connections(), OrUnderWine(1, 2)) << bytes;
    }
}

TEST_F(ReplyTest, ErrorStatusIsASuccessOfTheTransport) {
    const Reply reply = ReplyOf("HTTP/1.1 500 Internal Server Error\r\nContent-Length: 2\r\n\r\nno");
    EXPECT_EQ(ERROR_SUCCESS, reply.code);
    EXPECT_EQ(500, reply.status);
    EXPECT_EQ("no", reply.body);
}

TEST_F(ReplyTest, LargeBodyArrivesInRoundsOfAtMostOneMebibyte) {
    const std::string body(8 * 1024 * 1024 + 3, 'b');
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok(body));
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, Send(request));
    ASSERT_TRUE(WinHttpReceiveResponse(request, nullptr));
    std::size_t total = 0;
    std::string buffer(1024 * 1024, '\0');
    for (DWORD available = 1; available != 0;) {
        ASSERT_TRUE(WinHttpQueryDataAvailable(request, &available));
        ASSERT_LE(available, 1024u * 1024u);
        DWORD read = 0;
        ASSERT_TRUE(WinHttpReadData(request, buffer.data(), available, &read));
        // What was said to be there is there.
        ASSERT_EQ(available, read);
        total += read;
    }
    EXPECT_EQ(body.size(), total);
}

TEST_F(ReplyTest, LargeReplyDuringAnUploadIsHeldBackAndThenReadWhole) {
    const std::string body(4 * 1024 * 1024, 'b');
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        static_cast<void>(peer.Read(2 * 1024 * 1024));
        peer.Send(Ok(body));
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 2 * 1024 * 1024));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, std::string(2 * 1024 * 1024, 'u')));
    EXPECT_TRUE(Receive(request).body == body);
}

TEST_F(ReplyTest, ReadsOfAnySizeAddUp) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok("0123456789"));
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, Send(request));
    ASSERT_TRUE(WinHttpReceiveResponse(request, nullptr));
    std::string body;
    char buffer[3];
    DWORD read = 0;
    do {
        ASSERT_TRUE(WinHttpReadData(request, buffer, sizeof(buffer), &read));
        body.append(buffer, read);
    } while (read != 0);
    EXPECT_EQ("0123456789", body);
    // The end stays the end.
    EXPECT_TRUE(WinHttpReadData(request, buffer, sizeof(buffer), &read));
    EXPECT_EQ(0u, read);
    DWORD available = 99;
    EXPECT_TRUE(WinHttpQueryDataAvailable(request, &available));
    EXPECT_EQ(0u, available);
}

TEST_F(ReplyTest, SameHandleCanBeSentAgainAfterItsReply) {
    RawServer server([](Peer& peer) {
        for (std::string head; !(head = peer.ReadHead()).empty();) {
            peer.Send(Ok(head.find("X-Second") == std::string::npos ? "first" : "second"));
        }
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    EXPECT_EQ("first", Exchange(request).body);
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "X-Second: 1"));
    EXPECT_EQ("second", Exchange(request).body);
    EXPECT_EQ(1, server.Connections());
}

// ---- Where there is no server ----

TEST_F(ReplyTest, NobodyListens) {
    EXPECT_EQ(ERROR_WINHTTP_CANNOT_CONNECT, Send(OpenRequest(m_session, UnusedPort(), "GET", "/")));
}

TEST_F(ReplyTest, NameThatDoesNotExist) {
    EXPECT_EQ(ERROR_WINHTTP_NAME_NOT_RESOLVED, Send(OpenRequest(m_session, 80, "GET", "/", 0, "no-such-host.invalid")));
}

TEST_F(ReplyTest, FailedSendCanBeRepeatedByTheCaller) {
    const ScopedHandle request = OpenRequest(m_session, UnusedPort(), "GET", "/");
    EXPECT_EQ(ERROR_WINHTTP_CANNOT_CONNECT, Send(request));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_STATE, Code(WinHttpReceiveResponse(request, nullptr)));
    EXPECT_EQ(ERROR_WINHTTP_CANNOT_CONNECT, Send(request));
}

TEST_F(ReplyTest, NamedProxyGetsTheWholeUrl) {
    RawServer proxy([](Peer& peer) {
        const std::string head = peer.ReadHead();
        peer.Send(Ok(head));
    });
    const WideText name = Wide("127.0.0.1:" + std::to_string(proxy.Port()));
    m_session =
        ScopedHandle(WinHttpOpen(nullptr, WINHTTP_ACCESS_TYPE_NAMED_PROXY, name.c_str(), QM_W("other;third"), 0));
    const std::string head = Exchange(OpenRequest(m_session, 80, "GET", "/x", 0, "server.invalid")).body;
    // Wine names the port that need not be named.
    EXPECT_THAT(head.substr(0, head.find('\r')), OrUnderWine<std::string>("GET http://server.invalid/x HTTP/1.1",
                                                                          "GET http://server.invalid:80/x HTTP/1.1"));
    EXPECT_EQ("\r\nHost: server.invalid\r\nConnection: Keep-Alive\r\n\r\n", head.substr(head.find('\r')));
}

}  // namespace
}  // namespace quillmark::test
