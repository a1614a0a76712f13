#include "Glob.h"

#include <cstdint>
#include <vector>

namespace quillmark::cli {
namespace {

using Characters = std::vector<std::uint32_t>;

Characters CharactersOf(const WideString& text) {
    Characters characters;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::uint32_t unit = text[index];
        const std::uint32_t next = index + 1 < text.size() ? text[index + 1] : 0;
        if ((unit & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00) {
            characters.push_back(0x10000 + ((unit & 0x3FF) << 10) + (next & 0x3FF));
            ++index;
        } else {
            characters.push_back(unit);
        }
    }
    return characters;
}

// One element of a pattern that stands for one character.
struct Element {
    bool matches = false;
    std::size_t end = 0;  // where the next one begins
};

// The character at this place of a pattern, or the one behind a backslash that stands there; at moves to its last
// place.
std::uint32_t Literal(const Characters& pattern, std::size_t& at) {
    at += pattern[at] == '\\' && at + 1 < pattern.size() ? 1 : 0;
    return pattern[at];
}

// "[...]" from start on, where the "[" is; end 0 when nothing closes it. A "]" that comes first is one of the set.
Element MatchSet(const Characters& pattern, std::size_t start, std::uint32_t character) {
    std::size_t at = start + 1;
    const bool inverted = at < pattern.size() && (pattern[at] == '!' || pattern[at] == '^');
    at += inverted ? 1 : 0;
    bool found = false;
    for (const std::size_t first = at; at < pattern.size() && (pattern[at] != ']' || at == first); ++at) {
        const std::uint32_t low = Literal(pattern, at);
        std::uint32_t high = low;
        if (at + 2 < pattern.size() && pattern[at + 1] == '-' && pattern[at + 2] != ']') {
            at += 2;
            high = Literal(pattern, at);
        }
        found = found || (character >= low && character <= high);
    }
    return at < pattern.size() ? Element{found != inverted, at + 1} : Element{};
}

Element MatchOne(const Characters& pattern, std::size_t at, std::uint32_t character) {
    if (pattern[at] == '?') {
        return {true, at + 1};
    }
    if (pattern[at] == '[') {
        if (const Element set = MatchSet(pattern, at, character); set.end != 0) {
            return set;
        }
    }
    const bool same = Literal(pattern, at) == character;
    return {same, at + 1};
}

}  // namespace

// Where a "*" took too little, only the latest one has to take more: an earlier one that takes more leaves less for it.
bool GlobMatches(const WideString& pattern, const WideString& name) {
    const Characters elements = CharactersOf(pattern);
    const Characters characters = CharactersOf(name);
    constexpr auto None = static_cast<std::size_t>(-1);
    std::size_t at = 0;
    std::size_t afterStar = None;
    std::size_t takenUpTo = 0;
    for (std::size_t index = 0; index < characters.size();) {
        if (at < elements.size() && elements[at] == '*') {
            afterStar = ++at;
            takenUpTo = index;
            continue;
        }
        const Element element = at < elements.size() ? MatchOne(elements, at, characters[index]) : Element{};
        if (element.matches) {
            at = element.end;
            ++index;
        } else if (afterStar != None) {
            at = afterStar;
            index = ++takenUpTo;
        } else {
            return false;
        }
    }
    while (at < elements.size() && elements[at] == '*') {
        ++at;
    }
    return at == elements.size();
}

}  // namespace quillmark::cli
