// What WinHttpAddRequestHeaders makes of lines and flags.
#include <gtest/gtest.h>

#include "unit/winhttp/HttpCalls.h"

namespace quillmark::test {
namespace {

constexpr DWORD AddFlag = WINHTTP_ADDREQ_FLAG_ADD;
constexpr DWORD Replace = WINHTTP_ADDREQ_FLAG_REPLACE;
constexpr DWORD Comma = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA;
constexpr DWORD Semicolon = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON;
constexpr DWORD AddIfNew = WINHTTP_ADDREQ_FLAG_ADD_IF_NEW;

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

TEST_F(RequestHeadersTest, AddAddsAnotherLine) {
    EXPECT_EQ(ERROR_SUCCESS, Add("X: 1", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("X: 2", AddFlag));
    EXPECT_EQ("X: 1\r\nX: 2\r\n", Lines());
}

TEST_F(RequestHeadersTest, AddIfNewRefusesASecond) {
    EXPECT_EQ(ERROR_SUCCESS, Add("X: 1", AddIfNew));
    EXPECT_EQ(ERROR_WINHTTP_HEADER_ALREADY_EXISTS, Add("x: 2", AddIfNew));
    EXPECT_EQ("X: 1\r\n", Lines());
}

TEST_F(RequestHeadersTest, CoalesceAloneAddsOrMerges) {
    EXPECT_EQ(ERROR_SUCCESS, Add("Accept: text/plain", Comma));
    EXPECT_EQ(ERROR_SUCCESS, Add("accept: text/html", Comma));
    EXPECT_EQ(ERROR_SUCCESS, Add("Y: a", Semicolon));
    EXPECT_EQ(ERROR_SUCCESS, Add("Y: b", Semicolon));
    EXPECT_EQ("Accept: text/plain, text/html\r\nY: a; b\r\n", Lines());
}

TEST_F(RequestHeadersTest, AddWithCoalesceMerges) {
    EXPECT_EQ(ERROR_SUCCESS, Add("Accept: text/plain", AddFlag | Comma));
    EXPECT_EQ(ERROR_SUCCESS, Add("Accept: text/html", AddFlag | Comma));
    EXPECT_EQ("Accept: text/plain, text/html\r\n", Lines());
}

TEST_F(RequestHeadersTest, CookiesAreMergedWithSemicolons) {
    EXPECT_EQ(ERROR_SUCCESS, Add("Cookie: a=1", Comma));
    EXPECT_EQ(ERROR_SUCCESS, Add("Cookie: b=2", Comma));
    EXPECT_EQ(ERROR_SUCCESS, Add("Cookie: c=3", AddFlag));
    EXPECT_EQ("Cookie: a=1; b=2; c=3\r\n", Lines());
}

TEST_F(RequestHeadersTest, ReplaceReplacesAllOfTheName) {
    ASSERT_EQ(ERROR_SUCCESS, Add("X: 1\r\nY: y\r\nX: 2", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("x: 3", Replace));
    EXPECT_EQ("x: 3\r\nY: y\r\n", Lines());
}

TEST_F(RequestHeadersTest, ReplaceAloneNeedsAHeaderToReplace) {
    EXPECT_EQ(ERROR_WINHTTP_HEADER_NOT_FOUND, Add("X: 1", Replace));
    EXPECT_EQ(ERROR_SUCCESS, Add("X: 1", AddFlag | Replace));
    EXPECT_EQ("X: 1\r\n", Lines());
}

TEST_F(RequestHeadersTest, ReplaceWithAnEmptyValueRemoves) {
    ASSERT_EQ(ERROR_SUCCESS, Add("X: 1", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("X:", Replace));
    EXPECT_EQ(ERROR_SUCCESS, Add("X:", AddFlag | Replace));
    EXPECT_EQ("", Lines());
}

TEST_F(RequestHeadersTest, SeveralLinesWithAnyEnd) {
    EXPECT_EQ(ERROR_SUCCESS, Add("A: 1\r\nB:  2 \r\nC:3\r\n", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("D: 4\r\nE: 5\n", AddFlag));
    EXPECT_EQ("A: 1\r\nB: 2\r\nC: 3\r\nD: 4\r\nE: 5\r\n", Lines());
}

TEST_F(RequestHeadersTest, LengthLimitsTheText) {
    EXPECT_TRUE(WinHttpAddRequestHeaders(m_request, QM_W("X: 123 and more"), 6, AddFlag));
    EXPECT_EQ("X: 123\r\n", Lines());
}

TEST_F(RequestHeadersTest, BadLinesAreRefusedAndNothingIsAdded) {
    for (const char* line : {"no colon", ": no name", "na me: x", "X: a\nY: b", "X: a\rY: b", "X: \x01", "X\xC3\xA4: 1",
                             "A: 1\r\n\r\nB: 2", " X: folded"}) {
        EXPECT_EQ(ERROR_WINHTTP_INVALID_HEADER, Add(std::string("Good: 1\r\n") + line, AddFlag)) << line;
    }
    EXPECT_EQ(ERROR_WINHTTP_INVALID_HEADER, Code(WinHttpAddRequestHeaders(m_request, QM_W("X: a\0b"), 6, AddFlag)));
    EXPECT_EQ("", Lines());
}

TEST_F(RequestHeadersTest, EmptyTextAndUnknownFlagsAreRefused) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Add("", AddFlag));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpAddRequestHeaders(m_request, nullptr, 0, AddFlag)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Add("X: 1", 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Add("X: 1", AddFlag | 0x02000000));
}

TEST_F(RequestHeadersTest, TransferEncodingIsNotOffered) {
    EXPECT_EQ(ERROR_NOT_SUPPORTED, Add("Transfer-Encoding: chunked", AddFlag));
}

}  // namespace
}  // namespace quillmark::test
