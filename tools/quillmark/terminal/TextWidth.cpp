#include "TextWidth.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "WidthTable.h"

namespace quillmark::cli {
namespace {

constexpr std::uint32_t Joiner = 0x200D;
constexpr std::uint32_t AsEmoji = 0xFE0F;
constexpr const char* Ellipsis = "…";

struct CodePoint {
    std::uint32_t value = 0;
    std::size_t bytes = 0;  // 0: there is none
};

// The code point at the text's beginning; for a byte that begins none, U+FFFD of one byte.
CodePoint Decode(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    const auto byte = [&text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    std::uint32_t value = lead & (0xFFU >> (length + 1));
    bool whole = lead >= 0xC2 && lead < 0xF5 && text.size() >= length;
    for (std::size_t index = 1; whole && index < length; ++index) {
        whole = (byte(index) & 0xC0) == 0x80;
        value = value << 6 | (byte(index) & 0x3FU);
    }
    return whole ? CodePoint{value, length} : CodePoint{0xFFFD, 1};
}

std::size_t WidthOf(std::uint32_t value) {
    const auto* const range =
        std::lower_bound(WidthRanges.begin(), WidthRanges.end(), value,
                         [](const WidthRange& left, std::uint32_t right) { return left.last < right; });
    return range != WidthRanges.end() && range->first <= value ? range->columns : 1;
}

bool IsFlagHalf(std::uint32_t value) {
    return value >= 0x1F1E6 && value <= 0x1F1FF;
}

bool IsSkinTone(std::uint32_t value) {
    return value >= 0x1F3FB && value <= 0x1F3FF;
}

// One character as it is seen.
struct Glyph {
    std::string_view text;
    std::size_t columns = 0;
};

// Takes the first character off the text, which is not empty.
Glyph TakeGlyph(std::string_view& text) {
    const CodePoint first = Decode(text);
    std::size_t bytes = first.bytes;
    std::size_t columns = WidthOf(first.value);
    bool flagOpen = IsFlagHalf(first.value);
    bool joined = false;
    for (CodePoint next = Decode(text.substr(bytes)); next.bytes != 0; next = Decode(text.substr(bytes))) {
        const std::size_t width = WidthOf(next.value);
        const bool secondHalf = flagOpen && IsFlagHalf(next.value);
        if (width != 0 && !joined && !secondHalf && !(columns == 2 && IsSkinTone(next.value))) {
            break;
        }
        columns += width;
        if (next.value == AsEmoji && columns == 1) {
            columns = 2;
        }
        flagOpen = false;
        // What a joiner ties together is wide; between letters it only shapes them.
        joined = next.value == Joiner && columns >= 2;
        bytes += next.bytes;
    }
    const Glyph glyph{text.substr(0, bytes), columns};
    text.remove_prefix(bytes);
    return glyph;
}

std::vector<Glyph> Glyphs(std::string_view text) {
    std::vector<Glyph> glyphs;
    while (!text.empty()) {
        glyphs.push_back(TakeGlyph(text));
    }
    return glyphs;
}

std::string CutAfter(std::string_view text, std::size_t columns, std::size_t front) {
    if (columns == 0) {
        return {};
    }
    const std::vector<Glyph> glyphs = Glyphs(text);
    std::string beginning;
    std::size_t left = columns - 1;  // the ellipsis has one
    for (auto glyph = glyphs.begin(); glyph != glyphs.end() && glyph->columns <= front; ++glyph) {
        beginning += glyph->text;
        front -= glyph->columns;
        left -= glyph->columns;
    }
    std::string ending;
    for (auto glyph = glyphs.rbegin(); glyph != glyphs.rend() && glyph->columns <= left; ++glyph) {
        ending.insert(0, glyph->text);
        left -= glyph->columns;
    }
    return beginning + Ellipsis + ending;
}

}  // namespace

std::size_t Columns(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        columns += TakeGlyph(text).columns;
    }
    return columns;
}

std::string CutMiddle(std::string_view text, std::size_t columns) {
    return Columns(text) <= columns ? std::string(text) : CutAfter(text, columns, columns / 2);
}

std::string CutFront(std::string_view text, std::size_t columns) {
    return Columns(text) <= columns ? std::string(text) : CutAfter(text, columns, 0);
}

std::string PadRight(std::string text, std::size_t columns) {
    const std::size_t taken = Columns(text);
    return taken < columns ? text.append(columns - taken, ' ') : text;
}

std::string PadLeft(const std::string& text, std::size_t columns) {
    const std::size_t taken = Columns(text);
    return taken < columns ? std::string(columns - taken, ' ') + text : text;
}

}  // namespace quillmark::cli
