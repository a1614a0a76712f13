// How many columns of a terminal a text takes, and cutting it to so many. Texts are UTF-8; a byte that belongs to no
// character counts as one column.
//
// A character here is what a person sees as one: a letter with its marks, a flag, a family of emoji joined to one.
// Where terminals differ (joined emoji, a symbol asked for as emoji) the larger width is taken: a line may end early
// then, but never breaks into the next one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillmark::cli {

// Control characters count as one column, as the sign that Printable puts in their place.
[[nodiscard]] std::size_t Columns(std::string_view text);

// The text, if it takes at most so many columns; otherwise with "…" for its middle (more of the beginning is kept when
// the halves are unequal), or for its beginning. No character is cut in two; the result may be a column narrower.
[[nodiscard]] std::string CutMiddle(std::string_view text, std::size_t columns);
[[nodiscard]] std::string CutFront(std::string_view text, std::size_t columns);

// The text with spaces behind it, or before it, up to so many columns.
[[nodiscard]] std::string PadRight(std::string text, std::size_t columns);
[[nodiscard]] std::string PadLeft(const std::string& text, std::size_t columns);

}  // namespace quillmark::cli
