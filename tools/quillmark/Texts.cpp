#include "Texts.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace quillmark::cli {
namespace {

// The whole text as a number.
template <typename Number>
std::optional<Number> ParseNumber(std::string_view text, int base = 10) {
    Number number = 0;
    const auto [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (failure != std::errc() || rest != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

int ShiftOfUnit(char unit) {
    switch (unit) {
        case 'K':
        case 'k':
            return 10;
        case 'M':
        case 'm':
            return 20;
        case 'G':
        case 'g':
            return 30;
        case 'T':
        case 't':
            return 40;
        default:
            return 0;
    }
}

std::optional<DWORD> AttributeBit(std::string_view name) {
    constexpr std::pair<std::string_view, DWORD> Names[] = {{"readonly", FILE_ATTRIBUTE_READONLY},
                                                            {"hidden", FILE_ATTRIBUTE_HIDDEN},
                                                            {"system", FILE_ATTRIBUTE_SYSTEM},
                                                            {"archive", FILE_ATTRIBUTE_ARCHIVE},
                                                            {"normal", FILE_ATTRIBUTE_NORMAL}};
    for (const auto& [known, bit] : Names) {
        if (name == known) {
            return bit;
        }
    }
    return std::nullopt;
}

void AppendHexadecimal(WideString& text, WideChar unit) {
    constexpr const char* Digits = "0123456789ABCDEF";
    text += QM_W("\\u");
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += static_cast<WideChar>(Digits[(unit >> shift) & 0xF]);
    }
}

bool IsHighSurrogate(WideChar unit) {
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(WideChar unit) {
    return (unit & 0xFC00) == 0xDC00;
}

// Whether the unit at this place stands in a text as it is.
bool IsPlain(const WideString& text, std::size_t index) {
    const WideChar unit = text[index];
    if (IsHighSurrogate(unit)) {
        return index + 1 < text.size() && IsLowSurrogate(text[index + 1]);
    }
    if (IsLowSurrogate(unit)) {
        return index > 0 && IsHighSurrogate(text[index - 1]);
    }
    return unit >= 0x20 && unit != QM_W('\\') && (unit < 0x7F || unit >= 0xA0);
}

void AppendEscaped(WideString& text, WideChar unit) {
    switch (unit) {
        case QM_W('\\'):
            text += QM_W("\\\\");
            break;
        case QM_W('\t'):
            text += QM_W("\\t");
            break;
        case QM_W('\n'):
            text += QM_W("\\n");
            break;
        case QM_W('\r'):
            text += QM_W("\\r");
            break;
        default:
            AppendHexadecimal(text, unit);
    }
}

// The unit that an escape stands for; index is at the character behind the backslash, and behind the escape afterwards.
std::optional<WideChar> TakeEscape(const WideString& text, std::size_t& index) {
    const WideChar letter = index < text.size() ? text[index++] : QM_W('\0');
    if (letter != QM_W('u')) {
        constexpr std::pair<WideChar, WideChar> Letters[] = {
            {QM_W('\\'), QM_W('\\')}, {QM_W('t'), QM_W('\t')}, {QM_W('n'), QM_W('\n')}, {QM_W('r'), QM_W('\r')}};
        for (const auto& [known, unit] : Letters) {
            if (letter == known) {
                return unit;
            }
        }
        return std::nullopt;
    }
    const auto number = ParseNumber<std::uint16_t>(NarrowUtf8(text.Substring(index, 4)), 16);
    if (!number || text.size() - index < 4) {
        return std::nullopt;
    }
    index += 4;
    return static_cast<WideChar>(*number);
}

}  // namespace

std::optional<std::int64_t> ParseSize(const std::string& text) {
    const int shift = text.empty() ? 0 : ShiftOfUnit(text.back());
    const auto number =
        ParseNumber<std::uint64_t>(std::string_view(text).substr(0, text.size() - (shift == 0 ? 0 : 1)));
    if (!number || *number > (static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) >> shift)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*number << shift);
}

std::string HumanSize(std::int64_t bytes) {
    constexpr std::string_view Units = "KMGTPE";
    if (bytes < 1024) {
        return std::to_string(bytes);
    }
    auto size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (std::round(size) >= 1024 && unit + 1 < Units.size()) {
        size /= 1024;
        ++unit;
    }
    const auto tenths = static_cast<std::int64_t>(std::round(size * 10));
    const std::string number = tenths < 100 ? std::to_string(tenths / 10) + "." + std::to_string(tenths % 10)
                                            : std::to_string(static_cast<std::int64_t>(std::round(size)));
    return number + Units[unit];
}

std::string Counted(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::optional<ByteRange> ParseByteRange(const std::string& text) {
    const std::size_t dash = text.find('-');
    if (dash == std::string::npos) {
        return std::nullopt;
    }
    const auto first = ParseSize(text.substr(0, dash));
    if (first && dash + 1 == text.size()) {
        return ByteRange{*first, ByteRange::ToTheEnd};
    }
    const auto end = ParseSize(text.substr(dash + 1));
    if (!first || !end || *end <= *first) {
        return std::nullopt;
    }
    return ByteRange{*first, *end};
}

std::optional<CAttributeTime> ParseTime(const std::string& text) {
    if (text == "now") {
        return CAttributeTime::Now();
    }
    // "2026-01-02T03:04:05" and, behind it, the fraction and the mark of UTC.
    constexpr std::size_t Seconds = 19;
    if (text.size() <= Seconds || text.back() != 'Z') {
        return std::nullopt;
    }
    std::string fraction = text.substr(Seconds, text.size() - Seconds - 1);
    if (fraction.empty()) {
        fraction = ".000";
    }
    const bool digits = fraction.size() > 1 && fraction.size() <= 8 && fraction.front() == '.' &&
                        fraction.find_first_not_of("0123456789", 1) == std::string::npos;
    const CAttributeTime time = CAttributeTime::Parse(text.substr(0, Seconds) + fraction + "Z");
    // A date that is none, the 30th of February, does not come back as it went in.
    if (!digits || !time.IsSet() || NarrowUtf8(time.ToText()).substr(0, Seconds) != text.substr(0, Seconds)) {
        return std::nullopt;
    }
    return time;
}

std::optional<DWORD> ParseFileAttributes(const std::string& text) {
    if (text.starts_with("0x")) {
        return ParseNumber<DWORD>(text.substr(2), 16);
    }
    if (const auto number = ParseNumber<DWORD>(text)) {
        return number;
    }
    DWORD attributes = 0;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        const auto bit = AttributeBit(std::string_view(text).substr(start, comma - start));
        if (!bit) {
            return std::nullopt;
        }
        attributes |= *bit;
        start = comma + 1;
    }
    return attributes;
}

std::string GuidText(const GUID& guid) {
    WideChar text[39] = {};
    StringFromGUID2(guid, text, 39);
    return NarrowUtf8(WideView(text + 1, 36));
}

std::optional<GUID> ParseGuid(const std::string& text) {
    const bool braces = text.size() == 38 && text.front() == '{' && text.back() == '}';
    const std::string inner = braces ? text.substr(1, 36) : text;
    GUID guid = {};
    if (inner.size() != 36 || IIDFromString(WidenUtf8("{" + inner + "}").c_str(), &guid) != S_OK) {
        return std::nullopt;
    }
    return guid;
}

std::string Escaped(const WideString& text) {
    WideString escaped;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (IsPlain(text, index)) {
            escaped += text[index];
        } else {
            AppendEscaped(escaped, text[index]);
        }
    }
    return NarrowUtf8(escaped);
}

std::optional<WideString> Unescaped(const std::string& field) {
    const WideString escaped = WidenUtf8(field);
    WideString text;
    for (std::size_t index = 0; index < escaped.size();) {
        const WideChar unit = escaped[index++];
        if (unit != QM_W('\\')) {
            text += unit;
            continue;
        }
        const auto meant = TakeEscape(escaped, index);
        if (!meant) {
            return std::nullopt;
        }
        text += *meant;
    }
    return text;
}

}  // namespace quillmark::cli
