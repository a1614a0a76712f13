// The text of one record: a line of UTF-8, whatever the message holds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "quillmark/Eventing.h"

namespace Eventing {

// What the record says of its place; null texts show as "(null)".
struct RecordPlace {
    const char* source;
    std::uint32_t line;
    const char* function;
};

// "2026-11-20T16:07:00.123Z information 101 NativeHttp:214 CNativeHttp::Login", the text when it is not empty, and the
// line's end.
[[nodiscard]] std::string RenderRecord(const SYSTEMTIME& time, const EventDescriptor& descriptor,
                                       const RecordPlace& place, std::string_view text);

// Replaces what would break the line or drive a terminal: line feed, carriage return and tab by \n, \r, \t; other
// control characters and bytes that are not UTF-8 by \x and two digits; control characters past ASCII and Unicode's own
// line separators by \u and four. Backslashes stay single.
[[nodiscard]] std::string EscapeText(std::string_view text);

}  // namespace Eventing
