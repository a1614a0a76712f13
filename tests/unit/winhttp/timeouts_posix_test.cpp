// The time-out of name look-ups, which only POSIX lets a test hold up, and the one for heads: WinHTTP has a setting of
// its own for these, here it is the receive time-out.
// And that of the handshake, for which Wine waits without end.
#include <gtest/gtest.h>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/StalledLookup.h"

namespace quillmark::test {
namespace {

constexpr int Short = 150;

TEST(TimeoutPosixTest, ResolvingEndsWithTheResolveTimeout) {
    const StalledLookup lookup;
    const ScopedHandle session = OpenSession();
    ASSERT_TRUE(WinHttpSetTimeouts(session, Short, 0, 0, 0));
    const Stopwatch stopwatch;
    EXPECT_EQ(ERROR_WINHTTP_TIMEOUT, Send(OpenRequest(session, 80, "GET", "/", 0, StalledName)));
    EXPECT_GE(stopwatch.Milliseconds(), Short);
    EXPECT_LT(stopwatch.Milliseconds(), Short + 1000);
}

TEST(TimeoutPosixTest, ReceiveTimeoutHoldsForTheHeadAsWell) {
    const ScopedHandle session = OpenSession();
    ASSERT_TRUE(WinHttpSetTimeouts(session, 1, 2, 3, 4));
    DWORD value = 0;
    DWORD size = sizeof(value);
    ASSERT_TRUE(WinHttpQueryOption(session, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, &value, &size));
    EXPECT_EQ(4u, value);
}

TEST(TimeoutPosixTest, HandshakeEndsWithTheSendTimeout) {
    RawServer server([](Peer& peer) { peer.ReadToEnd(); });
    const ScopedHandle session = OpenSession();
    ASSERT_TRUE(WinHttpSetTimeouts(session, 0, 0, Short, 0));
    const Stopwatch stopwatch;
    EXPECT_EQ(ERROR_WINHTTP_TIMEOUT, Send(OpenRequest(session, server.Port(), "GET", "/", WINHTTP_FLAG_SECURE)));
    EXPECT_GE(stopwatch.Milliseconds(), Short);
    EXPECT_LT(stopwatch.Milliseconds(), Short + 1000);
}

}  // namespace
}  // namespace quillmark::test
