// The headers of a request that is not sent.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "unit/winhttp/HttpCalls.h"

namespace quillmark::test {

inline constexpr DWORD AddFlag = WINHTTP_ADDREQ_FLAG_ADD;
inline constexpr DWORD Replace = WINHTTP_ADDREQ_FLAG_REPLACE;
inline constexpr DWORD Comma = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA;
inline constexpr DWORD Semicolon = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON;
inline constexpr DWORD AddIfNew = WINHTTP_ADDREQ_FLAG_ADD_IF_NEW;

class RequestHeadersTest : public testing::Test {
protected:
    // The headers as the request has them, without its first line and the blank line.
    std::string Lines() {
        WCHAR text[2000];
        DWORD size = sizeof(text);
        EXPECT_TRUE(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_RAW_HEADERS_CRLF | WINHTTP_QUERY_FLAG_REQUEST_HEADERS,
                                        nullptr, text, &size, nullptr));
        const std::string lines(text, text + size / sizeof(WCHAR));
        const std::size_t first = lines.find("\r\n") + 2;
        return lines.substr(first, lines.size() - first - 2);
    }

    DWORD Add(std::string_view lines, DWORD flags) { return AddHeader(m_request, lines, flags); }

    ScopedHandle m_session = OpenSession();
    ScopedHandle m_request = OpenRequest(m_session, 80, "GET", "/");
};

}  // namespace quillmark::test
