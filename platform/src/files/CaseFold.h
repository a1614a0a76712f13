// Comparing names without regard to case: wildcards of file searches, names of registry keys and values.
#pragma once

#include <string>
#include <string_view>

namespace quillmark::platform {

// The upper-case form of one UTF-16 unit by the simple case mapping of Unicode, whatever the process's locale is.
// Surrogates and characters without case are returned as they are.
[[nodiscard]] char16_t FoldCase(char16_t unit);

// The form under which two names that differ by case only are equal.
[[nodiscard]] std::u16string FoldCase(std::u16string_view name);

}  // namespace quillmark::platform
