// Serialization: bytes as one line of Base64, and texts wrapped in it, for places where no character of a text may be
// read as something else.
//
//   Serialization::UTF16ToBase64(QM_W("A"))    "base64~~(QQA=)~~base64"
#pragma once

#include <cstddef>

#include "quillmark/WideString.h"

namespace quillmark::Serialization {

// Standard Base64 with padding, without line breaks. Throws std::runtime_error for no bytes at all (null, or a size of
// 0), for more than 2^32 - 1 of them, and when the platform fails.
[[nodiscard]] WideString Base64(const void* data, std::size_t size);

// The text's UTF-16LE code units in Base64, between "base64~~(" and ")~~base64". A text that cannot be encoded, as the
// empty one, is logged and gives an empty text, which no encoding is. Never throws.
[[nodiscard]] WideString UTF16ToBase64(const WideString& text) noexcept;

}  // namespace quillmark::Serialization
