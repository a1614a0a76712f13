// The time-out of name look-ups: only POSIX lets a test hold one up.
#include <gtest/gtest.h>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/StalledLookup.h"

namespace quillmark::test {
namespace {

TEST(TimeoutPosixTest, ResolvingEndsWithTheResolveTimeout) {
    constexpr int Short = 150;
    const StalledLookup lookup;
    const ScopedHandle session = OpenSession();
    ASSERT_TRUE(WinHttpSetTimeouts(session, Short, 0, 0, 0));
    const Stopwatch stopwatch;
    EXPECT_EQ(ERROR_WINHTTP_TIMEOUT, Send(OpenRequest(session, 80, "GET", "/", 0, StalledName)));
    EXPECT_GE(stopwatch.Milliseconds(), Short);
    EXPECT_LT(stopwatch.Milliseconds(), Short + 1000);
}

}  // namespace
}  // namespace quillmark::test
