// ExcludePatterns: which items of a tree are left out, told by patterns as people write them for such tools.
//
//   *.tmp     every item of such a name, wherever it is
//   build/    every folder of that name
//   /notes    the item at the top of the tree
//   a/b       likewise: a pattern with a '/' before its end is meant from the top
//   **/b      b at any depth       a/**/b   b at any depth below a       a/**   all that is in a
//
// * is any text within a name, ? one character, [a-f] one of these, [!a-f] one that is none of these; a backslash takes
// the special meaning from what follows it. Letter case counts. What is in a folder that is left out is left out too:
// whoever walks a tree does not go into it.
#pragma once

#include <string>
#include <vector>

#include "quillmark/WideString.h"

namespace quillmark::cli {

class ExcludePatterns {
public:
    ExcludePatterns() = default;
    // UTF-8. Throws Failure for a text that is no pattern: an empty one, "/" alone, or one that begins with '!', which
    // takes others back elsewhere and would silently mean something else here.
    explicit ExcludePatterns(const std::vector<std::string>& patterns);

    // path: from the tree's top, names separated by '/', none at its beginning.
    [[nodiscard]] bool Excludes(const WideString& path, bool folder) const;

private:
    struct Pattern {
        std::vector<WideString> names;
        bool fromTop = false;
        bool folderOnly = false;
    };
    [[nodiscard]] static Pattern Read(const std::string& text);

    std::vector<Pattern> m_patterns;
};

}  // namespace quillmark::cli
