// Format: printf-style formatting with the meaning that Windows gives the conversions, the same on every system.
//
//   %d %i        32-bit signed        %u %x %X %o   32-bit unsigned     %lu %ld %lx   32-bit as well
//   %I64d %lld   64-bit signed        %I64u %llu    64-bit unsigned     %hu %hd       16-bit
//   %s %S        text: in a narrow format %s is narrow (UTF-8) and %S wide; in a wide format the other way round
//   %c           one character        %p            a pointer           %%            a per cent sign
// with flags (-, 0, #, space, +), width and precision as usual, both written as numbers. A pointer prints as 16
// upper-case hexadecimal digits. Width and precision of a text count units of the text as it was given, and a precision
// never cuts a surrogate pair. There is no floating point and no "*".
//
// The formatted text is UTF-8 (narrow) or UTF-16 (wide); a text of the other kind is converted, U+FFFD for what is
// malformed. Null text prints as "(null)".
//
// A format is checked against the argument types at compile time (CheckedFormat); a mismatch does not compile. Handles
// are pointers and do not fit "%x": log them with HandleNumber (Log.h). The same engine reads C varargs for the
// eventing library (FormatVarargs).
//
//   std::string size = Format("%I64u", bytes);
//   WideString header = FormatWide(QM_W("Cookie: session_token=%s"), token);
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>
#include <variant>

#include "quillmark/WideString.h"

namespace quillmark {

// Arguments as C varargs take them: pointers to terminated text, enumerations as their numbers, the rest as it is.
inline const char* FormatArgument(const std::string& text) noexcept {
    return text.c_str();
}
inline const WideChar* FormatArgument(const WideString& text) noexcept {
    return text.c_str();
}
template <typename T>
requires std::is_scalar_v<T>
constexpr auto FormatArgument(T value) noexcept {
    if constexpr (std::is_enum_v<T>) {
        return static_cast<std::underlying_type_t<T>>(value);
    } else {
        return value;
    }
}

// One argument as the engine takes it. Integers are given as their bits, sign-extended to 32 or 64; the conversion
// decides how they read.
using FormatValue = std::variant<std::uint32_t, std::uint64_t, const char*, const WideChar*, const void*>;

namespace detail {

// In the order of FormatValue's alternatives.
enum class FormatKind : std::uint8_t { Integer32, Integer64, NarrowText, WideText, Pointer, None };

struct FormatConversion {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1;  // -1: none given
    int bits = 32;       // of an integer: 16, 32 or 64
    char letter = 0;
};

inline constexpr int FormatNumberLimit = 4096;

template <typename Char>
constexpr bool ParseFormatFlag(Char unit, FormatConversion& conversion) noexcept {
    switch (unit) {
        case '-':
            return conversion.left = true;
        case '+':
            return conversion.plus = true;
        case ' ':
            return conversion.space = true;
        case '#':
            return conversion.alternate = true;
        case '0':
            return conversion.zero = true;
        default:
            return false;
    }
}

template <typename Char>
constexpr bool ParseFormatNumber(const Char*& cursor, int& number) noexcept {
    number = 0;
    for (; *cursor >= '0' && *cursor <= '9'; ++cursor) {
        number = number * 10 + static_cast<int>(*cursor - '0');
        if (number > FormatNumberLimit) {
            return false;
        }
    }
    return true;
}

// Reads the size letters; only integers may have some.
template <typename Char>
constexpr bool ParseFormatSize(const Char*& cursor, FormatConversion& conversion) noexcept {
    if (cursor[0] == 'I' && cursor[1] == '6' && cursor[2] == '4') {
        cursor += 3;
        conversion.bits = 64;
    } else if (cursor[0] == 'l' && cursor[1] == 'l') {
        cursor += 2;
        conversion.bits = 64;
    } else if (cursor[0] == 'l') {
        ++cursor;
    } else if (cursor[0] == 'h') {
        ++cursor;
        conversion.bits = 16;
    } else {
        return false;
    }
    return true;
}

// Reads what follows a per cent sign and leaves the cursor behind it. False for what is no conversion of ours.
template <typename Char>
constexpr bool ParseFormatConversion(const Char*& cursor, FormatConversion& conversion) noexcept {
    while (ParseFormatFlag(*cursor, conversion)) {
        ++cursor;
    }
    if (!ParseFormatNumber(cursor, conversion.width)) {
        return false;
    }
    if (*cursor == '.') {
        ++cursor;
        if (!ParseFormatNumber(cursor, conversion.precision)) {
            return false;
        }
    }
    const bool sized = ParseFormatSize(cursor, conversion);
    switch (*cursor) {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            break;
        case 's':
        case 'S':
        case 'c':
        case 'p':
            if (sized) {
                return false;
            }
            break;
        default:
            return false;
    }
    conversion.letter = static_cast<char>(*cursor++);
    return true;
}

// What a conversion takes. wide: in a wide format.
constexpr FormatKind FormatKindOf(const FormatConversion& conversion, bool wide) noexcept {
    switch (conversion.letter) {
        case 's':
            return wide ? FormatKind::WideText : FormatKind::NarrowText;
        case 'S':
            return wide ? FormatKind::NarrowText : FormatKind::WideText;
        case 'p':
            return FormatKind::Pointer;
        case 'c':
            return FormatKind::Integer32;
        default:
            return conversion.bits == 64 ? FormatKind::Integer64 : FormatKind::Integer32;
    }
}

// What an argument is.
template <typename Argument>
consteval FormatKind FormatKindOf() noexcept {
    using T = std::decay_t<Argument>;
    if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, const char*> || std::is_same_v<T, char*>) {
        return FormatKind::NarrowText;
    } else if constexpr (std::is_same_v<T, WideString> || std::is_same_v<T, const WideChar*> ||
                         std::is_same_v<T, WideChar*>) {
        return FormatKind::WideText;
    } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
        return sizeof(T) == 8 ? FormatKind::Integer64 : FormatKind::Integer32;
    } else if constexpr (std::is_pointer_v<T> && !std::is_function_v<std::remove_pointer_t<T>>) {
        return FormatKind::Pointer;
    } else {
        return FormatKind::None;
    }
}

enum class FormatFault : std::uint8_t { None, UnknownConversion, WrongArgument, MissingArgument, SuperfluousArgument };

template <typename Char, typename... Arguments>
constexpr FormatFault FindFormatFault(const Char* format) noexcept {
    constexpr std::size_t count = sizeof...(Arguments);
    constexpr std::array<FormatKind, count + 1> given{FormatKindOf<Arguments>()..., FormatKind::None};
    std::size_t used = 0;
    const Char* cursor = format;
    while (*cursor != 0) {
        if (*cursor++ != '%') {
            continue;
        }
        if (*cursor == '%') {
            ++cursor;
            continue;
        }
        FormatConversion conversion;
        if (!ParseFormatConversion(cursor, conversion)) {
            return FormatFault::UnknownConversion;
        }
        if (used == count) {
            return FormatFault::MissingArgument;
        }
        if (given[used++] != FormatKindOf(conversion, sizeof(Char) > 1)) {
            return FormatFault::WrongArgument;
        }
    }
    return used == count ? FormatFault::None : FormatFault::SuperfluousArgument;
}

// What it throws is never caught: the throw is what stops the compilation, and the compiler shows its line.
template <typename Char, typename... Arguments>
consteval void CheckFormat(const Char* format) {
    switch (FindFormatFault<Char, Arguments...>(format)) {
        case FormatFault::None:
            return;
        case FormatFault::UnknownConversion:
            throw "the format has a conversion that Format does not know";
        case FormatFault::WrongArgument:
            throw "an argument does not fit its conversion";
        case FormatFault::MissingArgument:
            throw "the format has more conversions than there are arguments";
        case FormatFault::SuperfluousArgument:
            throw "the format has fewer conversions than there are arguments";
    }
}

template <typename Argument>
FormatValue ToFormatValue(const Argument& argument) noexcept {
    constexpr FormatKind kind = FormatKindOf<Argument>();
    if constexpr (kind == FormatKind::Integer32) {
        return static_cast<std::uint32_t>(FormatArgument(argument));
    } else if constexpr (kind == FormatKind::Integer64) {
        return static_cast<std::uint64_t>(FormatArgument(argument));
    } else if constexpr (kind == FormatKind::NarrowText) {
        return static_cast<const char*>(FormatArgument(argument));
    } else if constexpr (kind == FormatKind::WideText) {
        return static_cast<const WideChar*>(FormatArgument(argument));
    } else {
        return static_cast<const void*>(argument);
    }
}

}  // namespace detail

// A format that fits arguments of these types: making one from a literal that does not fit does not compile.
template <typename... Arguments>
struct CheckedFormat {
    consteval CheckedFormat(const char* format) : text(format) {  // NOLINT: converts from the literal on purpose
        detail::CheckFormat<char, Arguments...>(format);
    }
    const char* text;
};

template <typename... Arguments>
struct CheckedWideFormat {
    consteval CheckedWideFormat(const WideChar* format)
        : text(format) {  // NOLINT: converts from the literal on purpose
        detail::CheckFormat<WideChar, Arguments...>(format);
    }
    const WideChar* text;
};

// The engine. A conversion that is unknown or has no value of its kind ends the formatting: it and what follows are
// printed as they stand.
[[nodiscard]] std::string FormatValues(const char* format, std::span<const FormatValue> values);
[[nodiscard]] std::basic_string<WideChar> FormatValues(const WideChar* format, std::span<const FormatValue> values);

// For a narrow format that came through C varargs. Integers of 16 and 32 bits are read as 32 bits, the others as 64.
[[nodiscard]] std::string FormatVarargs(const char* format, std::va_list arguments);

template <typename... Arguments>
[[nodiscard]] std::string Format(CheckedFormat<std::type_identity_t<Arguments>...> format,
                                 const Arguments&... arguments) {
    const std::array<FormatValue, sizeof...(Arguments)> values{detail::ToFormatValue(arguments)...};
    return FormatValues(format.text, values);
}

template <typename... Arguments>
[[nodiscard]] WideString FormatWide(CheckedWideFormat<std::type_identity_t<Arguments>...> format,
                                    const Arguments&... arguments) {
    const std::array<FormatValue, sizeof...(Arguments)> values{detail::ToFormatValue(arguments)...};
    return WideString(FormatValues(format.text, values));
}

}  // namespace quillmark
