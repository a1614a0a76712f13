#include "files/FileInfo.h"

#include <gtest/gtest.h>

#include <limits>

#include "time/Ticks.h"

namespace {

using namespace quillmark::platform;

TEST(FileInfoTest, GivesTimesInTicksSince1601) {
    EXPECT_EQ(TicksOf(ToFileTime(0, 0)), 116444736000000000u);
    EXPECT_EQ(TicksOf(ToFileTime(1709210096, 789000199)), 133536836967890001u);
    EXPECT_EQ(TicksOf(ToFileTime(-1, 999999999)), 116444735999999999u);
}

// File systems keep seconds in 64 bits, so a file may carry any of these.
TEST(FileInfoTest, TimesThatNoTickCanTellBecomeTheFirstOrTheLast) {
    EXPECT_EQ(TicksOf(ToFileTime(-11644473601, 999999999)), 0u);
    EXPECT_EQ(TicksOf(ToFileTime(std::numeric_limits<std::int64_t>::min(), 0)), 0u);
    EXPECT_EQ(TicksOf(ToFileTime(std::numeric_limits<std::int64_t>::max(), 999999999)), 9223372036849999999u);
}

}  // namespace
