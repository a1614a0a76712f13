// Queries that Wine 8 does not know, or fails on.
#include <gtest/gtest.h>

#include "unit/winhttp/QueryHeadersTest.h"

namespace quillmark::test {
namespace {

class QueryHeadersPosixTest : public QueryHeadersTest {};

TEST_F(QueryHeadersPosixTest, LengthOf4GiBFits64Bits) {
    DWORD size = 0;
    std::uint64_t wide = 0;
    size = sizeof(wide);
    EXPECT_TRUE(WinHttpQueryHeaders(m_request, WINHTTP_QUERY_CONTENT_LENGTH | WINHTTP_QUERY_FLAG_NUMBER64, nullptr,
                                    &wide, &size, nullptr));
    EXPECT_EQ(4294967296u, wide);
}

TEST_F(QueryHeadersPosixTest, CustomHeaderNeedsAName) {
    std::string value;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Query(WINHTTP_QUERY_CUSTOM, value));
}

}  // namespace
}  // namespace quillmark::test
