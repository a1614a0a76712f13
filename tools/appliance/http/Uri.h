// Texts of a request line: percent-encoding, paths, queries and url-encoded forms.
//
// Everything here works on bytes and refuses instead of guessing: a "%" that is not followed by two hexadecimal digits
// makes the whole text invalid.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace appliance {

// Names and values in the order in which they stood.
using Fields = std::vector<std::pair<std::string, std::string>>;

// First value of that name, null when there is none.
const std::string* FindField(const Fields& fields, std::string_view name);

// Undoes percent-encoding; with `form` a "+" is a space. Empty when an escape is malformed.
std::optional<std::string> PercentDecode(std::string_view text, bool form);

// Splits at "&" and "=" and decodes both sides as form data. Empty when an escape is malformed.
std::optional<Fields> ParseForm(std::string_view text);

// The names along a still encoded path, outermost first; empty segments are dropped, so "/a//b/" is {a, b}. Empty when
// an escape is malformed or a name could not be stored (see IsItemName).
std::optional<std::vector<std::string>> ParseItemPath(std::string_view encoded);

// The same for a path that comes as plain UTF-8, in a form field or in a header.
std::optional<std::vector<std::string>> ParsePlainItemPath(std::string_view path);

// Whether an item may have this name: well-formed UTF-8, not empty, neither "/" nor NUL in it, not "." or "..".
bool IsItemName(std::string_view name);

// Well-formed UTF-8: no overlong forms, no surrogates, nothing past U+10FFFF.
bool IsUtf8(std::string_view text);

// Decimal digits only, no sign, no white space, within 64 bits.
std::optional<unsigned long long> ParseNumber(std::string_view text);

// ASCII letters only, as header names and media types are compared.
bool EqualsIgnoringCase(std::string_view left, std::string_view right);

}  // namespace appliance
