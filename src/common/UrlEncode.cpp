#include "common/UrlEncode.h"

#include <string_view>

namespace quillmark {
namespace {

bool IsKept(char byte, bool form) {
    const bool letterOrDigit =
        (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
    const std::string_view marks = form ? "-._" : "-._/~";
    return letterOrDigit || marks.find(byte) != std::string_view::npos;
}

}  // namespace

std::string UrlEncode(WideView text, bool form) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const std::string bytes = NarrowUtf8(text);
    std::string encoded;
    encoded.reserve(bytes.size() + bytes.size() / 2);
    for (const char byte : bytes) {
        if (form && byte == ' ') {
            encoded.push_back('+');
        } else if (IsKept(byte, form)) {
            encoded.push_back(byte);
        } else {
            const auto value = static_cast<unsigned char>(byte);
            encoded.push_back('%');
            encoded.push_back(digits[value >> 4U]);
            encoded.push_back(digits[value & 0xFU]);
        }
    }
    return encoded;
}

}  // namespace quillmark
