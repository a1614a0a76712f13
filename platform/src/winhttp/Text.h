// Texts on their way between WinHTTP's wide strings and the bytes on the wire.
#pragma once

#include <string>
#include <string_view>

#include "quillmark/platform/Types.h"

namespace quillmark::platform::winhttp {

// UTF-16 to UTF-8; what is malformed becomes U+FFFD.
[[nodiscard]] std::string Narrow(std::u16string_view text);

// UTF-8 to UTF-16; what is malformed becomes U+FFFD.
[[nodiscard]] std::u16string Widen(std::string_view bytes);

// ASCII letters compare alike in both cases, as in header names and host names.
[[nodiscard]] bool EqualsIgnoringCase(std::string_view left, std::string_view right);

// Whether a comma-separated header value has the token, in either case.
[[nodiscard]] bool HasToken(std::string_view list, std::string_view token);

// Whether the text is one or more characters of an HTTP token (verbs and header names).
[[nodiscard]] bool IsToken(std::string_view text);

// Without the blanks and tabs around it.
[[nodiscard]] std::string_view Trim(std::string_view text);

// A decimal number that fills the whole text, in 64 bits. False for anything else.
[[nodiscard]] bool ParseNumber(std::string_view text, std::uint64_t& number);

}  // namespace quillmark::platform::winhttp
