#include <algorithm>

#include "quillmark/platform/Registry.h"
#include "registry/RegText.h"

namespace quillmark::platform {
namespace {

constexpr std::u16string_view LineEnd = u"\r\n";
constexpr std::u16string_view HexDigits = u"0123456789abcdef";

char16_t UnitAt(const std::vector<BYTE>& data, std::size_t at) {
    return static_cast<char16_t>(data[at] | data[at + 1] << 8);
}

// Whether a REG_SZ reads back the same from a quoted text: one null, at its end, and no control characters.
bool IsPlainText(const std::vector<BYTE>& data) {
    if (data.size() < 2 || data.size() % 2 != 0 || UnitAt(data, data.size() - 2) != 0) {
        return false;
    }
    for (std::size_t at = 0; at + 2 < data.size(); at += 2) {
        if (UnitAt(data, at) < 0x20) {
            return false;
        }
    }
    return true;
}

void AppendQuotedUnit(std::u16string& out, char16_t unit) {
    if (unit == u'"' || unit == u'\\') {
        out.push_back(u'\\');
    }
    out.push_back(unit);
}

void AppendHex(std::u16string& out, DWORD number, unsigned digits) {
    for (unsigned digit = digits; digit-- > 0;) {
        out.push_back(HexDigits[(number >> (4 * digit)) & 0xF]);
    }
}

void AppendBytes(std::u16string& out, const std::vector<BYTE>& data) {
    constexpr std::size_t perLine = 25;
    for (std::size_t at = 0; at < data.size(); ++at) {
        if (at > 0) {
            out += at % perLine == 0 ? u",\\\r\n  " : u",";
        }
        AppendHex(out, data[at], 2);
    }
}

void AppendData(std::u16string& out, const RegistryValue& value) {
    if (value.type == REG_SZ && IsPlainText(value.data)) {
        out.push_back(u'"');
        for (std::size_t at = 0; at + 2 < value.data.size(); at += 2) {
            AppendQuotedUnit(out, UnitAt(value.data, at));
        }
        out.push_back(u'"');
        return;
    }
    if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
        const auto& data = value.data;
        out += u"dword:";
        AppendHex(out, DWORD{data[0]} | DWORD{data[1]} << 8 | DWORD{data[2]} << 16 | DWORD{data[3]} << 24, 8);
        return;
    }
    out += u"hex";
    if (value.type != REG_BINARY) {
        unsigned digits = 1;
        while (digits < 8 && value.type >> (4 * digits) != 0) {
            ++digits;
        }
        out += u"(";
        AppendHex(out, value.type, digits);
        out += u")";
    }
    out += u":";
    AppendBytes(out, value.data);
}

void AppendValue(std::u16string& out, const RegistryValue& value) {
    if (value.name.empty()) {
        out.push_back(u'@');
    } else {
        out.push_back(u'"');
        for (const char16_t unit : value.name) {
            AppendQuotedUnit(out, unit);
        }
        out.push_back(u'"');
    }
    out.push_back(u'=');
    if (value.deleted) {
        out.push_back(u'-');
    } else {
        AppendData(out, value);
    }
    out += LineEnd;
}

void AppendKey(std::u16string& out, const std::u16string& path, const KeyNode& key) {
    if (key.clears) {
        out.append(LineEnd).append(u"[-").append(path).append(u"]").append(LineEnd);
    }
    if (key.exists) {
        out.append(LineEnd).append(u"[").append(path).append(u"]").append(LineEnd);
        for (const auto& [folded, value] : key.values) {
            AppendValue(out, value);
        }
    }
    for (const auto& [folded, child] : key.children) {
        AppendKey(out, path + u"\\" + child->name, *child);
    }
}

}  // namespace

std::string WriteRegFile(const KeyTree& changes) {
    std::u16string text = u"\xFEFFWindows Registry Editor Version 5.00";
    text += LineEnd;
    for (const auto& [folded, root] : changes.Top().children) {
        AppendKey(text, root->name, *root);
    }
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (const char16_t unit : text) {
        bytes.push_back(static_cast<char>(unit & 0xFF));
        bytes.push_back(static_cast<char>(unit >> 8));
    }
    return bytes;
}

}  // namespace quillmark::platform
