// Server paths and local paths as texts: joining, splitting, turning into bytes for the terminal.
#pragma once

#include <string>

#include "quillmark/WideString.h"

namespace quillmark::cli {

// "/a" and "b" give "/a/b"; a folder that ends in '/' gets none added.
[[nodiscard]] WideString JoinPath(const WideString& folder, const WideString& name);

// The last component, a trailing '/' aside.
[[nodiscard]] WideString LeafName(const WideString& path);

// The folder that a path's last component is in: "/a" of "/a/b/", "/" of "/a"; empty for a bare name.
[[nodiscard]] WideString FolderOf(const WideString& path);

// Whether a path's last component names an item, and not, as "", "." and ".." do, a place relative to others: what such
// a path means goes into a folder as its contents.
[[nodiscard]] bool IsOwnName(const WideString& leaf);

// A server path as the operations take it: it begins with '/', ends in one only when it is the root, and has no empty
// names in it.
[[nodiscard]] WideString ServerPath(const WideString& text);

// Whether the wide text can go into a URL: it holds no half of a surrogate pair.
[[nodiscard]] bool IsText(const WideString& path);

// For messages and listings: control characters, those of the direction of writing among them, and what is not text,
// are shown as '?', so that a name can neither steer the terminal nor break a line, nor turn what stands behind it
// around.
[[nodiscard]] std::string Printable(const WideString& text);

}  // namespace quillmark::cli
