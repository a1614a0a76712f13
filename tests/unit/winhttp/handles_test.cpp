// Handles and arguments: what each function refuses, and with which code.
#include <gtest/gtest.h>

#include <functional>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {
namespace {

struct NamedCall {
    const char* name;
    std::function<BOOL(HINTERNET)> call;
};

DWORD scratch = 0;
DWORD scratchSize = 0;

// Every function that takes a request.
const NamedCall RequestCalls[] = {
    {"WinHttpAddRequestHeaders",
     [](HINTERNET handle) {
         return WinHttpAddRequestHeaders(handle, QM_W("X: 1"), static_cast<DWORD>(-1), WINHTTP_ADDREQ_FLAG_ADD);
     }},
    {"WinHttpSendRequest", [](HINTERNET handle) { return WinHttpSendRequest(handle, nullptr, 0, nullptr, 0, 0, 0); }},
    {"WinHttpWriteData", [](HINTERNET handle) { return WinHttpWriteData(handle, "x", 1, &scratch); }},
    {"WinHttpReceiveResponse", [](HINTERNET handle) { return WinHttpReceiveResponse(handle, nullptr); }},
    {"WinHttpQueryHeaders",
     [](HINTERNET handle) {
         return WinHttpQueryHeaders(handle, WINHTTP_QUERY_STATUS_CODE, nullptr, nullptr, &scratchSize, nullptr);
     }},
    {"WinHttpQueryDataAvailable", [](HINTERNET handle) { return WinHttpQueryDataAvailable(handle, &scratch); }},
    {"WinHttpReadData", [](HINTERNET handle) { return WinHttpReadData(handle, &scratch, 1, &scratchSize); }},
    {"WinHttpSetCredentials", [](HINTERNET handle) {
         return WinHttpSetCredentials(handle, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_NEGOTIATE, nullptr,
                                      nullptr, nullptr);
     }}};

BOOL Connect(HINTERNET handle) {
    return WinHttpConnect(handle, QM_W("localhost"), 80, 0) != nullptr;
}

BOOL Open(HINTERNET handle) {
    return WinHttpOpenRequest(handle, nullptr, nullptr, nullptr, nullptr, nullptr, 0) != nullptr;
}

BOOL QueryType(HINTERNET handle) {
    scratchSize = sizeof(scratch);
    return WinHttpQueryOption(handle, WINHTTP_OPTION_HANDLE_TYPE, &scratch, &scratchSize);
}

BOOL SetTimeout(HINTERNET handle) {
    return WinHttpSetOption(handle, WINHTTP_OPTION_SEND_TIMEOUT, &scratch, sizeof(scratch));
}

BOOL SetTimeouts(HINTERNET handle) {
    return WinHttpSetTimeouts(handle, 0, 0, 0, 0);
}

class HandlesTest : public testing::Test {
protected:
    ScopedHandle m_session = OpenSession();
    ScopedHandle m_connection{WinHttpConnect(m_session, QM_W("127.0.0.1"), 80, 0)};
    ScopedHandle m_request{WinHttpOpenRequest(m_connection, QM_W("GET"), QM_W("/"), nullptr, nullptr, nullptr, 0)};
};

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

TEST_F(HandlesTest, CloseHandleClosesNoneOfThem) {
    for (const HINTERNET handle : {HINTERNET{m_session}, HINTERNET{m_connection}, HINTERNET{m_request}}) {
        EXPECT_EQ(ERROR_INVALID_HANDLE, Code(CloseHandle(handle)));
        EXPECT_TRUE(QueryType(handle));
    }
}

TEST_F(HandlesTest, ClosingTwiceFails) {
    const HINTERNET handle = m_connection;
    m_connection.Close();
    EXPECT_EQ(ERROR_INVALID_HANDLE, Code(WinHttpCloseHandle(handle)));
}

TEST_F(HandlesTest, CallsOutOfOrderAreRefused) {
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

// ---- Arguments ----

DWORD OpenCode(DWORD accessType, LPCWSTR name, LPCWSTR bypass, DWORD flags) {
    const ScopedHandle session(WinHttpOpen(nullptr, accessType, name, bypass, flags));
    return session == nullptr ? GetLastError() : ERROR_SUCCESS;
}

TEST_F(HandlesTest, OpenAcceptsTheDocumentedAccessTypes) {
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

DWORD ConnectCode(HINTERNET session, std::string_view name, DWORD reserved = 0) {
    const ScopedHandle connection(WinHttpConnect(session, Wide(name).c_str(), 80, reserved));
    return connection == nullptr ? GetLastError() : ERROR_SUCCESS;
}

TEST_F(HandlesTest, ConnectTakesHostNamesAndAddresses) {
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

DWORD OpenRequestCode(HINTERNET connection, LPCWSTR verb, std::basic_string_view<WideChar> object,
                      LPCWSTR version = nullptr, DWORD flags = 0, LPCWSTR referrer = nullptr) {
    const ScopedHandle request(
        WinHttpOpenRequest(connection, verb, WideText(object).c_str(), version, referrer, nullptr, flags));
    return request == nullptr ? GetLastError() : ERROR_SUCCESS;
}

TEST_F(HandlesTest, ObjectsThatCannotStandInARequestLineAreRefused) {
    for (const WideChar* object : {QM_W("/a b"), QM_W("/a\tb"), QM_W("/a\r\nX: y"), QM_W("/a\nb"), QM_W("/a\x7F"),
                                   QM_W("/a\x01"), QM_W("/\u00E4"), QM_W("/\u6587"), QM_W("/a#b"), QM_W("/\xD800")}) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, QM_W("GET"), object));
    }
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, QM_W("GET"), QM_W("/a%20b%23?c=d+e&f=;~")));
}

TEST_F(HandlesTest, VerbsAreTokensAndVersionsAndFlagsAreKnown) {
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, QM_W("PROPFIND"), QM_W("/")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, QM_W("GET /"), QM_W("/")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, QM_W("G\r\nET"), QM_W("/")));
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, nullptr, QM_W("/"), QM_W("HTTP/1.1")));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, nullptr, QM_W("/"), QM_W("HTTP/2")));
    EXPECT_EQ(ERROR_SUCCESS, OpenRequestCode(m_connection, nullptr, QM_W("/"), nullptr,
                                             WINHTTP_FLAG_SECURE | WINHTTP_FLAG_ESCAPE_DISABLE));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, OpenRequestCode(m_connection, nullptr, QM_W("/"), nullptr, 1));
}

TEST_F(HandlesTest, TextsThatBecomeHeadersBringNoLinesOfTheirOwn) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              OpenRequestCode(m_connection, nullptr, QM_W("/"), nullptr, 0, QM_W("http://a\r\nX: y")));
    LPCWSTR types[] = {QM_W("text/plain\r\nX: y"), nullptr};
    const ScopedHandle request(WinHttpOpenRequest(m_connection, nullptr, QM_W("/"), nullptr, nullptr, types, 0));
    EXPECT_EQ(nullptr, HINTERNET{request});
    const ScopedHandle session(WinHttpOpen(QM_W("Agent\r\nX: y"), WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ(ERROR_WINHTTP_INVALID_HEADER, Send(OpenRequest(session, UnusedPort(), "GET", "/")));
}

TEST_F(HandlesTest, NullBuffersAreRefused) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpWriteData(m_request, nullptr, 1, nullptr)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpReadData(m_request, nullptr, 1, &scratch)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpReadData(m_request, &scratch, 1, nullptr)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpReceiveResponse(m_request, &scratch)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_STATUS_CODE, nullptr, nullptr, nullptr, nullptr)));
}

}  // namespace
}  // namespace quillmark::test
