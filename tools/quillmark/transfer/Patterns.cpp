#include "transfer/Patterns.h"

#include "ErrorText.h"

namespace quillmark::cli {
namespace {

constexpr WideChar Escape = QM_W('\\');

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

// Units of the character that a text begins with: both of a surrogate pair.
std::size_t CharacterLength(WideView text) {
    return text.size() > 1 && (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00 ? 2 : 1;
}

// Compares by character, not by unit: the characters of a pair stand behind all others.
WideView TakeCharacter(WideView& text) {
    const WideView character = text.substr(0, CharacterLength(text));
    text.remove_prefix(character.size());
    return character;
}

bool NotAfter(WideView left, WideView right) {
    return left.size() < right.size() || (left.size() == right.size() && left <= right);
}

// A set behind its '['. rest is what follows the ']'. Nothing matched and rest unchanged: there is no ']', so that '['
// is a character like others.
bool MatchesSet(WideView set, WideView character, WideView& rest, bool& isSet) {
    const bool negated = !set.empty() && (set[0] == QM_W('!') || set[0] == QM_W('^'));
    set.remove_prefix(negated ? 1 : 0);
    bool found = false;
    for (bool first = true; !set.empty() && (first || set[0] != QM_W(']')); first = false) {
        set.remove_prefix(set[0] == Escape && set.size() > 1 ? 1 : 0);
        const WideView from = TakeCharacter(set);
        WideView to = from;
        if (set.size() > 1 && set[0] == QM_W('-') && set[1] != QM_W(']')) {
            set.remove_prefix(set[1] == Escape && set.size() > 2 ? 2 : 1);
            to = TakeCharacter(set);
        }
        found = found || (NotAfter(from, character) && NotAfter(character, to));
    }
    isSet = !set.empty();
    if (isSet) {
        rest = set.substr(1);
    }
    return isSet && found != negated;
}

// One character of the name against what the pattern begins with, which is no '*'. Both go on behind it.
bool MatchesOne(WideView& pattern, WideView& name) {
    const WideView character = TakeCharacter(name);
    if (pattern[0] == QM_W('?')) {
        pattern.remove_prefix(1);
        return true;
    }
    if (pattern[0] == QM_W('[')) {
        bool isSet = false;
        const bool matches = MatchesSet(pattern.substr(1), character, pattern, isSet);
        if (isSet) {
            return matches;
        }
    }
    pattern.remove_prefix(pattern[0] == Escape && pattern.size() > 1 ? 1 : 0);
    return TakeCharacter(pattern) == character;
}

// After a failure behind a '*' the star takes one character more; an earlier star need not be looked at again.
bool MatchesName(WideView pattern, WideView name) {
    WideView behindStar;
    WideView starred;
    bool star = false;
    for (;;) {
        if (!pattern.empty() && pattern[0] == QM_W('*')) {
            pattern.remove_prefix(1);
            star = true;
            behindStar = pattern;
            starred = name;
            continue;
        }
        if (name.empty()) {
            return pattern.empty();
        }
        if (!pattern.empty() && MatchesOne(pattern, name)) {
            continue;
        }
        if (!star || starred.empty()) {
            return false;
        }
        TakeCharacter(starred);
        pattern = behindStar;
        name = starred;
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
        if (from >= path.size() || !MatchesName(pattern[at], path[from])) {
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
