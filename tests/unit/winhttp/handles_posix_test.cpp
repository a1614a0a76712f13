// What the table of handles tells, which Windows keeps to itself.
#include <gtest/gtest.h>

#include "handles/HandleTable.h"
#include "unit/winhttp/HttpCalls.h"

namespace quillmark::test {
namespace {

TEST(HandlesPosixTest, AllHandlesGoWithTheirClosing) {
    const std::size_t before = platform::OpenHandleCount();
    {
        const ScopedHandle session = OpenSession();
        const ScopedHandle request = OpenRequest(session, 80, "GET", "/");
        EXPECT_EQ(before + 2, platform::OpenHandleCount());
    }
    EXPECT_EQ(before, platform::OpenHandleCount());
}

}  // namespace
}  // namespace quillmark::test
