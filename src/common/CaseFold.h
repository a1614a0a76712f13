// EqualsIgnoreCase: comparing texts without regard to case, the same on every system.
//
// Two texts are equal when they are after each character has been replaced by its simple case fold: one character for
// one, of any script, whatever the locale. So "STRASSE" is not "stra\u00DFe", and a capital Greek sigma equals both of
// its small forms. A surrogate without its partner equals itself only.
#pragma once

#include "quillmark/WideString.h"

namespace quillmark {

[[nodiscard]] bool EqualsIgnoreCase(WideView left, WideView right) noexcept;

}  // namespace quillmark
