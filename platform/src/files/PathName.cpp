#include "files/PathName.h"

#include <algorithm>
#include <cstdint>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

namespace quillmark::platform {
namespace {

constexpr char16_t RawByteBase = 0xDC00;

std::uint8_t ByteAt(std::string_view bytes, std::size_t at) {
    return static_cast<std::uint8_t>(bytes[at]);
}

// How many bytes the valid UTF-8 sequence at this place has, and its code point; 0 when there is none.
std::size_t DecodeSequence(std::string_view bytes, std::size_t at, char32_t& codePoint) {
    const std::uint8_t lead = ByteAt(bytes, at);
    if (lead < 0x80) {
        codePoint = lead;
        return 1;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() - at < length) {
        return 0;
    }
    codePoint = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const std::uint8_t next = ByteAt(bytes, at + i);
        if ((next & 0xC0) != 0x80) {
            return 0;
        }
        codePoint = (codePoint << 6) | (next & 0x3Fu);
    }
    const bool overlong = (length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000);
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return overlong || surrogate || codePoint > 0x10FFFF ? 0 : length;
}

void AppendUtf16(std::u16string& text, char32_t codePoint) {
    if (codePoint < 0x10000) {
        text.push_back(static_cast<char16_t>(codePoint));
        return;
    }
    text.push_back(static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
    text.push_back(static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF)));
}

void AppendUtf8(std::string& bytes, char32_t codePoint) {
    const auto append = [&bytes](char32_t value) { bytes.push_back(static_cast<char>(value)); };
    if (codePoint < 0x80) {
        append(codePoint);
        return;
    }
    if (codePoint < 0x800) {
        append(0xC0 | (codePoint >> 6));
    } else {
        if (codePoint < 0x10000) {
            append(0xE0 | (codePoint >> 12));
        } else {
            append(0xF0 | (codePoint >> 18));
            append(0x80 | ((codePoint >> 12) & 0x3F));
        }
        append(0x80 | ((codePoint >> 6) & 0x3F));
    }
    append(0x80 | (codePoint & 0x3F));
}

bool IsLead(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsTrail(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

std::u16string PathFromBytes(std::string_view bytes) {
    std::u16string path;
    path.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        char32_t codePoint = 0;
        const std::size_t length = DecodeSequence(bytes, at, codePoint);
        if (length == 0) {
            path.push_back(static_cast<char16_t>(RawByteBase + ByteAt(bytes, at)));
            ++at;
        } else {
            AppendUtf16(path, codePoint);
            at += length;
        }
    }
    return path;
}

bool PathToBytes(std::u16string_view path, std::string& bytes) {
    bytes.clear();
    bytes.reserve(path.size());
    for (std::size_t at = 0; at < path.size(); ++at) {
        const char16_t unit = path[at];
        if (unit == u'\0') {
            return false;
        }
        if (IsLead(unit) && at + 1 < path.size() && IsTrail(path[at + 1])) {
            const char32_t high = static_cast<char32_t>(unit) - 0xD800;
            AppendUtf8(bytes, 0x10000 + (high << 10) + (path[++at] - 0xDC00u));
        } else if (unit >= RawByteBase + 0x80 && unit <= RawByteBase + 0xFF) {
            bytes.push_back(static_cast<char>(unit - RawByteBase));
        } else if (IsLead(unit) || IsTrail(unit)) {
            return false;
        } else {
            AppendUtf8(bytes, unit);
        }
    }
    return true;
}

DWORD PathBytes(LPCWSTR path, std::string& bytes) {
    if (path == nullptr || *path == u'\0') {
        return ERROR_PATH_NOT_FOUND;
    }
    return PathToBytes(path, bytes) ? ERROR_SUCCESS : ERROR_INVALID_NAME;
}

DWORD CopyText(const std::u16string& text, DWORD capacity, LPWSTR buffer) {
    const auto length = static_cast<DWORD>(text.size());
    if (buffer == nullptr || capacity <= length) {
        return length + 1;
    }
    std::copy_n(text.c_str(), length + 1, buffer);
    return length;
}

}  // namespace quillmark::platform
