// Format: printf-style formatting with the meaning that Windows gives the conversions, the same on every system.
//
//   %d %i        32-bit signed        %u %x %X %o   32-bit unsigned     %lu %ld %lx   32-bit as well
//   %I64d %lld   64-bit signed        %I64u %llu    64-bit unsigned     %hu %hd       16-bit
//   %s %S        text: in a narrow format %s is narrow (UTF-8) and %S wide; in a wide format the other way round
//   %c           one character        %p            a pointer           %%            a per cent sign
// with flags (-, 0, #, space, +), width and precision as usual.
//
// The formatted text is UTF-8 (narrow) or UTF-16 (wide); a text of the other kind is converted, U+FFFD for what is
// malformed. Null text prints as "(null)".
//
// A format is checked against the argument types at compile time (CheckedFormat); a mismatch does not compile. The same
// engine reads C varargs for the eventing library (FormatVarargs).
#pragma once

#include <concepts>
#include <cstdarg>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "quillmark/WideString.h"

namespace quillmark {

// Strings as C varargs and the engine take them: pointers to terminated text; everything else as it is.
inline const char* FormatArgument(const std::string& text) noexcept { return text.c_str(); }
inline const WideChar* FormatArgument(const WideString& text) noexcept { return text.c_str(); }
template <typename T>
    requires std::is_scalar_v<T>
constexpr T FormatArgument(T value) noexcept {
    return value;
}

}  // namespace quillmark
