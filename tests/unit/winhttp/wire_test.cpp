// What goes on the wire, byte for byte.
#include <gtest/gtest.h>

#include "support/Wine.h"
#include "unit/winhttp/WireTest.h"

namespace quillmark::test {
namespace {

TEST_F(WireTest, GetSendsNothingThatWasNotAskedFor) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/a/b?c=d&e=%20");
    EXPECT_THAT(HeadOf(request), IsHead("GET /a/b?c=d&e=%20 HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, ObjectWithoutLeadingSlashGetsOne) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "folders/x");
    EXPECT_THAT(HeadOf(request), IsHead("GET /folders/x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, EmptyObjectIsTheRoot) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "");
    EXPECT_THAT(HeadOf(request), IsHead("GET / HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, ObjectGoesOutAsItIsGiven) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/a/./../%2f%C3%a4//b;c='~?x=?/..",
                                             WINHTTP_FLAG_ESCAPE_DISABLE | WINHTTP_FLAG_ESCAPE_DISABLE_QUERY);
    EXPECT_THAT(
        HeadOf(request),
        IsHead("GET /a/./../%2f%C3%a4//b;c='~?x=?/.. HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, FormGoesOutWithItsLengthAndTypeOnly) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/sessions");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "Content-Type: application/x-www-form-urlencoded; charset=UTF-8"));
    EXPECT_THAT(HeadOf(request, "a=1&b=2"), IsHead("POST /sessions HTTP/1.1\r\nHost: HOST\r\nContent-Type: "
                                                   "application/x-www-form-urlencoded; charset=UTF-8\r\n"
                                                   "Connection: Keep-Alive\r\nContent-Length: 7\r\n\r\n"));
}

TEST_F(WireTest, PostWithoutBodyAnnouncesZeroBytes) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/x");
    EXPECT_THAT(HeadOf(request),
                IsHead("POST /x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\nContent-Length: 0\r\n\r\n"));
}

TEST_F(WireTest, DeleteWithoutBodyAnnouncesZeroBytes) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "DELETE", "/x");
    const std::string head = HeadOf(request);
    // Wine announces nothing.
    EXPECT_THAT(head, UnderWine() ? testing::Matcher<std::string>(
                                        IsHead("DELETE /x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n"))
                                  : IsHead("DELETE /x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n"
                                           "Content-Length: 0\r\n\r\n"));
}

TEST_F(WireTest, HeadHasNoLength) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "HEAD", "/x");
    EXPECT_THAT(HeadOf(request), IsHead("HEAD /x HTTP/1.1\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, ContentTypeThatEndsInABareLineFeedIsACleanHeader) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/x");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "Content-Type: multipart/form-data; boundary=\"QM\"\n"));
    EXPECT_THAT(HeadOf(request),
                IsHead("POST /x HTTP/1.1\r\nHost: HOST\r\nContent-Type: multipart/form-data; boundary=\"QM\"\r\n"
                       "Connection: Keep-Alive\r\nContent-Length: 0\r\n\r\n"));
}

TEST_F(WireTest, HeaderBeyondAsciiTravelsAsUtf8) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "X-Name: Gr\xC3\xBC\xC3\x9F\x65"));
    EXPECT_THAT(
        HeadOf(request),
        IsHead("GET / HTTP/1.1\r\nHost: HOST\r\nX-Name: Gr\xC3\xBC\xC3\x9F\x65\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, HeaderWithoutValueIsSent) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "X-Empty:", WINHTTP_ADDREQ_FLAG_ADD));
    EXPECT_THAT(HeadOf(request), IsHead("GET / HTTP/1.1\r\nHost: HOST\r\nX-Empty:\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, UserAgentOfTheSessionIsSent) {
    m_session = ScopedHandle(WinHttpOpen(QM_W("Agent/1.0"), WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    EXPECT_THAT(HeadOf(request),
                IsHead("GET / HTTP/1.1\r\nHost: HOST\r\nUser-Agent: Agent/1.0\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, OpeningCallBringsAcceptReferrerAndRefresh) {
    const ScopedHandle connection(WinHttpConnect(m_session, QM_W("127.0.0.1"), m_server.Port(), 0));
    LPCWSTR accept[] = {QM_W("text/plain"), QM_W("application/json"), nullptr};
    const ScopedHandle request(WinHttpOpenRequest(connection, nullptr, QM_W("/"), nullptr, QM_W("http://from/"), accept,
                                                  WINHTTP_FLAG_REFRESH));
    const std::string before = "GET / HTTP/1.1\r\nHost: HOST\r\n";
    const std::string after =
        "Accept: text/plain, application/json\r\nPragma: no-cache\r\nCache-Control: no-cache\r\n"
        "Connection: Keep-Alive\r\n\r\n";
    const std::string head = HeadOf(request);
    // Wine forgets the referrer.
    EXPECT_THAT(head, UnderWine() ? testing::Matcher<std::string>(IsHead(before + after))
                                  : IsHead(before + "Referer: http://from/\r\n" + after));
}

TEST_F(WireTest, Http10IsSentWhenAskedFor) {
    const ScopedHandle connection(WinHttpConnect(m_session, QM_W("127.0.0.1"), m_server.Port(), 0));
    const ScopedHandle request(
        WinHttpOpenRequest(connection, QM_W("GET"), QM_W("/"), QM_W("HTTP/1.0"), nullptr, nullptr, 0));
    EXPECT_THAT(HeadOf(request), IsHead("GET / HTTP/1.0\r\nHost: HOST\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST_F(WireTest, KeepAliveCanBeDisabled) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    DWORD feature = WINHTTP_DISABLE_KEEP_ALIVE;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &feature, sizeof(feature)));
    const std::string head = HeadOf(request);
    // Wine closes it without saying so before.
    EXPECT_THAT(head, UnderWine() ? testing::Matcher<std::string>(IsHead("GET / HTTP/1.1\r\nHost: HOST\r\n\r\n"))
                                  : IsHead("GET / HTTP/1.1\r\nHost: HOST\r\nConnection: close\r\n\r\n"));
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
