// Texts in UTF-8 and UTF-16, well-formed and not, and short forms of the two conversions.
#pragma once

#include <string>

#include "unit/platform/WideText.h"

namespace quillmark::test {

inline WideText ToWide(const std::string& text, DWORD flags = 0, UINT codePage = CP_UTF8) {
    WideText result(text.size(), QM_W('#'));
    const int length = MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

inline std::string ToNarrow(const WideText& text, DWORD flags = 0, UINT codePage = CP_UTF8) {
    std::string result(text.size() * 3, '#');
    const int length = WideCharToMultiByte(codePage, flags, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()), nullptr, nullptr);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

struct TextSample {
    std::string narrow;
    WideText wide;
};

inline const TextSample WellFormed[] = {
    {"a", QM_W("a")},
    {"\x7F", QM_W("\u007F")},
    {"\xC2\x80", QM_W("\u0080")},
    {"\xDF\xBF", QM_W("\u07FF")},
    {"\xE0\xA0\x80", QM_W("\u0800")},
    {"\xED\x9F\xBF", QM_W("\uD7FF")},
    {"\xEE\x80\x80", QM_W("\uE000")},
    {"\xEF\xBF\xBF", QM_W("\uFFFF")},
    {"\xF0\x90\x80\x80", QM_W("\U00010000")},
    {"\xF4\x8F\xBF\xBF", QM_W("\U0010FFFF")},
    {"Stra\xC3\x9F"
     "e \xE6\x96\x87 \xF0\x9F\x98\x80",
     QM_W("Stra\u00DFe \u6587 \U0001F600")},
    {std::string("a\0b", 3), WideText(QM_W("a\0b"), 3)},
};

// With one U+FFFD for each maximal part of an ill-formed sequence.
inline const TextSample Malformed[] = {
    {"\x80", QM_W("\uFFFD")},
    {"\xBF\xBF", QM_W("\uFFFD\uFFFD")},
    {"\xC0\x80", QM_W("\uFFFD\uFFFD")},
    {"\xC1\xBF", QM_W("\uFFFD\uFFFD")},
    {"\xC3", QM_W("\uFFFD")},
    {"\xC3(", QM_W("\uFFFD(")},
    {"\xE0\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xE0\x9F\xBF", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xE2\x82", QM_W("\uFFFD")},
    {"\xE2\x82z", QM_W("\uFFFDz")},
    {"\xED\xA0\x80", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xED\xBF\xBF", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xF0\x80\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xF0\x8F\xBF\xBF", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xF0\x90\x80", QM_W("\uFFFD")},
    {"\xF0\x9F\x98\xC3\xA4", QM_W("\uFFFD\u00E4")},
    {"\xF4\x90\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xF5\x80\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xFE\xFF", QM_W("\uFFFD\uFFFD")},
    {"a\xF1\x80\x80\xE1\x80\xC2"
     "b\x80"
     "c\x80\xBF"
     "d",
     QM_W("a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd")},
};

}  // namespace quillmark::test
