#include "files/CaseFold.h"

#include <clocale>
#include <cwctype>

namespace quillmark::platform {
namespace {

// Part of every installation of the C library; without it only ASCII letters have case.
locale_t CharacterTypes() {
    static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

char16_t FoldAscii(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

}  // namespace

char16_t FoldCase(char16_t unit) {
    if (unit < 0x80 || CharacterTypes() == nullptr) {
        return FoldAscii(unit);
    }
    const std::wint_t upper = ::towupper_l(unit, CharacterTypes());
    return upper <= 0xFFFF ? static_cast<char16_t>(upper) : unit;
}

std::u16string FoldCase(std::u16string_view name) {
    std::u16string folded(name);
    for (char16_t& unit : folded) {
        unit = FoldCase(unit);
    }
    return folded;
}

}  // namespace quillmark::platform
