#include "http/Guid.h"

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

}  // namespace appliance
