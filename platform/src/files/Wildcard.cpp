#include "files/Wildcard.h"

#include "files/CaseFold.h"

namespace quillmark::platform {
namespace {

std::size_t CharacterLength(std::u16string_view text, std::size_t at) {
    const bool pair = text[at] >= 0xD800 && text[at] <= 0xDBFF && at + 1 < text.size() && text[at + 1] >= 0xDC00 &&
                      text[at + 1] <= 0xDFFF;
    return pair ? 2 : 1;
}

}  // namespace

bool IsPattern(std::u16string_view name) {
    return name.find_first_of(u"*?") != std::u16string_view::npos;
}

bool MatchesPattern(std::u16string_view pattern, std::u16string_view name) {
    constexpr std::size_t none = std::u16string_view::npos;
    if (pattern == u"*.*") {
        return true;
    }
    std::size_t inPattern = 0;
    std::size_t inName = 0;
    // The last '*' and where the text it stands for ends so far: where to go back to when the rest does not match.
    std::size_t star = none;
    std::size_t starEnd = 0;
    while (inName < name.size()) {
        const char16_t expected = inPattern < pattern.size() ? pattern[inPattern] : u'\0';
        if (expected == u'*') {
            star = inPattern++;
            starEnd = inName;
        } else if (expected == u'?') {
            ++inPattern;
            inName += CharacterLength(name, inName);
        } else if (inPattern < pattern.size() && FoldCase(expected) == FoldCase(name[inName])) {
            ++inPattern;
            ++inName;
        } else if (star != none) {
            inPattern = star + 1;
            inName = ++starEnd;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u"*?", inPattern) == none;
}

}  // namespace quillmark::platform
