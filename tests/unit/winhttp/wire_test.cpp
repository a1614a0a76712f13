// What goes on the wire, byte for byte.
#include <gtest/gtest.h>

#include <future>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {
namespace {

// Answers every request with 200 and keeps the heads.
class WireTest : public testing::Test {
protected:
    // Sends the request and returns its head as the server got it, with "HOST" for the server's address.
    std::string HeadOf(HINTERNET request, std::string_view body = {}) {
        const Reply reply = Exchange(request, body);
        EXPECT_EQ(ERROR_SUCCESS, reply.code);
        EXPECT_EQ(200, reply.status);
        std::string head = m_head.get_future().get();
        const std::string address = "127.0.0.1:" + std::to_string(m_server.Port());
        const std::size_t at = head.find(address);
        return at == std::string::npos ? head : head.replace(at, address.size(), "HOST");
    }

    std::promise<std::string> m_head;
    RawServer m_server{[this](Peer& peer) {
        m_head.set_value(peer.ReadHead());
        peer.Send(Ok());
        peer.ReadToEnd();
    }};
    ScopedHandle m_session = OpenSession();
};

TEST_F(WireTest, GetSendsNothingThatWasNotAskedFor) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/a/b?c=d&e=%20");
    EXPECT_EQ("GET /a/b?c=d&e=%20 HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, ObjectWithoutLeadingSlashGetsOne) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "folders/x");
    EXPECT_EQ("GET /folders/x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, EmptyObjectIsTheRoot) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "");
    EXPECT_EQ("GET / HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, ObjectGoesOutAsItIsGiven) {
    const ScopedHandle request =
        OpenRequest(m_session, m_server.Port(), "GET", "/a/./../%2f%C3%a4//b;c='~\"<>[]{}?x=?/..");
    EXPECT_EQ("GET /a/./../%2f%C3%a4//b;c='~\"<>[]{}?x=?/.. HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n",
              HeadOf(request));
}

TEST_F(WireTest, FormGoesOutWithItsLengthAndTypeOnly) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/sessions");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "Content-Type: application/x-www-form-urlencoded; charset=UTF-8"));
    EXPECT_EQ(
        "POST /sessions HTTP/1.1\r\nHost: HOST\r\nContent-Type: application/x-www-form-urlencoded; charset=UTF-8\r\n"
        "Connection: Keep-Alive\r\nContent-Length: 7\r\n\r\n",
        HeadOf(request, "a=1&b=2"));
}

TEST_F(WireTest, PostWithoutBodyAnnouncesZeroBytes) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/x");
    EXPECT_EQ("POST /x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\nContent-Length: 0\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, DeleteWithoutBodyAnnouncesZeroBytes) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "DELETE", "/x");
    EXPECT_EQ("DELETE /x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\nContent-Length: 0\r\n\r\n",
              HeadOf(request));
}

TEST_F(WireTest, HeadHasNoLength) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "HEAD", "/x");
    EXPECT_EQ("HEAD /x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, ContentTypeThatEndsInABareLineFeedIsACleanHeader) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/x");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "Content-Type: multipart/form-data; boundary=\"QM\"\n"));
    EXPECT_EQ(
        "POST /x HTTP/1.1\r\nHost: HOST\r\nContent-Type: multipart/form-data; boundary=\"QM\"\r\n"
        "Connection: Keep-Alive\r\nContent-Length: 0\r\n\r\n",
        HeadOf(request));
}

TEST_F(WireTest, HeaderBeyondAsciiTravelsAsUtf8) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "X-Name: Gr\xC3\xBC\xC3\x9F\x65"));
    EXPECT_EQ("GET / HTTP/1.1\r\nHost: HOST\r\nX-Name: Gr\xC3\xBC\xC3\x9F\x65\r\nConnection: Keep-Alive\r\n\r\n",
              HeadOf(request));
}

TEST_F(WireTest, HeaderWithoutValueIsSent) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "X-Empty:", WINHTTP_ADDREQ_FLAG_ADD));
    EXPECT_EQ("GET / HTTP/1.1\r\nHost: HOST\r\nX-Empty:\r\nConnection: Keep-Alive\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, UserAgentOfTheSessionIsSent) {
    m_session = ScopedHandle(WinHttpOpen(QM_W("Agent/1.0"), WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    EXPECT_EQ("GET / HTTP/1.1\r\nHost: HOST\r\nUser-Agent: Agent/1.0\r\nConnection: Keep-Alive\r\n\r\n",
              HeadOf(request));
}

TEST_F(WireTest, OpeningCallBringsAcceptReferrerAndRefresh) {
    const ScopedHandle connection(WinHttpConnect(m_session, QM_W("127.0.0.1"), m_server.Port(), 0));
    LPCWSTR accept[] = {QM_W("text/plain"), QM_W("application/json"), nullptr};
    const ScopedHandle request(WinHttpOpenRequest(connection, nullptr, QM_W("/"), nullptr, QM_W("http://from/"), accept,
                                                  WINHTTP_FLAG_REFRESH));
    EXPECT_EQ(
        "GET / HTTP/1.1\r\nHost: HOST\r\nReferer: http://from/\r\nAccept: text/plain, application/json\r\n"
        "Pragma: no-cache\r\nConnection: Keep-Alive\r\n\r\n",
        HeadOf(request));
}

TEST_F(WireTest, Http10IsSentWhenAskedFor) {
    const ScopedHandle connection(WinHttpConnect(m_session, QM_W("127.0.0.1"), m_server.Port(), 0));
    const ScopedHandle request(
        WinHttpOpenRequest(connection, QM_W("GET"), QM_W("/"), QM_W("HTTP/1.0"), nullptr, nullptr, 0));
    EXPECT_EQ("GET / HTTP/1.0\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, KeepAliveCanBeDisabled) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    DWORD feature = WINHTTP_DISABLE_KEEP_ALIVE;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &feature, sizeof(feature)));
    EXPECT_EQ("GET / HTTP/1.1\r\nHost: HOST\r\nConnection: close\r\n\r\n", HeadOf(request));
}

TEST_F(WireTest, SendingCallAddsItsHeaders) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "X-A: 1"));
    ASSERT_TRUE(WinHttpSendRequest(request, QM_W("X-A: 2\r\nX-B: 3\r\n"), static_cast<DWORD>(-1), nullptr, 0, 0, 0));
    EXPECT_EQ(200, Receive(request).status);
    const std::string head = m_head.get_future().get();
    EXPECT_NE(std::string::npos, head.find("\r\nX-A: 2\r\nX-B: 3\r\n")) << head;
    EXPECT_EQ(std::string::npos, head.find("X-A: 1")) << head;
}

TEST_F(WireTest, OneCookieLineCarriesTheRequestsCookiesAndTheSessions) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 200 OK\r\nSet-Cookie: kept=1\r\nContent-Length: 0\r\n\r\n");
        const std::string head = peer.ReadHead();
        peer.Send(Ok(head));
    });
    EXPECT_EQ(200, Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status);
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "Cookie: session_token=abc", WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA));
    const std::string head = Exchange(request).body;
    EXPECT_NE(std::string::npos, head.find("\r\nCookie: kept=1; session_token=abc\r\n")) << head;
    EXPECT_EQ(head.find("Cookie"), head.rfind("Cookie"));
}

TEST_F(WireTest, DisabledCookiesAreNeitherSentNorKept) {
    RawServer server([](Peer& peer) {
        for (std::string head; !(head = peer.ReadHead()).empty();) {
            peer.Send("HTTP/1.1 200 OK\r\nSet-Cookie: kept=1\r\nContent-Length: " + std::to_string(head.size()) +
                      "\r\n\r\n" + head);
        }
    });
    const auto sendsCookie = [&](DWORD feature) {
        const ScopedHandle request = OpenRequest(m_session, server.Port(), "GET", "/");
        EXPECT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &feature, sizeof(feature)));
        return Exchange(request).body.find("Cookie: kept=1") != std::string::npos;
    };
    EXPECT_FALSE(sendsCookie(WINHTTP_DISABLE_COOKIES));
    EXPECT_FALSE(sendsCookie(WINHTTP_DISABLE_COOKIES));
    // Nothing was kept so far.
    EXPECT_FALSE(sendsCookie(0));
    EXPECT_TRUE(sendsCookie(0));
    EXPECT_FALSE(sendsCookie(WINHTTP_DISABLE_COOKIES));
    EXPECT_TRUE(sendsCookie(0));
    EXPECT_EQ(1, server.Connections());
}

}  // namespace
}  // namespace quillmark::test
