// What a help text lists, as tests read it.
#pragma once

#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace quillmark::testing {

// The commands under the headings of a help text: "ls" out of "  ls    List a server folder".
inline std::vector<std::string> CommandsIn(const std::string& help) {
    const std::set<std::string> others = {"Arguments:", "Options:", "Common options:", "Examples:"};
    std::vector<std::string> commands;
    bool listed = false;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with(' ')) {
            listed = line.ends_with(':') && !others.contains(line);
        } else if (listed && line.starts_with("  ") && line[2] != ' ') {
            commands.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    return commands;
}

}  // namespace quillmark::testing
