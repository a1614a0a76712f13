// Times of items: 100-nanosecond steps since 1601-01-01 00:00 UTC, in a signed 64-bit count, and their text on the
// wire, "2016-02-29T23:59:59.123Z".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace appliance {

using Ticks = std::int64_t;

// Now.
Ticks CurrentTicks();

// Reads year, month, day, hour, minute, second and up to seven fraction digits (also none), then "Z". Empty when the
// text is anything else or names no date between the years 1601 and 30827.
std::optional<Ticks> ParseTicks(std::string_view text);

// Three fraction digits, seven when the time has parts of a millisecond.
std::string FormatTicks(Ticks ticks);

}  // namespace appliance
