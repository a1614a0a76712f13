#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "fakes/RecordingEventing.h"
#include "quillmark/AttributeTime.h"
#include "support/Wine.h"

namespace quillmark {
namespace {

// 2016-02-29T23:59:59Z.
constexpr std::int64_t LeapSecondBefore2016March = 131012639990000000;

std::int64_t TicksOf(std::string_view text) {
    return CAttributeTime::Parse(text).Ticks();
}

TEST(AttributeTimeTest, KeepsTheWholeFractionWhenItReads) {
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.9999999Z"), LeapSecondBefore2016March + 9999999);
}

TEST(AttributeTimeTest, PrintsMillisecondsAndDropsWhatIsFiner) {
    EXPECT_EQ(CAttributeTime::Parse("2016-02-29T23:59:59.9999999Z").ToText(), QM_W("2016-02-29T23:59:59.999Z"));
    EXPECT_EQ(CAttributeTime(LeapSecondBefore2016March).ToText(), QM_W("2016-02-29T23:59:59.000Z"));
    EXPECT_EQ(CAttributeTime(LeapSecondBefore2016March + 59999).ToText(), QM_W("2016-02-29T23:59:59.005Z"));
}

TEST(AttributeTimeTest, ScalesAShortFraction) {
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.5Z"), LeapSecondBefore2016March + 5000000);
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.123Z"), LeapSecondBefore2016March + 1230000);
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.05Z"), LeapSecondBefore2016March + 500000);
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.Z"), LeapSecondBefore2016March);
}

TEST(AttributeTimeTest, IgnoresFractionDigitsBehindTheSeventh) {
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.12345678999Z"), LeapSecondBefore2016March + 1234567);
}

TEST(AttributeTimeTest, ReadsTheEpochOfItsScaleAndTheLastYear) {
    EXPECT_EQ(TicksOf("1601-01-01T00:00:00.0Z"), 0);
    EXPECT_EQ(TicksOf("1601-01-01T00:00:00.0000001Z"), 1);
    EXPECT_EQ(TicksOf("1970-01-01T00:00:00.0Z"), 116444736000000000);
    EXPECT_EQ(TicksOf("30827-12-31T23:59:59.9999999Z"), 9223149887999999999);
}

TEST(AttributeTimeTest, DoesNotReadATextWithoutAFraction) {
    EXPECT_FALSE(CAttributeTime::Parse("2016-02-29T23:59:59Z").IsSet());
    EXPECT_FALSE(CAttributeTime::Parse("2015-03-01T10:20:30Z").IsSet());
}

TEST(AttributeTimeTest, RemovesEveryTrailingZ) {
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.123ZZZ"), LeapSecondBefore2016March + 1230000);
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.123"), LeapSecondBefore2016March + 1230000);
}

TEST(AttributeTimeTest, ReadsNothingFromTextsThatDoNotScan) {
    for (const char* text :
         {"", "Z", "ZZZZ", ".", "2016", "2016-02-29", "2016-02-29 23:59:59.1Z", "2016-02-29t23:59:59.1Z",
          "2016/02/29T23:59:59.1Z", "x016-02-29T23:59:59.1Z", "2016-02-29T23:59:59,1Z", "2016-02-29T23:59.1Z",
          "2016 -02-29T23:59:59.1Z", "--T::.", "2016-02-29T23:59:59.x1Z", "2016-02-29T23:59:59.+-1Z",
          "\xEF\xBB\xBF"
          "2016-02-29T23:59:59.1Z",
          "\xFF\xFE"}) {
        EXPECT_EQ(TicksOf(text), CAttributeTime::Unset) << text;
    }
}

TEST(AttributeTimeTest, StopsAtAZeroByte) {
    using namespace std::string_view_literals;
    // The appended zeros stand behind the zero byte and scale nothing.
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.5\0Z"sv), LeapSecondBefore2016March + 5);
    EXPECT_EQ(TicksOf("2016-02-29\0T23:59:59.5Z"sv), CAttributeTime::Unset);
}

TEST(AttributeTimeTest, ReadsNoFurtherThanTheFraction) {
    // What stands behind the fraction keeps the appended zeros away from it, and is not looked at.
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.5+01:00"), LeapSecondBefore2016March + 5);
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.1234567 and more"), LeapSecondBefore2016March + 1234567);
}

TEST(AttributeTimeTest, SkipsBlanksAndTakesASignBeforeANumber) {
    EXPECT_EQ(TicksOf("  2016-\t02- 29T+23: 59:59.5Z"), LeapSecondBefore2016March + 5000000);
    // The sign is one of the fraction's seven characters.
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.+5Z"), LeapSecondBefore2016March + 500000);
}

TEST(AttributeTimeTest, ValuesADateThatIsNoneByItsFractionBelowTheMillisecond) {
    EXPECT_EQ(TicksOf("2016-02-30T23:59:59.1234567Z"), 4567);
    EXPECT_EQ(TicksOf("2016-02-30T23:59:59.5Z"), 0);
    EXPECT_EQ(TicksOf("0000-00-00T00:00:00.0000001Z"), 1);
    // Wine has a 29th of February in every year.
    EXPECT_THAT(TicksOf("2015-02-29T00:00:00.0000002Z"), test::OrUnderWine<std::int64_t>(2, 130696416000000002));
    EXPECT_EQ(TicksOf("2016-13-01T00:00:00.0000003Z"), 3);
    EXPECT_EQ(TicksOf("2016-12-01T24:00:00.0000004Z"), 4);
    EXPECT_EQ(TicksOf("2016-12-01T23:60:00.0000005Z"), 5);
    EXPECT_EQ(TicksOf("2016-12-31T23:59:60.0000006Z"), 6);
    EXPECT_EQ(TicksOf("1600-12-31T23:59:59.0000007Z"), 7);
    // Wine takes the year behind Windows' last one.
    EXPECT_THAT(TicksOf("30828-01-01T00:00:00.0000008Z"), test::OrUnderWine<std::int64_t>(8, 9223149888000000008));
}

TEST(AttributeTimeTest, CutsNumbersToTheirFields) {
    // 65536 + 2016, and 2^32 + 59: fields have 16 bits.
    EXPECT_EQ(TicksOf("67552-02-29T23:59:59.5Z"), LeapSecondBefore2016March + 5000000);
    EXPECT_EQ(TicksOf("2016-02-29T23:59:4294967355.5Z"), LeapSecondBefore2016March + 5000000);
    EXPECT_EQ(TicksOf("2016--65534-29T23:59:59.5Z"), LeapSecondBefore2016March + 5000000);
    EXPECT_EQ(TicksOf("2016--2-29T23:59:59.5Z"), 0);
}

TEST(AttributeTimeTest, GivesEveryLongNumberADefinedValue) {
    const std::string digits(100000, '9');
    EXPECT_EQ(TicksOf(digits + "-02-29T23:59:59.5Z"), 0);
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59." + digits + "Z"), LeapSecondBefore2016March + 9999999);
    // The year as 2^64 + 2016.
    EXPECT_EQ(TicksOf("18446744073709553632-02-29T23:59:59.5Z"), LeapSecondBefore2016March + 5000000);
}

TEST(AttributeTimeTest, GivesANegativeFractionADefinedValue) {
    // -500000 as 64 unsigned bits is 1844674407370905 milliseconds and 1616 ticks; cut to 16 bits the milliseconds are
    // no date's.
    EXPECT_EQ(TicksOf("2016-02-29T23:59:59.-5Z"), 1616);
}

TEST(AttributeTimeTest, PrintsInvalidWhenUnset) {
    EXPECT_EQ(CAttributeTime().ToText(), QM_W("INVALID"));
    EXPECT_EQ(CAttributeTime(0x7FFFFFFFFFFFFFFF).ToText(), QM_W("INVALID"));
}

TEST(AttributeTimeTest, PrintsZerosForATimeThatIsNoDate) {
    EXPECT_EQ(CAttributeTime(-1).ToText(), QM_W("0000-00-00T00:00:00.000Z"));
    EXPECT_EQ(CAttributeTime(std::numeric_limits<std::int64_t>::min()).ToText(), QM_W("0000-00-00T00:00:00.000Z"));
}

TEST(AttributeTimeTest, PrintsTheFirstTime) {
    EXPECT_EQ(CAttributeTime(0).ToText(), QM_W("1601-01-01T00:00:00.000Z"));
}

TEST(AttributeTimeTest, ConvertsToFileTimeAndBack) {
    const CAttributeTime time(0x0123456789ABCDEF);
    const FILETIME fileTime = time.ToFileTime();
    EXPECT_EQ(fileTime.dwHighDateTime, 0x01234567u);
    EXPECT_EQ(fileTime.dwLowDateTime, 0x89ABCDEFu);
    EXPECT_EQ(CAttributeTime::FromFileTime(fileTime), time);
    EXPECT_EQ(CAttributeTime::FromFileTime({0xFFFFFFFFu, 0x7FFFFFFFu}), CAttributeTime());
}

TEST(AttributeTimeTest, ComparesAsItsNumber) {
    EXPECT_LT(CAttributeTime(-1), CAttributeTime(0));
    EXPECT_LT(CAttributeTime(5), CAttributeTime());
    EXPECT_EQ(CAttributeTime(5), CAttributeTime(5));
}

TEST(AttributeTimeTest, NowLiesBetweenTwoReadingsOfTheClock) {
    FILETIME before = {};
    FILETIME after = {};
    ::GetSystemTimeAsFileTime(&before);
    const CAttributeTime now = CAttributeTime::Now();
    ::GetSystemTimeAsFileTime(&after);
    EXPECT_LE(CAttributeTime::FromFileTime(before), now);
    EXPECT_LE(now, CAttributeTime::FromFileTime(after));
}

TEST(AttributeTimeAssignment, LogsATextThatIsNoTime) {
    const fakes::RecordedLog log;
    CAttributeTime time(5);
    time = std::string("2015-01-01T00:00:00Z");
    EXPECT_FALSE(time.IsSet());
    EXPECT_EQ(log.Records().size(), 1u);
    EXPECT_TRUE(log.Has(103, "AttributeTime",
                        "CAttributeTime::operator =", "Error: [2015-01-01T00:00:00Z] is not a valid time"));
}

TEST(AttributeTimeAssignment, LogsTheEmptyTextToo) {
    const fakes::RecordedLog log;
    CAttributeTime time(5);
    time = std::string();
    EXPECT_FALSE(time.IsSet());
    EXPECT_TRUE(log.Has(103, "Error: [] is not a valid time"));
}

TEST(AttributeTimeAssignment, TakesATimeWithoutALogLine) {
    const fakes::RecordedLog log;
    CAttributeTime time;
    time = std::string("2016-02-29T23:59:59.5Z");
    EXPECT_EQ(time.Ticks(), LeapSecondBefore2016March + 5000000);
    EXPECT_TRUE(log.Records().empty());
}

}  // namespace
}  // namespace quillmark
