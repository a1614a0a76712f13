// Between the system's clock and the ticks of a FILETIME.
#pragma once

#include <time.h>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
// 1970-01-01 in seconds since 1601-01-01.
inline constexpr std::int64_t kUnixEpochSeconds = 11'644'473'600;

// Ticks since 1601; negative for earlier moments. The nanoseconds are from 0 to 999,999,999.
[[nodiscard]] constexpr std::int64_t TicksFromUnixTime(const timespec& time) {
    return (time.tv_sec + kUnixEpochSeconds) * kTicksPerSecond + time.tv_nsec / 100;
}

[[nodiscard]] constexpr timespec UnixTimeFromTicks(std::int64_t ticks) {
    std::int64_t seconds = ticks / kTicksPerSecond;
    std::int64_t rest = ticks % kTicksPerSecond;
    if (rest < 0) {
        --seconds;
        rest += kTicksPerSecond;
    }
    return {.tv_sec = seconds - kUnixEpochSeconds, .tv_nsec = rest * 100};
}

[[nodiscard]] constexpr std::uint64_t TicksOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

[[nodiscard]] constexpr FILETIME FileTimeOf(std::uint64_t ticks) {
    return {.dwLowDateTime = static_cast<DWORD>(ticks), .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
}

}  // namespace quillmark::platform
