#include "transport/ScrubPasswords.h"

#include <regex>

#include "common/Log.h"

namespace quillmark {
namespace {

constexpr std::string_view Key = "password";
constexpr std::string_view Masked = "password=XXXXX";

// Only the key is left to the regular expression. Its value is everything up to the next "&", which takes no expression
// to find, and whose repetition would be matched by one call inside the other for each character of a long body. The
// white space before the "=" is a repetition too: __polynomial chooses the library's matcher that has no such
// recursion. The expression is never destroyed: threads may still send while the process ends.
std::size_t MatchKey(std::string_view text) {
    static const std::regex& expression =
        *new std::regex("password\\s*=", std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
    std::cmatch match;
    const bool found = std::regex_search(text.data(), text.data() + text.size(), match, expression,
                                         std::regex_constants::match_continuous);
    return found ? static_cast<std::size_t>(match.length(0)) : 0;
}

std::string Mask(std::string_view body, const PasswordKeyMatcher& matchKey) {
    std::string masked;
    masked.reserve(body.size());
    while (true) {
        const std::size_t key = body.find(Key);
        if (key == std::string_view::npos) {
            return masked.append(body);
        }
        masked.append(body.substr(0, key));
        body.remove_prefix(key);
        const std::size_t matched = matchKey(body);
        if (matched == 0) {
            masked.append(Key);
            body.remove_prefix(Key.size());
            continue;
        }
        masked.append(Masked);
        body.remove_prefix(std::min(body.find('&', matched), body.size()));
    }
}

}  // namespace

std::string ScrubPasswordsWith(std::string_view body, const PasswordKeyMatcher& matchKey) {
    try {
        return Mask(body, matchKey);
    } catch (const std::exception& error) {
        constexpr Logger log("ScrubPasswords", LogSource::WinHttpImpl);
        log.Error("Error while performing regex replacement: %s", error.what());
        return {};
    }
}

std::string ScrubPasswords(const char* data, std::size_t length) {
    return ScrubPasswordsWith({data, length}, MatchKey);
}

}  // namespace quillmark
