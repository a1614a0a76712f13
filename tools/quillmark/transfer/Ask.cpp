#include "transfer/Ask.h"

#include <cstdio>

#include "Input.h"

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
    std::fwrite(question.data(), 1, question.size(), stderr);
    std::fflush(stderr);
    const std::optional<std::string> line = ReadUnlessInterrupted(interrupt, ReadLine);
    if (!line) {
        std::fputc('\n', stderr);
        return false;
    }
    answer = *line;
    return true;
}

}  // namespace quillmark::cli
