#include "transfer/Patterns.h"

#include "ErrorText.h"
#include "Glob.h"

namespace quillmark::cli {
namespace {

std::vector<WideString> NamesOf(WideView path) {
    std::vector<WideString> names;
    for (std::size_t start = 0;;) {
        const std::size_t slash = path.find(QM_W('/'), start);
        names.emplace_back(path.substr(start, slash == WideView::npos ? slash : slash - start));
        if (slash == WideView::npos) {
            return names;
        }
        start = slash + 1;
    }
}

using Names = std::vector<WideString>;

// Names from these places on. "**" stands for any number of names, for at least one at the pattern's end.
bool MatchesNames(const Names& pattern, std::size_t at, const Names& path, std::size_t from) {
    for (; at < pattern.size(); ++at, ++from) {
        if (pattern[at] == QM_W("**")) {
            if (at + 1 == pattern.size()) {
                return from < path.size();
            }
            for (std::size_t rest = from; rest < path.size(); ++rest) {
                if (MatchesNames(pattern, at + 1, path, rest)) {
                    return true;
                }
            }
            return false;
        }
        if (from >= path.size() || !GlobMatches(pattern[at], path[from])) {
            return false;
        }
    }
    return from == path.size();
}

}  // namespace

ExcludePatterns::ExcludePatterns(const std::vector<std::string>& patterns) {
    for (const std::string& pattern : patterns) {
        m_patterns.push_back(Read(pattern));
    }
}

ExcludePatterns::Pattern ExcludePatterns::Read(const std::string& text) {
    if (text.starts_with('!')) {
        throw Failure("'" + text + "': a pattern that takes others back is not offered; \\! is a name that begins so",
                      ExitCode::Usage);
    }
    const WideString wide = WidenUtf8(text);
    WideView rest = wide.view();
    Pattern pattern;
    while (rest.ends_with(QM_W('/'))) {
        pattern.folderOnly = true;
        rest.remove_suffix(1);
    }
    pattern.fromTop = rest.find(QM_W('/')) != WideView::npos;
    while (rest.starts_with(QM_W('/'))) {
        rest.remove_prefix(1);
    }
    if (rest.empty()) {
        throw Failure("'" + text + "' is not a pattern: one looks like '*.tmp', 'build/' or '/notes'", ExitCode::Usage);
    }
    pattern.names = NamesOf(rest);
    return pattern;
}

bool ExcludePatterns::Excludes(const WideString& path, bool folder) const {
    if (m_patterns.empty()) {
        return false;
    }
    const Names names = NamesOf(path);
    for (const Pattern& pattern : m_patterns) {
        if (pattern.folderOnly && !folder) {
            continue;
        }
        if (pattern.fromTop ? MatchesNames(pattern.names, 0, names, 0)
                            : MatchesNames(pattern.names, 0, {names.back()}, 0)) {
            return true;
        }
    }
    return false;
}

}  // namespace quillmark::cli
