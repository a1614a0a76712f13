#!/usr/bin/env python3
"""Prints tools/quillmark/terminal/WidthTable.h: the characters that do not take one column of a terminal, as ranges.

    scripts/text-widths.py | clang-format --assume-filename=WidthTable.h > tools/quillmark/terminal/WidthTable.h

Two columns: what Unicode calls wide or full width. None: marks that go onto the character before them, format characters
that are not seen, and the later parts of a Hangul syllable.
"""
import sys
import unicodedata

SOFT_HYPHEN = 0x00AD
# Format characters that are seen: number signs and the like, which enclose the digits after them.
SEEN = {SOFT_HYPHEN, *range(0x0600, 0x0606), 0x06DD, 0x070F, 0x0890, 0x0891, 0x08E2, 0x110BD, 0x110CD}
HANGUL_LATER_PARTS = [(0x1160, 0x11FF), (0xD7B0, 0xD7FF)]
# Where ideographs are or will be: wide also where nothing is assigned yet.
IDEOGRAPHS = [(0x3400, 0x4DBF), (0x4E00, 0x9FFF), (0xF900, 0xFAFF), (0x20000, 0x2FFFD), (0x30000, 0x3FFFD)]


def within(code, ranges):
    return any(first <= code <= last for first, last in ranges)


def width(code):
    letter = chr(code)
    if within(code, HANGUL_LATER_PARTS):
        return 0
    if unicodedata.category(letter) in ("Mn", "Me", "Cf") and code not in SEEN:
        return 0
    if within(code, IDEOGRAPHS):
        return 2
    # Python gives no true width for what is not assigned.
    assigned = unicodedata.category(letter) != "Cn"
    return 2 if assigned and unicodedata.east_asian_width(letter) in ("W", "F") else 1


def ranges():
    runs = []
    for code in range(sys.maxunicode + 1):
        columns = width(code)
        if columns == 1:
            continue
        if runs and runs[-1][1] == code - 1 and runs[-1][2] == columns:
            runs[-1][1] = code
        else:
            runs.append([code, code, columns])
    return runs


print(f"""// The widths of Unicode {unicodedata.unidata_version} on a terminal. Made by scripts/text-widths.py; not edited by hand.
#pragma once

#include <array>
#include <cstdint>

namespace quillmark::cli {{

// Characters from first to last that take none or two columns; all others take one. In ascending order, without overlap.
struct WidthRange {{
    std::uint32_t first;
    std::uint32_t last;
    std::uint32_t columns;
}};

inline constexpr std::array WidthRanges{{""")
for first, last, columns in ranges():
    print(f"WidthRange{{0x{first:04X}, 0x{last:04X}, {columns}}},")
print("""};

}  // namespace quillmark::cli""")
