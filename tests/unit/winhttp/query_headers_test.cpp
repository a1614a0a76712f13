// Queries of the reply's head.
#include <gtest/gtest.h>

#include "unit/winhttp/QueryHeadersTest.h"

namespace quillmark::test {
namespace {

TEST_F(QueryHeadersTest, StatusLineAsTexts) {
    EXPECT_EQ("404", Value(WINHTTP_QUERY_STATUS_CODE));
    EXPECT_EQ("Not Here", Value(WINHTTP_QUERY_STATUS_TEXT));
    EXPECT_EQ("HTTP/1.1", Value(WINHTTP_QUERY_VERSION));
    EXPECT_EQ("GET", Value(WINHTTP_QUERY_REQUEST_METHOD));
}

TEST_F(QueryHeadersTest, SizeIsAskedForWithoutABuffer) {
    DWORD size = 0;
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_STATUS_CODE, nullptr,
                                                                  WINHTTP_NO_OUTPUT_BUFFER, &size, nullptr)));
    // Three digits and the zero.
    EXPECT_EQ(8u, size);
    WCHAR text[4];
    EXPECT_TRUE(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_STATUS_CODE, nullptr, text, &size, nullptr));
    EXPECT_EQ(6u, size);
    EXPECT_EQ(QM_W("404"), WideText(text));
}

TEST_F(QueryHeadersTest, BufferThatIsOneTooSmallIsLeftAlone) {
    WCHAR text[4] = {QM_W('x'), QM_W('x'), QM_W('x'), QM_W('x')};
    DWORD size = 7;
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER,
              Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_STATUS_CODE, nullptr, text, &size, nullptr)));
    EXPECT_EQ(8u, size);
    EXPECT_EQ(QM_W('x'), text[0]);
}

TEST_F(QueryHeadersTest, StatusAsNumber) {
    DWORD status = 0;
    DWORD size = sizeof(status);
    EXPECT_TRUE(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, nullptr, &status,
                                    &size, nullptr));
    EXPECT_EQ(404u, status);
    EXPECT_EQ(4u, size);
    size = 3;
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER,
              Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, nullptr,
                                       &status, &size, nullptr)));
    EXPECT_EQ(4u, size);
}

TEST_F(QueryHeadersTest, LengthOf4GiBIsMoreThanANumberHolds) {
    EXPECT_EQ("4294967296", Value(WINHTTP_QUERY_CONTENT_LENGTH));
    DWORD narrow = 0;
    DWORD size = sizeof(narrow);
    EXPECT_THAT(Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_CONTENT_LENGTH | WINHTTP_QUERY_FLAG_NUMBER, nullptr,
                                         &narrow, &size, nullptr)),
                IsNoNumber());
}

TEST_F(QueryHeadersTest, TextIsNoNumber) {
    DWORD number = 0;
    DWORD size = sizeof(number);
    EXPECT_THAT(Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_CONTENT_TYPE | WINHTTP_QUERY_FLAG_NUMBER, nullptr,
                                         &number, &size, nullptr)),
                IsNoNumber());
}

TEST_F(QueryHeadersTest, DateAsSystemTime) {
    SYSTEMTIME time{};
    DWORD size = sizeof(time);
    ASSERT_TRUE(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_DATE | WINHTTP_QUERY_FLAG_SYSTEMTIME, nullptr, &time,
                                    &size, nullptr));
    EXPECT_EQ(16u, size);
    EXPECT_EQ(1994, time.wYear);
    EXPECT_EQ(11, time.wMonth);
    EXPECT_EQ(0, time.wDayOfWeek);
    EXPECT_EQ(6, time.wDay);
    EXPECT_EQ(8, time.wHour);
    EXPECT_EQ(49, time.wMinute);
    EXPECT_EQ(37, time.wSecond);
    EXPECT_EQ(0, time.wMilliseconds);
    EXPECT_THAT(Code(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_CONTENT_TYPE | WINHTTP_QUERY_FLAG_SYSTEMTIME, nullptr,
                                         &time, &size, nullptr)),
                IsNoNumber());
}

TEST_F(QueryHeadersTest, HeadersByNameInAnyCase) {
    EXPECT_EQ("120", Value(WINHTTP_QUERY_RETRY_AFTER));
    EXPECT_EQ("120", Value(WINHTTP_QUERY_CUSTOM, QM_W("retry-AFTER")));
}

TEST_F(QueryHeadersTest, IndexWalksThroughHeadersOfOneName) {
    std::string value;
    DWORD index = 0;
    EXPECT_EQ(ERROR_SUCCESS, Query(WINHTTP_QUERY_CUSTOM, value, QM_W("X-Many"), &index));
    EXPECT_EQ("one", value);
    EXPECT_EQ(ERROR_SUCCESS, Query(WINHTTP_QUERY_CUSTOM, value, QM_W("X-Many"), &index));
    EXPECT_EQ("two", value);
    EXPECT_EQ(2u, index);
    EXPECT_EQ(ERROR_WINHTTP_HEADER_NOT_FOUND, Query(WINHTTP_QUERY_CUSTOM, value, QM_W("X-Many"), &index));
    EXPECT_EQ(2u, index);
}

TEST_F(QueryHeadersTest, MissingAndUnknownOnes) {
    // Wine finds no such header, or an argument that is wrong.
    const auto IsNoQuery = [] {
        return OrWineSays(ERROR_WINHTTP_INVALID_QUERY_REQUEST, ERROR_WINHTTP_HEADER_NOT_FOUND, ERROR_INVALID_PARAMETER);
    };
    std::string value;
    EXPECT_EQ(ERROR_WINHTTP_HEADER_NOT_FOUND, Query(WINHTTP_QUERY_LOCATION, value));
    EXPECT_EQ(ERROR_WINHTTP_HEADER_NOT_FOUND, Query(WINHTTP_QUERY_CUSTOM, value, QM_W("X-None")));
    EXPECT_THAT(Query(79, value), IsNoQuery());
    EXPECT_THAT(Query(71, value), IsNoQuery());
    EXPECT_THAT(Query(WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_REQUEST_HEADERS, value), IsNoQuery());
}

TEST_F(QueryHeadersTest, RawHeadersAsLines) {
    const std::string raw = Value(WINHTTP_QUERY_RAW_HEADERS_CRLF);
    EXPECT_TRUE(raw.starts_with("HTTP/1.1 404 Not Here\r\nContent-Length: 4294967296\r\nContent-Type: text/plain\r\n"))
        << raw;
    EXPECT_TRUE(raw.ends_with("\r\n\r\n"));
    const std::string zeros = Value(WINHTTP_QUERY_RAW_HEADERS);
    EXPECT_TRUE(zeros.starts_with(std::string("HTTP/1.1 404 Not Here\0Content-Length: 4294967296\0", 49))) << zeros;
}

TEST_F(QueryHeadersTest, BytesAreReadAsUtf8) {
    WCHAR text[10];
    DWORD size = sizeof(text);
    ASSERT_TRUE(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_CUSTOM, QM_W("X-Name"), text, &size, nullptr));
    // Wine makes a character of each byte.
    EXPECT_THAT(WideText(text), OrUnderWine(WideText(QM_W("\u00E4\uFFFD")), WideText(QM_W("\u00C3\u00A4\u00FF"))));
}

}  // namespace
}  // namespace quillmark::test
