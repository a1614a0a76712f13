// Headers that our own service refuses or puts together where Wine 8 takes every line and flag as it is: lines that are
// no headers, several headers to replace at once, cookies, chunked bodies.
#include <gtest/gtest.h>

#include "unit/winhttp/RequestHeadersTest.h"

namespace quillmark::test {
namespace {

class RequestHeadersPosixTest : public RequestHeadersTest {};

TEST_F(RequestHeadersPosixTest, CookiesAreMergedWithSemicolons) {
    EXPECT_EQ(ERROR_SUCCESS, Add("Cookie: a=1", Comma));
    EXPECT_EQ(ERROR_SUCCESS, Add("Cookie: b=2", Comma));
    EXPECT_EQ(ERROR_SUCCESS, Add("Cookie: c=3", AddFlag));
    EXPECT_EQ("Cookie: a=1; b=2; c=3\r\n", Lines());
}

TEST_F(RequestHeadersPosixTest, ReplaceReplacesAllOfTheName) {
    ASSERT_EQ(ERROR_SUCCESS, Add("X: 1\r\nY: y\r\nX: 2", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("x: 3", Replace));
    EXPECT_EQ("x: 3\r\nY: y\r\n", Lines());
}

TEST_F(RequestHeadersPosixTest, BadLinesAreRefusedAndNothingIsAdded) {
    for (const char* line : {"no colon", ": no name", "na me: x", "X: a\nY: b", "X: a\rY: b", "X: \x01", "X\xC3\xA4: 1",
                             "A: 1\r\n\r\nB: 2", " X: folded"}) {
        EXPECT_EQ(ERROR_WINHTTP_INVALID_HEADER, Add(std::string("Good: 1\r\n") + line, AddFlag)) << line;
    }
    EXPECT_EQ(ERROR_WINHTTP_INVALID_HEADER, Code(WinHttpAddRequestHeaders(m_request, QM_W("X: a\0b"), 6, AddFlag)));
    EXPECT_EQ("", Lines());
}

TEST_F(RequestHeadersPosixTest, EmptyTextAndUnknownFlagsAreRefused) {
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Add("", AddFlag));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Code(WinHttpAddRequestHeaders(m_request, nullptr, 0, AddFlag)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Add("X: 1", 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Add("X: 1", AddFlag | 0x02000000));
}

TEST_F(RequestHeadersPosixTest, TransferEncodingIsNotOffered) {
    EXPECT_EQ(ERROR_NOT_SUPPORTED, Add("Transfer-Encoding: chunked", AddFlag));
}

}  // namespace
}  // namespace quillmark::test
