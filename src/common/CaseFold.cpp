#include "common/CaseFold.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "common/CaseFoldTable.h"

namespace quillmark {
namespace {

std::uint32_t Fold(std::uint32_t character) noexcept {
    const auto* const range =
        std::lower_bound(CaseFoldRanges.begin(), CaseFoldRanges.end(), character,
                         [](const CaseFoldRange& entry, std::uint32_t value) { return entry.last < value; });
    if (range == CaseFoldRanges.end() || character < range->first || (character - range->first) % range->step != 0) {
        return character;
    }
    return character + static_cast<std::uint32_t>(range->delta);
}

// The character that begins at the position, which moves behind it.
std::uint32_t Next(WideView text, std::size_t& position) noexcept {
    const auto lead = static_cast<std::uint32_t>(text[position++]);
    if (lead < 0xD800 || lead > 0xDBFF || position == text.size()) {
        return lead;
    }
    const auto trail = static_cast<std::uint32_t>(text[position]);
    if (trail < 0xDC00 || trail > 0xDFFF) {
        return lead;
    }
    ++position;
    return 0x10000 + ((lead - 0xD800) << 10) + (trail - 0xDC00);
}

}  // namespace

bool EqualsIgnoreCase(WideView left, WideView right) noexcept {
    std::size_t inLeft = 0;
    std::size_t inRight = 0;
    while (inLeft < left.size() && inRight < right.size()) {
        if (Fold(Next(left, inLeft)) != Fold(Next(right, inRight))) {
            return false;
        }
    }
    return inLeft == left.size() && inRight == right.size();
}

}  // namespace quillmark
