// How fast bytes move, by a clock of the test's own.
#include <gtest/gtest.h>

#include "terminal/RateMeter.h"

namespace quillmark::cli {
namespace {

using std::chrono::milliseconds;

TimePoint At(int time) {
    return TimePoint() + std::chrono::hours(1) + milliseconds(time);
}

TEST(RateMeterTest, KnowsNothingInTheFirstHalfSecond) {
    RateMeter meter(At(0));
    meter.Moved(1000, At(100));
    EXPECT_FALSE(meter.Rate(At(499)));
    EXPECT_EQ(2000, meter.Rate(At(500)));
}

TEST(RateMeterTest, CountsFromTheStartInTheFirstSeconds) {
    RateMeter meter(At(0));
    meter.Moved(1000, At(1000));
    meter.Moved(3000, At(4000));
    EXPECT_EQ(1000, meter.Rate(At(4000)));
    EXPECT_EQ(800, meter.Rate(At(5000)));
}

TEST(RateMeterTest, ForgetsWhatIsOlderThanFiveSeconds) {
    RateMeter meter(At(0));
    meter.Moved(1'000'000, At(1000));
    meter.Moved(5000, At(8000));
    meter.Moved(5000, At(10'000));
    EXPECT_EQ(2000, meter.Rate(At(10'000)));
}

TEST(RateMeterTest, FallsToNothingInAStandstill) {
    RateMeter meter(At(0));
    meter.Moved(10'000, At(1000));
    EXPECT_EQ(2000, meter.Rate(At(5000)));
    EXPECT_EQ(0, meter.Rate(At(60'000)));
    meter.Moved(10'000, At(60'000));
    EXPECT_EQ(2000, meter.Rate(At(60'000)));
}

TEST(RateMeterTest, ManySmallStepsAreAsGoodAsLargeOnes) {
    RateMeter meter(At(0));
    for (int time = 1; time <= 20'000; ++time) {
        meter.Moved(1000, At(time));
    }
    // Steps share a sample for a tenth of a second.
    EXPECT_NEAR(1'000'000, meter.Rate(At(20'000)).value(), 20'000);
}

}  // namespace
}  // namespace quillmark::cli
