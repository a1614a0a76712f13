// CAttributeTime: a time of a server item. 100 ns intervals since 1601-01-01 00:00 UTC (the scale of FILETIME), with
// 0x7FFFFFFFFFFFFFFF for "unset".
//
// Its text form is ISO-8601 with milliseconds, "2016-02-29T23:59:59.123Z"; read from text it keeps the whole fraction,
// to 100 ns. A text without a fraction is not a time to this system: the server always sends one.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "quillmark/WideString.h"

namespace quillmark {

class CAttributeTime {
public:
    static constexpr std::int64_t Unset = 0x7FFFFFFFFFFFFFFF;

    constexpr CAttributeTime() noexcept = default;
    constexpr explicit CAttributeTime(std::int64_t ticks) noexcept : m_ticks(ticks) {}

    // Reads a text; what does not scan gives the unset time. A text that scans but names no real date gives what the
    // fraction alone amounts to. Does not log: for hosts.
    [[nodiscard]] static CAttributeTime Parse(std::string_view text);
    [[nodiscard]] static CAttributeTime FromFileTime(const FILETIME& time) noexcept;
    // The system's present time.
    [[nodiscard]] static CAttributeTime Now() noexcept;

    // As Parse, and logs "Error: [%s] is not a valid time". Part of the library, not of the host library: it needs the
    // logging context.
    CAttributeTime& operator=(const std::string& text);

    [[nodiscard]] constexpr std::int64_t Ticks() const noexcept { return m_ticks; }
    [[nodiscard]] constexpr bool IsSet() const noexcept { return m_ticks != Unset; }
    [[nodiscard]] FILETIME ToFileTime() const noexcept;
    // "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", or "INVALID" when unset.
    [[nodiscard]] WideString ToText() const;

    friend constexpr auto operator<=>(const CAttributeTime&, const CAttributeTime&) noexcept = default;

private:
    std::int64_t m_ticks = Unset;
};

}  // namespace quillmark
