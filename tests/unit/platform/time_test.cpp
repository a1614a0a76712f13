#include <gtest/gtest.h>

#include <ctime>

#include "quillmark/Platform.h"
#include "support/Wine.h"

namespace {

using quillmark::test::UnderWine;

std::uint64_t Ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME FileTime(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

struct Pair {
    SYSTEMTIME time;
    std::uint64_t ticks;
};

// Year, month, day of week, day, hour, minute, second, millisecond.
const Pair Pairs[] = {
    {{1601, 1, 1, 1, 0, 0, 0, 0}, 0},
    {{1900, 2, 3, 28, 23, 59, 59, 999}, 94405823999990000},
    {{1970, 1, 4, 1, 0, 0, 0, 0}, 116444736000000000},
    {{2000, 2, 2, 29, 0, 0, 0, 0}, 125962560000000000},
    {{2024, 2, 4, 29, 12, 34, 56, 789}, 133536836967890000},
    {{9999, 12, 5, 31, 23, 59, 59, 999}, 2650467743999990000},
};

TEST(TimeTest, ConvertsDatesToTicksAndIgnoresTheDayOfWeek) {
    for (const Pair& pair : Pairs) {
        SYSTEMTIME time = pair.time;
        time.wDayOfWeek = 99;
        FILETIME result = FileTime(1);
        EXPECT_TRUE(SystemTimeToFileTime(&time, &result)) << pair.ticks;
        EXPECT_EQ(Ticks(result), pair.ticks);
    }
}

TEST(TimeTest, ConvertsTicksToDatesWithTheDayOfWeek) {
    for (const Pair& pair : Pairs) {
        const FILETIME ticks = FileTime(pair.ticks);
        SYSTEMTIME result{};
        EXPECT_TRUE(FileTimeToSystemTime(&ticks, &result)) << pair.ticks;
        EXPECT_EQ(result.wYear, pair.time.wYear);
        EXPECT_EQ(result.wMonth, pair.time.wMonth);
        EXPECT_EQ(result.wDayOfWeek, pair.time.wDayOfWeek) << pair.ticks;
        EXPECT_EQ(result.wDay, pair.time.wDay);
        EXPECT_EQ(result.wHour, pair.time.wHour);
        EXPECT_EQ(result.wMinute, pair.time.wMinute);
        EXPECT_EQ(result.wSecond, pair.time.wSecond);
        EXPECT_EQ(result.wMilliseconds, pair.time.wMilliseconds);
    }
}

TEST(TimeTest, TakesTheFirstAndTheLastYearAndNoneBeyond) {
    FILETIME result{};
    const SYSTEMTIME last = {30827, 12, 0, 31, 23, 59, 59, 999};
    EXPECT_TRUE(SystemTimeToFileTime(&last, &result));
    EXPECT_EQ(Ticks(result), 9223149887999990000u);
    for (const WORD year : {WORD{0}, WORD{1600}, WORD{30828}, WORD{65535}}) {
        const SYSTEMTIME time = {year, 1, 0, 1, 0, 0, 0, 0};
        result = FileTime(5);
        SetLastError(0);
        const BOOL converted = SystemTimeToFileTime(&time, &result);
        if (UnderWine() && year == 30828 && converted != FALSE) {
            continue;  // Wine takes the year behind Windows' last one
        }
        EXPECT_FALSE(converted) << year;
        EXPECT_EQ(GetLastError(), 87u);
        EXPECT_EQ(Ticks(result), 5u);
    }
}

TEST(TimeTest, RefusesTimesThatAreNone) {
    const SYSTEMTIME none[] = {
        {2024, 0, 0, 1, 0, 0, 0, 0},    {2024, 13, 0, 1, 0, 0, 0, 0},   {2024, 1, 0, 0, 0, 0, 0, 0},
        {2024, 1, 0, 32, 0, 0, 0, 0},   {2024, 4, 0, 31, 0, 0, 0, 0},   {2023, 2, 0, 29, 0, 0, 0, 0},
        {1900, 2, 0, 29, 0, 0, 0, 0},   {2024, 1, 0, 1, 24, 0, 0, 0},   {2024, 1, 0, 1, 0, 60, 0, 0},
        {2024, 1, 0, 1, 23, 59, 60, 0}, {2024, 1, 0, 1, 0, 0, 0, 1000}, {2024, 257, 0, 1, 0, 0, 0, 0},
        {2024, 1, 0, 257, 0, 0, 0, 0},
    };
    for (const SYSTEMTIME& time : none) {
        FILETIME result = FileTime(5);
        SetLastError(0);
        const BOOL converted = SystemTimeToFileTime(&time, &result);
        if (UnderWine() && time.wMonth == 2 && time.wDay == 29 && converted != FALSE) {
            continue;  // Wine has this day in every year
        }
        EXPECT_FALSE(converted) << time.wMonth << '-' << time.wDay;
        EXPECT_EQ(GetLastError(), 87u);
        EXPECT_EQ(Ticks(result), 5u);
    }
}

TEST(TimeTest, CutsPartsOfAMillisecondOff) {
    const FILETIME ticks = FileTime(133536836967890000 + 9999);
    SYSTEMTIME result{};
    EXPECT_TRUE(FileTimeToSystemTime(&ticks, &result));
    EXPECT_EQ(result.wSecond, 56);
    EXPECT_EQ(result.wMilliseconds, 789);
}

TEST(TimeTest, TakesTicksUpTo63BitsOnly) {
    SYSTEMTIME result{};
    const FILETIME greatest = FileTime(0x7FFFFFFFFFFFFFFF);
    EXPECT_TRUE(FileTimeToSystemTime(&greatest, &result));
    EXPECT_EQ(result.wYear, 30828);
    EXPECT_EQ(result.wMonth, 9);
    EXPECT_EQ(result.wDay, 14);
    EXPECT_EQ(result.wHour, 2);
    EXPECT_EQ(result.wMinute, 48);
    EXPECT_EQ(result.wSecond, 5);
    EXPECT_EQ(result.wMilliseconds, 477);
    const FILETIME tooGreat = FileTime(0x8000000000000000);
    result.wYear = 1;
    SetLastError(0);
    EXPECT_FALSE(FileTimeToSystemTime(&tooGreat, &result));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(result.wYear, 1);
}

TEST(TimeTest, TellsTheTimeOfDayInUtc) {
    const std::time_t before = std::time(nullptr);
    FILETIME ticks{};
    GetSystemTimeAsFileTime(&ticks);
    SYSTEMTIME time{};
    GetSystemTime(&time);
    const std::time_t after = std::time(nullptr);
    const auto seconds = static_cast<std::time_t>(Ticks(ticks) / 10000000) - 11644473600;
    // The whole seconds come from a coarser clock, which may lag.
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, after + 1);
    FILETIME again{};
    ASSERT_TRUE(SystemTimeToFileTime(&time, &again));
    EXPECT_LE(Ticks(again) / 10000000 - Ticks(ticks) / 10000000, 5u);
}

}  // namespace
