#include "text/Unicode.h"

namespace quillmark::platform {
namespace {

// What may follow a lead byte. The bounds of the second byte keep out overlong forms, surrogates and what lies past
// U+10FFFF; the later ones may be any continuation byte.
struct Lead {
    std::size_t length;
    unsigned char bits;
    unsigned char secondFrom;
    unsigned char secondTo;
};

constexpr Lead LeadOf(unsigned char byte) {
    if (byte < 0xC2) {
        return {0, 0, 0, 0};
    }
    if (byte < 0xE0) {
        return {2, static_cast<unsigned char>(byte & 0x1F), 0x80, 0xBF};
    }
    const auto low = static_cast<unsigned char>(byte & 0x0F);
    if (byte < 0xF0) {
        return {3, low, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    }
    if (byte < 0xF5) {
        return {4, low, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
    }
    return {0, 0, 0, 0};
}

}  // namespace

DecodedCharacter DecodeUtf8(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) {
        return {.character = first, .length = 1, .wellFormed = true};
    }
    const Lead lead = LeadOf(first);
    char32_t character = lead.bits;
    for (std::size_t i = 1; i < lead.length; ++i) {
        const unsigned char from = i == 1 ? lead.secondFrom : 0x80;
        const unsigned char to = i == 1 ? lead.secondTo : 0xBF;
        const auto byte = static_cast<unsigned char>(i < text.size() ? text[i] : 0);
        if (byte < from || byte > to) {
            return {.character = ReplacementCharacter, .length = i, .wellFormed = false};
        }
        character = character << 6 | (byte & 0x3F);
    }
    if (lead.length == 0) {
        return {};
    }
    return {.character = character, .length = lead.length, .wellFormed = true};
}

DecodedCharacter DecodeUtf16(std::u16string_view text) {
    const char16_t first = text.front();
    if (first < 0xD800 || first > 0xDFFF) {
        return {.character = first, .length = 1, .wellFormed = true};
    }
    const char16_t second = text.size() > 1 ? text[1] : u'\0';
    if (first > 0xDBFF || second < 0xDC00 || second > 0xDFFF) {
        return {};
    }
    const char32_t character = 0x10000 + ((char32_t{first} - 0xD800) << 10) + (char32_t{second} - 0xDC00);
    return {.character = character, .length = 2, .wellFormed = true};
}

}  // namespace quillmark::platform
