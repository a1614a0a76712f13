// The line at the end of a transfer as tests compare it.
#pragma once

#include <regex>
#include <string>

namespace quillmark::testing {

// What was printed, without the seconds that a summary names, which are never twice the same.
[[nodiscard]] inline std::string WithoutTime(const std::string& text) {
    return std::regex_replace(text, std::regex(" failed in [0-9]+\\.[0-9] s"), " failed");
}

}  // namespace quillmark::testing
