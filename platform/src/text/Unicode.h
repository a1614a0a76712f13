// One step of reading UTF-8 or UTF-16 that may be malformed.
#pragma once

#include <cstddef>
#include <string_view>

namespace quillmark::platform {

inline constexpr char32_t ReplacementCharacter = 0xFFFD;

struct DecodedCharacter {
    // The character, or ReplacementCharacter for what is malformed.
    char32_t character = ReplacementCharacter;
    // How many units were read, at least 1. For malformed input they are the maximal part of a sequence that could
    // still have become well-formed, or the one unit that cannot begin or be any.
    std::size_t length = 1;
    bool wellFormed = false;
};

// The first character of a text that is not empty.
[[nodiscard]] DecodedCharacter DecodeUtf8(std::string_view text);
[[nodiscard]] DecodedCharacter DecodeUtf16(std::u16string_view text);

}  // namespace quillmark::platform
