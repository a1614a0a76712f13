// Arguments and orders of calls that are errors of the caller. Wine 8 looks at few of them: it takes the argument as it
// is, or fails on it.
#include <gtest/gtest.h>

#include "unit/winhttp/HandlesTest.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {
namespace {

class ArgumentsPosixTest : public HandlesTest {};

TEST_F(ArgumentsPosixTest, CallsOutOfOrderAreRefused) {
    // Before it is sent: nothing to write, to receive or to read.
    for (std::size_t i = 2; i <= 6; ++i) {
        EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_STATE, Code(RequestCalls[i].call(m_request))) << RequestCalls[i].name;
    }
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(Ok());
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/");
    ASSERT_EQ(ERROR_SUCCESS, Send(request));
    // While the reply is outstanding: no headers, no second sending, nothing to query or to read.
    for (const std::size_t i : {0u, 1u, 4u, 5u, 6u, 7u}) {
        EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_STATE, Code(RequestCalls[i].call(request))) << RequestCalls[i].name;
    }
    ASSERT_TRUE(WinHttpReceiveResponse(request, nullptr));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_STATE, Code(WinHttpReceiveResponse(request, nullptr)));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_STATE, Code(WinHttpWriteData(request, "x", 1, nullptr)));
}

TEST_F(ArgumentsPosixTest, OpenAcceptsTheDocumentedAccessTypes) {
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_NAMED_PROXY, QM_W("proxy:3128"), QM_W("<local>"), 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenCode(2, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenCode(WINHTTP_ACCESS_TYPE_NAMED_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenCode(WINHTTP_ACCESS_TYPE_NO_PROXY, QM_W("proxy:3128"), nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenCode(WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, QM_W("host"), 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenCode(WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, WINHTTP_FLAG_ASYNC));
}

TEST_F(ArgumentsPosixTest, ConnectTakesHostNamesAndAddresses) {
    for (const char* name :
         {"host", "sub.host.example", "under_score", "127.0.0.1", "::1", "[::1]", "fe80::1", "x--y"}) {
        EXPECT_EQ(ERROR_SUCCESS, ConnectCode(m_session, name)) << name;
    }
    for (const char* name : {"", "http://host", "host:80", "host/path", "user@host", "two words", "a\r\nb", "[host]",
                             "[", "h\xC3\xA9llo", "::g", "host?", "host#"}) {
        EXPECT_EQ(ERROR_WINHTTP_INVALID_URL, ConnectCode(m_session, name)) << name;
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, ConnectCode(m_session, "host", 1));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpConnect(m_session, nullptr, 80, 0) != nullptr));
}

TEST_F(ArgumentsPosixTest, ObjectsThatCannotStandInARequestLineAreRefused) {
    for (const WideChar* object : {QM_W("/a b"), QM_W("/a\tb"), QM_W("/a\r\nX: y"), QM_W("/a\nb"), QM_W("/a\x7F"),
                                   QM_W("/a\x01"), QM_W("/\u00E4"), QM_W("/\u6587"), QM_W("/a#b"), QM_W("/\xD800")}) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, QM_W("GET"), object));
    }
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, QM_W("GET"), QM_W("/a%20b%23?c=d+e&f=;~")));
}

TEST_F(ArgumentsPosixTest, VerbsAreTokensAndVersionsAndFlagsAreKnown) {
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, QM_W("PROPFIND"), QM_W("/")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, QM_W("GET /"), QM_W("/")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, QM_W("G\r\nET"), QM_W("/")));
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, nullptr, QM_W("/"), QM_W("HTTP/1.1")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, nullptr, QM_W("/"), QM_W("HTTP/2")));
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, nullptr, QM_W("/"), nullptr,
                                             WINHTTP_FLAG_SECURE | WINHTTP_FLAG_ESCAPE_DISABLE));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, nullptr, QM_W("/"), nullptr, 1));
}

TEST_F(ArgumentsPosixTest, TextsThatBecomeHeadersBringNoLinesOfTheirOwn) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              OpenRequestCode(m_connection, nullptr, QM_W("/"), nullptr, 0, QM_W("http://a\r\nX: y")));
    LPCWSTR types[] = {QM_W("text/plain\r\nX: y"), nullptr};
    const ScopedHandle request(WinHttpOpenRequest(m_connection, nullptr, QM_W("/"), nullptr, nullptr, types, 0));
    EXPECT_EQ(nullptr, HINTERNET{request});
    const ScopedHandle session(WinHttpOpen(QM_W("Agent\r\nX: y"), WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_WINHTTP_INVALID_HEADER, Send(OpenRequest(session, UnusedPort(), "GET", "/")));
}

TEST_F(ArgumentsPosixTest, NullBuffersAreRefused) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpWriteData(m_request, nullptr, 1, nullptr)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpReadData(m_request, nullptr, 1, &scratch)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpReadData(m_request, &scratch, 1, nullptr)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpReceiveResponse(m_request, &scratch)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_STATUS_CODE, nullptr, nullptr, nullptr, nullptr)));
}

}  // namespace
}  // namespace quillmark::test
