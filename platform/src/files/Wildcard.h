// The patterns of file searches.
#pragma once

#include <string_view>

namespace quillmark::platform {

// Whether the last component of a search is a pattern: it holds '*' or '?'.
[[nodiscard]] bool IsPattern(std::u16string_view name);

// '*' stands for any text, '?' for one character, or for none at the end of the name; "*.*" for every name, with or
// without a dot. Letters match without regard to case.
[[nodiscard]] bool MatchesPattern(std::u16string_view pattern, std::u16string_view name);

}  // namespace quillmark::platform
