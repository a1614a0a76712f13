#include "quillmark/platform/Time.h"

#include <chrono>
#include <limits>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"
#include "time/Ticks.h"

using namespace quillmark::platform;
namespace chrono = std::chrono;

namespace {

constexpr WORD FirstYear = 1601;
constexpr WORD LastYear = 30827;
constexpr std::uint64_t TicksPerMillisecond = 10'000;
constexpr chrono::sys_days Epoch = chrono::year{1601} / chrono::January / 1;

using Ticks = chrono::duration<std::int64_t, std::ratio<1, TicksPerSecond>>;

BOOL RefuseParameter() {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

chrono::year_month_day DateOf(const SYSTEMTIME& time) {
    return chrono::year{time.wYear} / chrono::month{time.wMonth} / chrono::day{time.wDay};
}

bool IsValid(const SYSTEMTIME& time) {
    // Month and day are looked at first because std::chrono's types keep only their low eight bits.
    return time.wYear >= FirstYear && time.wYear <= LastYear && time.wMonth <= 12 && time.wDay <= 31 &&
           DateOf(time).ok() && time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

SYSTEMTIME SystemTimeOf(std::uint64_t ticks) {
    const auto sinceEpoch = Ticks(static_cast<std::int64_t>(ticks));
    const auto days = chrono::floor<chrono::days>(sinceEpoch);
    const chrono::year_month_day date(Epoch + days);
    const chrono::hh_mm_ss<Ticks> time(sinceEpoch - days);
    SYSTEMTIME result{};
    result.wYear = static_cast<WORD>(static_cast<int>(date.year()));
    result.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    result.wDayOfWeek = static_cast<WORD>(chrono::weekday(Epoch + days).c_encoding());
    result.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    result.wHour = static_cast<WORD>(time.hours().count());
    result.wMinute = static_cast<WORD>(time.minutes().count());
    result.wSecond = static_cast<WORD>(time.seconds().count());
    result.wMilliseconds = static_cast<WORD>(chrono::floor<chrono::milliseconds>(time.subseconds()).count());
    return result;
}

std::uint64_t TicksNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(TicksFromUnixTime(now));
}

}  // namespace

BOOL WINAPI SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime) {
    if (lpSystemTime == nullptr || lpFileTime == nullptr || !IsValid(*lpSystemTime)) {
        return RefuseParameter();
    }
    const SYSTEMTIME& time = *lpSystemTime;
    const auto milliseconds = chrono::milliseconds(chrono::sys_days(DateOf(time)) - Epoch) + chrono::hours(time.wHour) +
                              chrono::minutes(time.wMinute) + chrono::seconds(time.wSecond) +
                              chrono::milliseconds(time.wMilliseconds);
    *lpFileTime = FileTimeOf(static_cast<std::uint64_t>(milliseconds.count()) * TicksPerMillisecond);
    return TRUE;
}

BOOL WINAPI FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime) {
    if (lpFileTime == nullptr || lpSystemTime == nullptr ||
        TicksOf(*lpFileTime) > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return RefuseParameter();
    }
    *lpSystemTime = SystemTimeOf(TicksOf(*lpFileTime));
    return TRUE;
}

void WINAPI GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime) {
    *lpSystemTimeAsFileTime = FileTimeOf(TicksNow());
}

void WINAPI GetSystemTime(LPSYSTEMTIME lpSystemTime) {
    *lpSystemTime = SystemTimeOf(TicksNow());
}
