#include "http/Uri.h"

#include <algorithm>
#include <charconv>

namespace appliance {

namespace {

int HexValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

char LowerAscii(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// Takes the text before the mark off the front, and the mark too; all of it when there is none.
std::string_view TakeUntil(std::string_view& rest, char mark) {
    const std::size_t end = rest.find(mark);
    const std::string_view piece = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return piece;
}

struct Utf8Lead {
    unsigned length;
    unsigned bits;
    unsigned smallest;
};

// What the first byte of a sequence announces; length 0 for a byte that cannot be one.
Utf8Lead LeadOf(unsigned char byte) {
    if (byte < 0x80) {
        return {1, byte, 0};
    }
    if (byte >= 0xC2 && byte <= 0xDF) {
        return {2, byte & 0x1FU, 0x80};
    }
    if (byte >= 0xE0 && byte <= 0xEF) {
        return {3, byte & 0x0FU, 0x800};
    }
    if (byte >= 0xF0 && byte <= 0xF4) {
        return {4, byte & 0x07U, 0x10000};
    }
    return {0, 0, 0};
}

}  // namespace

const std::string* FindField(const Fields& fields, std::string_view name) {
    const auto found =
        std::find_if(fields.begin(), fields.end(), [&](const auto& field) { return field.first == name; });
    return found == fields.end() ? nullptr : &found->second;
}

std::optional<std::string> PercentDecode(std::string_view text, bool form) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '%') {
            if (text.size() - at < 3) {
                return std::nullopt;
            }
            const int high = HexValue(text[at + 1]);
            const int low = HexValue(text[at + 2]);
            if (high < 0 || low < 0) {
                return std::nullopt;
            }
            decoded += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            decoded += form && text[at] == '+' ? ' ' : text[at];
        }
    }
    return decoded;
}

std::optional<Fields> ParseForm(std::string_view text) {
    Fields fields;
    while (!text.empty()) {
        std::string_view value = TakeUntil(text, '&');
        if (value.empty()) {
            continue;
        }
        auto name = PercentDecode(TakeUntil(value, '='), true);
        auto decoded = PercentDecode(value, true);
        if (!name || !decoded) {
            return std::nullopt;
        }
        fields.emplace_back(std::move(*name), std::move(*decoded));
    }
    return fields;
}

std::optional<std::vector<std::string>> ParseItemPath(std::string_view encoded) {
    std::vector<std::string> names;
    while (!encoded.empty()) {
        const std::string_view segment = TakeUntil(encoded, '/');
        if (segment.empty()) {
            continue;
        }
        auto name = PercentDecode(segment, false);
        if (!name || !IsItemName(*name)) {
            return std::nullopt;
        }
        names.push_back(std::move(*name));
    }
    return names;
}

std::optional<std::vector<std::string>> ParsePlainItemPath(std::string_view path) {
    std::vector<std::string> names;
    while (!path.empty()) {
        const std::string_view name = TakeUntil(path, '/');
        if (name.empty()) {
            continue;
        }
        if (!IsItemName(name)) {
            return std::nullopt;
        }
        names.emplace_back(name);
    }
    return names;
}

bool IsItemName(std::string_view name) {
    if (name.empty() || name == "." || name == "..") {
        return false;
    }
    return name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos && IsUtf8(name);
}

bool IsUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Lead lead = LeadOf(static_cast<unsigned char>(text[at]));
        if (lead.length == 0 || text.size() - at < lead.length) {
            return false;
        }
        unsigned code = lead.bits;
        for (unsigned i = 1; i < lead.length; ++i) {
            const auto byte = static_cast<unsigned char>(text[at + i]);
            if ((byte & 0xC0U) != 0x80U) {
                return false;
            }
            code = code << 6 | (byte & 0x3FU);
        }
        if (code < lead.smallest || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            return false;
        }
        at += lead.length;
    }
    return true;
}

std::optional<unsigned long long> ParseNumber(std::string_view text) {
    unsigned long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
}

}  // namespace appliance
