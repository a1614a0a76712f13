// Handles and arguments: what each function refuses, and with which code.
#include <gtest/gtest.h>

#include <vector>

#include "unit/winhttp/HandlesTest.h"

namespace quillmark::test {
namespace {

TEST_F(HandlesTest, NullClosedAndUnknownHandlesAreInvalid) {
    const HINTERNET closed = m_request;
    m_request.Close();
    std::vector<NamedCall> calls(std::begin(RequestCalls), std::end(RequestCalls));
    calls.push_back({"WinHttpConnect", Connect});
    calls.push_back({"WinHttpOpenRequest", Open});
    calls.push_back({"WinHttpQueryOption", QueryType});
    calls.push_back({"WinHttpSetOption", SetTimeout});
    calls.push_back({"WinHttpSetTimeouts", SetTimeouts});
    calls.push_back({"WinHttpCloseHandle", WinHttpCloseHandle});
    for (const NamedCall& call : calls) {
        for (const HINTERNET handle : {HINTERNET{}, closed, static_cast<HINTERNET>(INVALID_HANDLE_VALUE)}) {
            EXPECT_EQ(ERROR_INVALID_HANDLE, Code(call.call(handle))) << call.name;
        }
    }
}

TEST_F(HandlesTest, SessionsAndConnectionsAreNoRequests) {
    for (const NamedCall& call : RequestCalls) {
        EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Code(call.call(m_session))) << call.name;
        EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Code(call.call(m_connection))) << call.name;
    }
}

TEST_F(HandlesTest, OnlySessionsConnectAndOnlyConnectionsOpen) {
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Code(Connect(m_connection)));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Code(Connect(m_request)));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Code(Open(m_session)));
    EXPECT_EQ(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, Code(Open(m_request)));
}

TEST_F(HandlesTest, ClosingTwiceFails) {
    const HINTERNET handle = m_connection;
    m_connection.Close();
    EXPECT_EQ(ERROR_INVALID_HANDLE, Code(WinHttpCloseHandle(handle)));
}

// ---- Arguments ----

TEST_F(HandlesTest, OpenTakesTheDocumentedAccessTypes) {
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_SUCCESS, OpenCode(WINHTTP_ACCESS_TYPE_NAMED_PROXY, QM_W("proxy:3128"), QM_W("<local>"), 0));
}

TEST_F(HandlesTest, ConnectTakesNamesAndAddressesAndNoNull) {
    for (const char* name :
         {"host", "sub.host.example", "under_score", "127.0.0.1", "::1", "[::1]", "fe80::1", "x--y"}) {
        EXPECT_EQ(ERROR_SUCCESS, ConnectCode(m_session, name)) << name;
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpConnect(m_session, nullptr, 80, 0) != nullptr));
}

TEST_F(HandlesTest, OpenRequestTakesEveryVerbAndTarget) {
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, QM_W("PROPFIND"), QM_W("/")));
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, nullptr, QM_W("/"), QM_W("HTTP/1.1")));
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, QM_W("GET"), QM_W("/a%20b?c=d+e&f=;~")));
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, nullptr, QM_W("/"), nullptr,
                                             WINHTTP_FLAG_SECURE | WINHTTP_FLAG_ESCAPE_DISABLE));
}

}  // namespace
}  // namespace quillmark::test
