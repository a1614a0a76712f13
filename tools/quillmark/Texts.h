// Texts that users write and scripts read: sizes, ranges, times, file attributes, identifiers, fields of a line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "quillmark/AttributeTime.h"
#include "quillmark/WideString.h"

namespace quillmark::cli {

// A number of bytes: decimal digits, and K, M, G or T (of either case) for 1024 and its powers: "65536", "64K", "8M".
// Nothing for any other text and for what does not fit in 63 bits.
[[nodiscard]] std::optional<std::int64_t> ParseSize(const std::string& text);

// A number of bytes for people, in at most five characters: "1023", "1.5K", "16M", "2.0T"; rounded to the nearest.
[[nodiscard]] std::string HumanSize(std::int64_t bytes);

// "1 file", "2 files".
[[nodiscard]] std::string Counted(std::uint64_t count, const std::string& noun);

// Bytes of an item, the end not included.
struct ByteRange {
    static constexpr std::int64_t ToTheEnd = -1;

    std::int64_t first = 0;
    std::int64_t end = ToTheEnd;
};

// "FIRST-END", both as sizes: the bytes from FIRST up to, but not including END, so that "0-100" are the first hundred
// and "100-200" the next. "FIRST-" goes to the item's end. Nothing for any other text and for an empty range.
[[nodiscard]] std::optional<ByteRange> ParseByteRange(const std::string& text);

// "2026-01-02T03:04:05Z", with or without a fraction of a second, or "now". Nothing for what names no real time.
[[nodiscard]] std::optional<CAttributeTime> ParseTime(const std::string& text);

// Windows' file attributes: a number, decimal or hexadecimal ("0x21"), or names with commas between them out of
// readonly, hidden, system, archive, normal. Nothing for any other text.
[[nodiscard]] std::optional<DWORD> ParseFileAttributes(const std::string& text);

// Upper case, no braces: "0F8FAD5B-D9CB-469F-A165-70867728950E". Read with or without braces, in any case.
[[nodiscard]] std::string GuidText(const GUID& guid);
[[nodiscard]] std::optional<GUID> ParseGuid(const std::string& text);

// A text as one field of a line that programs read: a backslash is "\\", a tab "\t", line breaks "\n" and "\r", every
// other control character and every half of a surrogate pair "\u" and four hexadecimal digits. Nothing is lost.
[[nodiscard]] std::string Escaped(const WideString& text);
// Nothing for a text that Escaped does not make.
[[nodiscard]] std::optional<WideString> Unescaped(const std::string& field);

}  // namespace quillmark::cli
