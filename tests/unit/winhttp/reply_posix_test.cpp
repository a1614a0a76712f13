// Replies that Wine 8 reads otherwise than WinHTTP documents: it has no limit for heads, knows one interim status
// alone, and takes what follows a body for the next reply, or waits for one.
#include <gtest/gtest.h>

#include "unit/winhttp/ReplyTest.h"

namespace quillmark::test {
namespace {

class ReplyPosixTest : public ReplyTest {};

TEST_F(ReplyPosixTest, ConnectionWithBytesAfterTheLengthCarriesNoOtherRequest) {
    RawServer server([](Peer& peer) {
        while (!peer.ReadHead().empty()) {
            peer.Send(
                "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhelloHTTP/1.1 500 Planted\r\nContent-Length: 0\r\n\r\n");
        }
    });
    for (int i = 0; i < 2; ++i) {
        ExpectBody("hello", Exchange(OpenRequest(m_session, server.Port(), "GET", "/")));
    }
    EXPECT_EQ(2, server.Connections());
}

TEST_F(ReplyPosixTest, InterimHeadsAreSkipped) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 100 Continue\r\nX-Interim: 1\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" +
                  Ok("final"));
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/");
    ExpectBody("final", Exchange(request, "a=b"));
    EXPECT_EQ("", HeaderOf(request, "X-Interim"));
    EXPECT_EQ("", HeaderOf(request, "Link"));
}

TEST_F(ReplyPosixTest, HeadOverTheLimitIsRefused) {
    std::string head = "HTTP/1.1 200 OK\r\n";
    while (head.size() < 66'000) {
        head += "X-Line: " + std::string(100, 'x') + "\r\n";
    }
    EXPECT_EQ(ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, ReplyOf(head + "\r\n").code);
}

// Sends the bytes again and again until the client closes.
DWORD CodeOfEndless(HINTERNET session, const std::string& beginning, const std::string& more) {
    RawServer server([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(beginning);
        while (peer.Send(more)) {
        }
    });
    return Exchange(OpenRequest(session, server.Port(), "GET", "/")).code;
}

TEST_F(ReplyPosixTest, EndlessHeadsAreRefused) {
    const std::string block(1000, 'x');
    EXPECT_EQ(ERROR_WINHTTP_HEADER_SIZE_OVERFLOW,
              CodeOfEndless(m_session, "HTTP/1.1 200 OK\r\n", "X-Line: " + block + "\r\n"));
    EXPECT_EQ(ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, CodeOfEndless(m_session, "HTTP/1.1 200 OK\r\nX-Line: ", block));
    EXPECT_EQ(ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, CodeOfEndless(m_session, "", "HTTP/1.1 100 Continue\r\n\r\n"));
}

TEST_F(ReplyPosixTest, LimitOfTheHeadCanBeSet) {
    DWORD limit = 40;
    ASSERT_TRUE(WinHttpSetOption(m_session, WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE, &limit, sizeof(limit)));
    EXPECT_EQ(ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: 00002\r\n\r\nok").code);
    EXPECT_EQ("ok", ReplyOf("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok").body);
}

}  // namespace
}  // namespace quillmark::test
