// What WinHttpAddRequestHeaders makes of lines and flags.
#include <gtest/gtest.h>

#include "support/Wine.h"
#include "unit/winhttp/RequestHeadersTest.h"

namespace quillmark::test {
namespace {

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

TEST_F(RequestHeadersTest, ReplaceReplacesTheHeader) {
    ASSERT_EQ(ERROR_SUCCESS, Add("X: 1\r\nY: y", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("x: 3", Replace));
    // Wine puts it last.
    EXPECT_THAT(Lines(), OrUnderWine<std::string>("x: 3\r\nY: y\r\n", "Y: y\r\nx: 3\r\n"));
}

TEST_F(RequestHeadersTest, ReplaceAloneNeedsAHeaderToReplace) {
    EXPECT_EQ(ERROR_WINHTTP_HEADER_NOT_FOUND, Add("X: 1", Replace));
    EXPECT_EQ(ERROR_SUCCESS, Add("X: 1", AddFlag | Replace));
    EXPECT_EQ("X: 1\r\n", Lines());
}

TEST_F(RequestHeadersTest, ReplaceWithAnEmptyValueRemoves) {
    ASSERT_EQ(ERROR_SUCCESS, Add("X: 1", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("X:", Replace));
    EXPECT_EQ("", Lines());
    EXPECT_EQ(ERROR_SUCCESS, Add("X:", AddFlag | Replace));
    // Wine adds an empty one in the place of none.
    EXPECT_THAT(Lines(), OrUnderWine<std::string>("", "X: \r\n"));
}

TEST_F(RequestHeadersTest, SeveralLinesWithAnyEnd) {
    EXPECT_EQ(ERROR_SUCCESS, Add("A: 1\r\nB:  2 \r\nC:3\r\n", AddFlag));
    EXPECT_EQ(ERROR_SUCCESS, Add("D: 4\r\nE: 5\n", AddFlag));
    // Wine leaves the blanks behind a value.
    EXPECT_THAT(Lines(), OrUnderWine<std::string>("A: 1\r\nB: 2\r\nC: 3\r\nD: 4\r\nE: 5\r\n",
                                                  "A: 1\r\nB: 2 \r\nC: 3\r\nD: 4\r\nE: 5\r\n"));
}

TEST_F(RequestHeadersTest, LengthLimitsTheText) {
    EXPECT_TRUE(WinHttpAddRequestHeaders(m_request, QM_W("X: 123 and more"), 6, AddFlag));
    EXPECT_EQ("X: 123\r\n", Lines());
}

}  // namespace
}  // namespace quillmark::test
