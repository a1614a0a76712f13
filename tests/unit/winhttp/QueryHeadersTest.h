// A reply whose head is queried.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {

class QueryHeadersTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ERROR_SUCCESS, Send(m_request));
        ASSERT_TRUE(WinHttpReceiveResponse(m_request, nullptr));
    }

    // Of a value that cannot be told in the way that is asked for. Wine tells what it has.
    static testing::Matcher<DWORD> IsNoNumber() { return OrWineSays(ERROR_WINHTTP_INVALID_HEADER, ERROR_SUCCESS); }

    DWORD Query(DWORD level, std::string& value, LPCWSTR name = nullptr, LPDWORD index = nullptr) {
        WCHAR text[1000];
        DWORD size = sizeof(text);
        if (!WinHttpQueryHeaders(m_request, level, name, text, &size, index)) {
            return GetLastError();
        }
        EXPECT_EQ(QM_W('\0'), text[size / sizeof(WCHAR)]);
        value.assign(text, text + size / sizeof(WCHAR));
        return ERROR_SUCCESS;
    }

    std::string Value(DWORD level, LPCWSTR name = nullptr) {
        std::string value;
        EXPECT_EQ(ERROR_SUCCESS, Query(level, value, name));
        return value;
    }

    RawServer m_server{[](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send(
            "HTTP/1.1 404 Not Here\r\nContent-Length: 4294967296\r\nContent-Type: text/plain\r\n"
            "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\nX-Many: one\r\nX-Many:two\r\nRetry-After: 120\r\n"
            "X-Name: \xC3\xA4\xFF\r\n\r\n");
        peer.ReadToEnd();
    }};
    ScopedHandle m_session = OpenSession();
    ScopedHandle m_request = OpenRequest(m_session, m_server.Port(), "GET", "/x");
};

}  // namespace quillmark::test
