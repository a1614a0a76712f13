#include "transfer/Ask.h"

#include <cstdio>

#include "Input.h"
#include "System.h"

namespace quillmark::cli {
namespace {

bool ReadLine(std::string& line) {
    for (int unit = std::getchar(); unit != EOF; unit = std::getchar()) {
        if (unit == '\n') {
            return true;
        }
        if (unit != '\r') {
            line += static_cast<char>(unit);
        }
    }
    return false;
}

}  // namespace

bool AskLine(const std::string& question, HANDLE interrupt, std::string& answer) {
    WriteError(question);
    const std::optional<std::string> line = ReadUnlessInterrupted(interrupt, ReadLine);
    if (!line) {
        WriteError("\n");
        return false;
    }
    answer = *line;
    return true;
}

}  // namespace quillmark::cli
