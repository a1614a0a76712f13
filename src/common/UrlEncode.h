// UrlEncode: percent-encoding of a text's UTF-8 bytes.
//
// The two modes keep different bytes, which is meant:
//   path (form false), for URL paths and query values   A-Z a-z 0-9 - . _ / ~    a space is "%20"
//   form (form true), for form bodies and file names    A-Z a-z 0-9 - . _        a space is "+"
// Every other byte becomes "%" and two upper-case hexadecimal digits. A lone surrogate is encoded as U+FFFD.
#pragma once

#include <string>

#include "quillmark/WideString.h"

namespace quillmark {

// Throws std::bad_alloc, or std::length_error for a text of 2^31 bytes and more.
[[nodiscard]] std::string UrlEncode(WideView text, bool form);

}  // namespace quillmark
