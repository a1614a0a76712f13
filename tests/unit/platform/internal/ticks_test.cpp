#include "time/Ticks.h"

#include <gtest/gtest.h>

namespace {

using namespace quillmark::platform;

TEST(TicksTest, CountsFromTheYear1601InBothDirections) {
    EXPECT_EQ(TicksFromUnixTime({.tv_sec = 0, .tv_nsec = 0}), 116444736000000000);
    EXPECT_EQ(TicksFromUnixTime({.tv_sec = 1709210096, .tv_nsec = 789000199}), 133536836967890001);
    EXPECT_EQ(TicksFromUnixTime({.tv_sec = -11644473600, .tv_nsec = 0}), 0);
    EXPECT_EQ(TicksFromUnixTime({.tv_sec = -11644473601, .tv_nsec = 999999900}), -1);
}

TEST(TicksTest, MomentsBeyondTheLastTickStayWithinIt) {
    EXPECT_EQ(TicksFromUnixTime({.tv_sec = std::numeric_limits<time_t>::max(), .tv_nsec = 999999999}),
              922337203684 * std::int64_t{10000000} + 9999999);
    EXPECT_LT(TicksFromUnixTime({.tv_sec = std::numeric_limits<time_t>::min(), .tv_nsec = 0}), 0);
}

TEST(TicksTest, SplitsAndJoinsTheHalvesOfAFiletime) {
    const FILETIME time = FileTimeOf(0x0123456789ABCDEF);
    EXPECT_EQ(time.dwHighDateTime, 0x01234567u);
    EXPECT_EQ(time.dwLowDateTime, 0x89ABCDEFu);
    EXPECT_EQ(TicksOf(time), 0x0123456789ABCDEFu);
}

}  // namespace
