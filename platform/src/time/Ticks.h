// Between the system's clock and the ticks of a FILETIME.
#pragma once

#include <time.h>

#include <algorithm>
#include <limits>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

inline constexpr std::int64_t TicksPerSecond = 10'000'000;
// 1970-01-01 in seconds since 1601-01-01.
inline constexpr std::int64_t UnixEpochSeconds = 11'644'473'600;

// Ticks since 1601; negative for earlier moments. The nanoseconds are from 0 to 999,999,999. File systems can hold
// moments for which 64 bits of ticks are too few: these become the last or the first moment with a whole second.
[[nodiscard]] constexpr std::int64_t TicksFromUnixTime(const timespec& time) {
    constexpr std::int64_t MostSeconds = std::numeric_limits<std::int64_t>::max() / TicksPerSecond - 1;
    const std::int64_t seconds =
        std::clamp<std::int64_t>(time.tv_sec, -MostSeconds, MostSeconds - UnixEpochSeconds) + UnixEpochSeconds;
    return seconds * TicksPerSecond + time.tv_nsec / 100;
}

[[nodiscard]] constexpr std::uint64_t TicksOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

[[nodiscard]] constexpr FILETIME FileTimeOf(std::uint64_t ticks) {
    return {.dwLowDateTime = static_cast<DWORD>(ticks), .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
}

}  // namespace quillmark::platform
