// What a log file of the eventing library says of the exits of functions.
#pragma once

#include <algorithm>
#include <fstream>
#include <string>

namespace quillmark::test {

// How the function ended, the last time that it did: the text of the exit's record, empty for a bare one.
inline std::string LastExitOf(const std::string& logFile, const std::string& function) {
    std::ifstream file(logFile);
    std::string text = "no exit";
    for (std::string line; std::getline(file, line);) {
        const std::size_t name = line.find(" " + function);
        const bool exit =
            line.find("critical 104 ") != std::string::npos || line.find("information 111 ") != std::string::npos;
        if (name != std::string::npos && exit) {
            text = line.substr(std::min(name + function.size() + 2, line.size()));
        }
    }
    return text;
}

}  // namespace quillmark::test
