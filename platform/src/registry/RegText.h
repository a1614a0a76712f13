// The text of .reg files: reading it into a tree, writing a tree of changes as text.
//
// Reading understands what the registry editor writes and imports: both headers (or none), [key] and [-key], "name" and
// @ with a quoted text (\\ and \" escaped, line breaks as they are), dword:, hex: and hex(n): with lines continued
// by a backslash, "-" for a deletion, comments after a semicolon. A line that is none of these is skipped, and so are
// the values of a key that cannot be kept.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "registry/KeyTree.h"

namespace quillmark::platform {

// The path that a text such as "HKEY_LOCAL_MACHINE\Software" names; empty when it does not begin with one of these
// roots, or a name in it is too long. HKEY_CLASSES_ROOT becomes the key that it stands for.
[[nodiscard]] KeyPath ParseKeyPath(std::u16string_view text, const std::vector<std::u16string>& roots);

// Does to the tree what the file's bytes say, as far as these roots are concerned.
void ApplyRegFile(std::string_view bytes, const std::vector<std::u16string>& roots, KeyTree& tree);

// The file that says what a changes tree says: UTF-16LE with a byte-order mark, lines that end in CR LF.
[[nodiscard]] std::string WriteRegFile(const KeyTree& changes);

}  // namespace quillmark::platform
