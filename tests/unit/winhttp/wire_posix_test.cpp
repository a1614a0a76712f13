// What our own service sends otherwise than Windows': the target as it is even where Windows escapes it, one line of
// cookies where Wine sends two, and headers in an order that can be told beforehand.
#include <gtest/gtest.h>

#include "unit/winhttp/WireTest.h"

namespace quillmark::test {
namespace {

class WirePosixTest : public WireTest {};

TEST_F(WirePosixTest, HeadersComeInTheOrderInWhichTheyWereGiven) {
    const ScopedHandle connection(WinHttpConnect(m_session, QM_W("127.0.0.1"), m_server.Port(), 0));
    LPCWSTR accept[] = {QM_W("text/plain"), QM_W("application/json"), nullptr};
    const ScopedHandle request(WinHttpOpenRequest(connection, QM_W("POST"), QM_W("/"), nullptr, QM_W("http://from/"),
                                                  accept, WINHTTP_FLAG_REFRESH));
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "X-Empty:", WINHTTP_ADDREQ_FLAG_ADD));
    EXPECT_EQ(
        "POST / HTTP/1.1\r\nHost: HOST\r\nReferer: http://from/\r\nAccept: text/plain, application/json\r\n"
        "Pragma: no-cache\r\nCache-Control: no-cache\r\nX-Empty:\r\nConnection: Keep-Alive\r\n"
        "Content-Length: 3\r\n\r\n",
        HeadOf(request, "a=b"));
}

TEST_F(WirePosixTest, UnsafeObjectGoesOutAsItIsGiven) {
    const ScopedHandle request =
        OpenRequest(m_session, m_server.Port(), "GET", "/a/./../%2f%C3%a4//b;c='~\"<>[]{}?x=?/..");
    EXPECT_EQ("GET /a/./../%2f%C3%a4//b;c='~\"<>[]{}?x=?/.. HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n",
              HeadOf(request));
}

TEST_F(WirePosixTest, OneCookieLineCarriesTheRequestsCookiesAndTheSessions) {
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

}  // namespace
}  // namespace quillmark::test
