#include "Record.h"

#include "common/Format.h"

namespace Eventing {
namespace {

using quillmark::Format;

const char* LevelName(std::uint8_t level) {
    switch (level) {
        case 1:
            return "critical";
        case 2:
            return "error";
        case 3:
            return "warning";
        default:
            return "information";
    }
}

struct Character {
    std::size_t length = 0;  // in bytes; 0 for what is no UTF-8
    char32_t value = 0;
};

// The character at the start of the text, which is not empty.
Character DecodeFirst(std::string_view text) {
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return {1, first};
    }
    const std::size_t length = first >= 0xF0 && first <= 0xF4 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
    if (length == 0 || first > 0xF4 || length > text.size()) {
        return {};
    }
    char32_t value = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return {};
        }
        value = (value << 6U) | (byte(i) & 0x3FU);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    return overlong || surrogate || value > 0x10FFFF ? Character{} : Character{length, value};
}

bool NeedsEscape(char32_t value) {
    return value < 0x20 || (value >= 0x7F && value <= 0x9F) || value == 0x2028 || value == 0x2029;
}

std::string EscapeOf(char32_t value) {
    switch (value) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return value < 0x80 ? Format("\\x%02x", static_cast<std::uint32_t>(value))
                                : Format("\\u%04x", static_cast<std::uint32_t>(value));
    }
}

}  // namespace

std::string EscapeText(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty()) {
        const Character character = DecodeFirst(text);
        if (character.length == 0) {
            escaped += Format("\\x%02x", static_cast<unsigned char>(text.front()));
            text.remove_prefix(1);
            continue;
        }
        if (NeedsEscape(character.value)) {
            escaped += EscapeOf(character.value);
        } else {
            escaped += text.substr(0, character.length);
        }
        text.remove_prefix(character.length);
    }
    return escaped;
}

std::string RenderRecord(const SYSTEMTIME& time, const EventDescriptor& descriptor, const RecordPlace& place,
                         std::string_view text) {
    std::string record =
        Format("%04u-%02u-%02uT%02u:%02u:%02u.%03uZ %s %u ", time.wYear, time.wMonth, time.wDay, time.wHour,
               time.wMinute, time.wSecond, time.wMilliseconds, LevelName(descriptor.level), descriptor.id);
    record += EscapeText(Format("%s:%u %s", place.source, place.line, place.function));
    if (!text.empty()) {
        record += ' ';
        record += EscapeText(text);
    }
    record += '\n';
    return record;
}

}  // namespace Eventing
