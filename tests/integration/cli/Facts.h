// What a transfer said, without what a person is advised to do and without the seconds.
#pragma once

#include <regex>
#include <sstream>
#include <string>

#include "integration/cli/Summary.h"

namespace quillmark::testing {

// The lines that tell what happened to items and how it ended; the names of error codes are left out.
[[nodiscard]] inline std::string Facts(const std::string& text) {
    static const std::regex fact("(failed: |skipped, |nothing is |at least |[0-9]+ file).*");
    std::istringstream stream(WithoutTime(text));
    std::string facts;
    for (std::string line; std::getline(stream, line);) {
        if (std::regex_match(line, fact)) {
            facts += std::regex_replace(line, std::regex(" \\[[A-Z_0-9]+\\]"), "") + "\n";
        }
    }
    return facts;
}

}  // namespace quillmark::testing
