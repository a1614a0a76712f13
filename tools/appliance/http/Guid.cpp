#include "http/Guid.h"

#include "storage/Random.h"

namespace appliance {

namespace {

constexpr std::string_view Shape = "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";

// Empty for what is no hexadecimal digit.
std::optional<char> UpperDigit(char digit) {
    if ((digit >= '0' && digit <= '9') || (digit >= 'A' && digit <= 'F')) {
        return digit;
    }
    return digit >= 'a' && digit <= 'f' ? std::optional(static_cast<char>(digit - 'a' + 'A')) : std::nullopt;
}

}  // namespace

std::optional<std::string> ParseGuid(std::string_view text) {
    if (text.size() == Shape.size() + 2 && text.front() == '{' && text.back() == '}') {
        text = text.substr(1, Shape.size());
    }
    if (text.size() != Shape.size()) {
        return std::nullopt;
    }
    std::string guid(Shape);
    for (std::size_t i = 0; i < guid.size(); ++i) {
        const auto expected = Shape[i] == '-' ? std::optional('-') : UpperDigit(text[i]);
        if (!expected || (Shape[i] == '-' && text[i] != '-')) {
            return std::nullopt;
        }
        guid[i] = *expected;
    }
    return guid;
}

std::string NewGuid() {
    std::string bytes = RandomBytes(16);
    bytes[6] = static_cast<char>((bytes[6] & 0x0F) | 0x40);  // version: of random bytes
    bytes[8] = static_cast<char>((bytes[8] & 0x3F) | 0x80);  // the common variant
    const std::string digits = ToHex(bytes);
    std::string guid(Shape);
    auto digit = digits.begin();
    for (char& place : guid) {
        if (place != '-') {
            place = UpperDigit(*digit++).value_or('0');
        }
    }
    return guid;
}

}  // namespace appliance
