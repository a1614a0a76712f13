#include "common/Format.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace quillmark {
namespace {

using detail::FormatConversion;
using detail::FormatKind;

// The text up to its end or the precision, whichever comes first; an unterminated text is never read past the
// precision.
template <typename Char>
std::basic_string_view<Char> BoundedText(const Char* text, int precision) {
    if (precision < 0) {
        return text;
    }
    const auto limit = static_cast<std::size_t>(precision);
    std::size_t length = 0;
    while (length < limit && text[length] != 0) {
        ++length;
    }
    return {text, length};
}

// A precision that falls inside a character leaves the whole character out.
std::string_view WholeCharacters(std::string_view text, bool cut) {
    std::size_t start = text.size();
    while (cut && start > 0 && text.size() - start < 4) {
        const auto byte = static_cast<unsigned char>(text[--start]);
        if ((byte & 0xC0) != 0x80) {
            const std::size_t needed = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
            return text.size() - start < needed ? text.substr(0, start) : text;
        }
    }
    return text;
}

WideView WholeCharacters(WideView text, bool cut) {
    const bool endsInHalf = !text.empty() && text.back() >= 0xD800 && text.back() <= 0xDBFF;
    return cut && endsInHalf ? text.substr(0, text.size() - 1) : text;
}

template <typename To, typename From>
std::basic_string<To> Convert(std::basic_string_view<From> text) {
    if constexpr (std::is_same_v<To, From>) {
        return std::basic_string<To>(text);
    } else if constexpr (sizeof(To) == 1) {
        return NarrowUtf8(text);
    } else {
        return std::basic_string<To>(WidenUtf8(text).view());
    }
}

template <typename Char>
void AppendPadded(std::basic_string<Char>& out, const FormatConversion& conversion, std::size_t length,
                  std::basic_string_view<Char> text) {
    const auto width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = width > length ? width - length : 0;
    if (!conversion.left) {
        out.append(padding, Char{' '});
    }
    out.append(text);
    if (conversion.left) {
        out.append(padding, Char{' '});
    }
}

template <typename Char, typename Text>
void AppendText(std::basic_string<Char>& out, const FormatConversion& conversion, const Text* text) {
    static constexpr Text null[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
    const std::basic_string_view<Text> bounded = BoundedText(text == nullptr ? null : text, conversion.precision);
    const bool cut = conversion.precision >= 0 && bounded.size() == static_cast<std::size_t>(conversion.precision);
    const std::basic_string_view<Text> whole = WholeCharacters(bounded, cut);
    AppendPadded<Char>(out, conversion, whole.size(), Convert<Char>(whole));
}

// The digits of a number, the last one first.
std::string ReversedDigits(std::uint64_t number, unsigned base, bool upper) {
    const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string text;
    for (; number != 0; number /= base) {
        text.push_back(digits[number % base]);
    }
    return text;
}

// Sign or base prefix, zeros and digits of an integer whose bits were cut to the conversion's size.
std::string IntegerText(const FormatConversion& conversion, std::uint64_t bits) {
    const bool isSigned = conversion.letter == 'd' || conversion.letter == 'i';
    const unsigned shift = 64U - static_cast<unsigned>(conversion.bits);
    const auto value = static_cast<std::int64_t>(bits << shift) >> shift;
    const bool negative = isSigned && value < 0;
    const std::uint64_t magnitude = negative ? 0 - static_cast<std::uint64_t>(value) : (bits << shift) >> shift;

    const bool hexadecimal = conversion.letter == 'x' || conversion.letter == 'X';
    std::string prefix;
    if (isSigned) {
        prefix = negative ? "-" : conversion.plus ? "+" : conversion.space ? " " : "";
    } else if (hexadecimal && conversion.alternate && magnitude != 0) {
        prefix = conversion.letter == 'x' ? "0x" : "0X";
    }
    std::string text = ReversedDigits(magnitude,
                                      hexadecimal                ? 16
                                      : conversion.letter == 'o' ? 8
                                                                 : 10,
                                      conversion.letter == 'X');
    std::size_t digits = static_cast<std::size_t>(conversion.precision < 0 ? 1 : conversion.precision);
    if (conversion.letter == 'o' && conversion.alternate) {
        digits = std::max(digits, text.size() + 1);
    }
    const auto width = static_cast<std::size_t>(conversion.width);
    if (conversion.zero && !conversion.left && conversion.precision < 0 && width > prefix.size()) {
        digits = std::max(digits, width - prefix.size());
    }
    text.append(digits > text.size() ? digits - text.size() : 0, '0');
    std::ranges::reverse(text);
    return prefix + text;
}

template <typename Char>
void AppendAscii(std::basic_string<Char>& out, const FormatConversion& conversion, const std::string& text) {
    AppendPadded<Char>(out, conversion, text.size(), std::basic_string<Char>(text.begin(), text.end()));
}

template <typename Char>
void AppendPointer(std::basic_string<Char>& out, FormatConversion conversion, const void* pointer) {
    conversion.letter = 'X';
    conversion.bits = 64;
    conversion.precision = 16;
    AppendAscii(out, conversion, IntegerText(conversion, reinterpret_cast<std::uintptr_t>(pointer)));
}

// False when the value is not of the kind that the conversion takes.
template <typename Char>
bool AppendValue(std::basic_string<Char>& out, const FormatConversion& conversion, const FormatValue& value) {
    const FormatKind kind = detail::FormatKindOf(conversion, sizeof(Char) > 1);
    if (value.index() != static_cast<std::size_t>(kind)) {
        return false;
    }
    switch (kind) {
        case FormatKind::NarrowText:
            AppendText(out, conversion, std::get<const char*>(value));
            break;
        case FormatKind::WideText:
            AppendText(out, conversion, std::get<const WideChar*>(value));
            break;
        case FormatKind::Pointer:
            AppendPointer(out, conversion, std::get<const void*>(value));
            break;
        case FormatKind::Integer64:
            AppendAscii(out, conversion, IntegerText(conversion, std::get<std::uint64_t>(value)));
            break;
        default:
            if (conversion.letter == 'c') {
                const auto unit = static_cast<Char>(std::get<std::uint32_t>(value));
                AppendPadded<Char>(out, conversion, 1, {&unit, 1});
            } else {
                AppendAscii(out, conversion, IntegerText(conversion, std::get<std::uint32_t>(value)));
            }
            break;
    }
    return true;
}

template <typename Char>
std::basic_string<Char> Run(const Char* format, std::span<const FormatValue> values) {
    std::basic_string<Char> out;
    std::size_t used = 0;
    std::basic_string_view<Char> rest(format);
    while (!rest.empty()) {
        const std::size_t percent = std::min(rest.find(Char{'%'}), rest.size());
        out.append(rest.substr(0, percent));
        rest.remove_prefix(percent);
        if (rest.size() > 1 && rest[1] == '%') {
            out.push_back(Char{'%'});
            rest.remove_prefix(2);
        } else if (!rest.empty()) {
            const Char* cursor = rest.data() + 1;
            FormatConversion conversion;
            if (!detail::ParseFormatConversion(cursor, conversion) || used == values.size() ||
                !AppendValue(out, conversion, values[used++])) {
                out.append(rest);
                break;
            }
            rest.remove_prefix(static_cast<std::size_t>(cursor - rest.data()));
        }
    }
    return out;
}

}  // namespace

std::string FormatValues(const char* format, std::span<const FormatValue> values) {
    return Run(format, values);
}

std::basic_string<WideChar> FormatValues(const WideChar* format, std::span<const FormatValue> values) {
    return Run(format, values);
}

std::string FormatVarargs(const char* format, std::va_list arguments) {
    std::vector<FormatValue> values;
    for (const char* cursor = format; *cursor != 0;) {
        if (*cursor++ != '%') {
            continue;
        }
        if (*cursor == '%') {
            ++cursor;
            continue;
        }
        FormatConversion conversion;
        if (!detail::ParseFormatConversion(cursor, conversion)) {
            break;
        }
        switch (detail::FormatKindOf(conversion, false)) {
            case FormatKind::NarrowText:
                values.emplace_back(va_arg(arguments, const char*));
                break;
            case FormatKind::WideText:
                values.emplace_back(va_arg(arguments, const WideChar*));
                break;
            case FormatKind::Pointer:
                values.emplace_back(va_arg(arguments, const void*));
                break;
            case FormatKind::Integer64:
                values.emplace_back(va_arg(arguments, std::uint64_t));
                break;
            default:
                values.emplace_back(va_arg(arguments, std::uint32_t));
                break;
        }
    }
    return FormatValues(format, values);
}

}  // namespace quillmark
