#!/usr/bin/env python3
"""Prints src/common/CaseFoldTable.h: the simple case folds of Unicode, as ranges.

    scripts/case-folds.py | clang-format --assume-filename=CaseFoldTable.h > src/common/CaseFoldTable.h

Runs of characters with one distance to their fold, one or two apart, make one range.
"""
import sys
import unicodedata


def simple_fold(letter):
    """The fold when it is one character; for a letter whose fold is longer, its lower-case form if that is one."""
    for folded in (letter.casefold(), letter.lower()):
        if len(folded) == 1:
            return folded
    return letter


def ranges():
    runs = []
    for code in range(sys.maxunicode + 1):
        delta = ord(simple_fold(chr(code))) - code
        if delta == 0:
            continue
        if runs:
            first, last, step, run_delta = runs[-1]
            distance = code - last
            if run_delta == delta and distance <= 2 and (step == distance or first == last):
                runs[-1] = (first, code, distance, delta)
                continue
        runs.append((code, code, 1, delta))
    return runs


print(f"""// The simple case folds of Unicode {unicodedata.unidata_version}. Made by scripts/case-folds.py; not edited by hand.
#pragma once

#include <array>
#include <cstdint>

namespace quillmark {{

// Every step-th character from first to last folds to itself plus delta. In ascending order, without overlap.
struct CaseFoldRange {{
    std::uint32_t first;
    std::uint32_t last;
    std::uint32_t step;
    std::int32_t delta;
}};

inline constexpr std::array CaseFoldRanges{{""")
for first, last, step, delta in ranges():
    print(f"CaseFoldRange{{0x{first:04X}, 0x{last:04X}, {step}, {delta}}},")
print("""};

}  // namespace quillmark""")
