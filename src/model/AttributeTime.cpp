#include "quillmark/AttributeTime.h"

#include <cstddef>
#include <optional>

#include "common/Format.h"

namespace quillmark {
namespace {

constexpr std::uint64_t TicksPerMillisecond = 10000;

// Reads the fields of a time as the C library's scanning conversions do, which the text form is defined by: white space
// before a number is skipped and a sign is taken. Numbers count modulo 2^64; the caller cuts them to their field.
class Scanner {
public:
    explicit Scanner(std::string_view text) noexcept : m_rest(text) {}

    // A number of at most width characters, its sign among them.
    [[nodiscard]] std::optional<std::uint64_t> Number(std::size_t width = std::string_view::npos) noexcept {
        constexpr std::string_view Blanks = " \t\n\v\f\r";
        while (!m_rest.empty() && Blanks.find(m_rest.front()) != std::string_view::npos) {
            m_rest.remove_prefix(1);
        }
        const bool negative = !m_rest.empty() && m_rest.front() == '-';
        if (negative || (!m_rest.empty() && m_rest.front() == '+')) {
            m_rest.remove_prefix(1);
            --width;
        }
        std::uint64_t value = 0;
        std::size_t digits = 0;
        for (; digits < width && !m_rest.empty() && m_rest.front() >= '0' && m_rest.front() <= '9'; ++digits) {
            value = value * 10 + static_cast<std::uint64_t>(m_rest.front() - '0');
            m_rest.remove_prefix(1);
        }
        if (digits == 0) {
            return std::nullopt;
        }
        return negative ? 0 - value : value;
    }

    [[nodiscard]] bool Literal(char character) noexcept {
        if (m_rest.empty() || m_rest.front() != character) {
            return false;
        }
        m_rest.remove_prefix(1);
        return true;
    }

private:
    std::string_view m_rest;
};

struct ScannedTime {
    SYSTEMTIME date = {};        // without milliseconds
    std::uint64_t fraction = 0;  // 100 ns
};

// "year-month-dayThour:minute:second.fraction": all seven or nothing.
std::optional<ScannedTime> Scan(std::string_view text) noexcept {
    constexpr std::size_t FractionWidth = 7;
    Scanner scanner(text);
    ScannedTime time;
    const struct {
        WORD SYSTEMTIME::*field;
        char separator;
    } fields[] = {{&SYSTEMTIME::wYear, '-'}, {&SYSTEMTIME::wMonth, '-'},  {&SYSTEMTIME::wDay, 'T'},
                  {&SYSTEMTIME::wHour, ':'}, {&SYSTEMTIME::wMinute, ':'}, {&SYSTEMTIME::wSecond, '.'}};
    for (const auto& [field, separator] : fields) {
        const std::optional<std::uint64_t> number = scanner.Number();
        if (!number || !scanner.Literal(separator)) {
            return std::nullopt;
        }
        time.date.*field = static_cast<WORD>(*number);
    }
    const std::optional<std::uint64_t> fraction = scanner.Number(FractionWidth);
    if (!fraction) {
        return std::nullopt;
    }
    time.fraction = *fraction;
    return time;
}

}  // namespace

CAttributeTime CAttributeTime::Parse(std::string_view text) {
    std::string scaled(text.substr(0, text.find_last_not_of('Z') + 1));
    // Makes a short fraction seven digits: ".5" becomes ".5000000". A text without a fraction does not become a time by
    // this: the zeros go to its seconds, and no '.' follows.
    scaled += "000000";
    const std::optional<ScannedTime> scanned = Scan(scaled);
    if (!scanned) {
        return CAttributeTime();
    }
    SYSTEMTIME date = scanned->date;
    const std::uint64_t milliseconds = scanned->fraction / TicksPerMillisecond;
    date.wMilliseconds = static_cast<WORD>(milliseconds);
    // Zero for what is no date: the failure is not looked at.
    FILETIME time = {};
    static_cast<void>(::SystemTimeToFileTime(&date, &time));
    // The seven digits take the place of the milliseconds; unsigned, so that every text has a defined value.
    const auto ticks = static_cast<std::uint64_t>(FromFileTime(time).Ticks());
    return CAttributeTime(static_cast<std::int64_t>(ticks - milliseconds * TicksPerMillisecond + scanned->fraction));
}

CAttributeTime CAttributeTime::FromFileTime(const FILETIME& time) noexcept {
    return CAttributeTime(
        static_cast<std::int64_t>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime));
}

CAttributeTime CAttributeTime::Now() noexcept {
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    return FromFileTime(now);
}

FILETIME CAttributeTime::ToFileTime() const noexcept {
    const auto ticks = static_cast<std::uint64_t>(m_ticks);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

WideString CAttributeTime::ToText() const {
    if (!IsSet()) {
        return QM_W("INVALID");
    }
    const FILETIME time = ToFileTime();
    SYSTEMTIME date = {};  // a time before 1601 prints as zeros
    static_cast<void>(::FileTimeToSystemTime(&time, &date));
    return FormatWide(QM_W("%04d-%02d-%02dT%02d:%02d:%02d.%03dZ"), date.wYear, date.wMonth, date.wDay, date.wHour,
                      date.wMinute, date.wSecond, date.wMilliseconds);
}

}  // namespace quillmark
