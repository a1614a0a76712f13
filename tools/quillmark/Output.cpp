#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "Client.h"
#include "ErrorText.h"
#include "Json.h"

namespace quillmark::cli {

namespace {

void RequireOutput(bool written) {
    if (written) {
        return;
    }
    if (errno == EPIPE) {
        throw OutputClosed();
    }
    throw Failure("cannot write the output: " + std::generic_category().message(errno), ExitCode::LocalFile);
}

}  // namespace

void PrintResult(const GlobalOptions& options, const std::string& line, const JsonObject& object) {
    Print(options.json ? object.Text() : line);
}

void Print(const std::string& line) {
    RequireOutput(std::fwrite(line.data(), 1, line.size(), stdout) == line.size() && std::fputc('\n', stdout) != EOF);
}

void PrintResult(const GlobalOptions& options, const std::string& line, const JsonObject& object) {
    Print(options.json ? object.Text() : line);
}

void PrintBytes(const void* bytes, std::size_t count) {
    RequireOutput(std::fwrite(bytes, 1, count, stdout) == count);
}

void FinishOutput() {
    RequireOutput(std::fflush(stdout) == 0 && std::ferror(stdout) == 0);
}

void PrintError(const std::string& line) {
    // In one piece: several threads may have something to say.
    const std::string whole = line + '\n';
    std::fwrite(whole.data(), 1, whole.size(), stderr);
}

bool IsFolder(const IServerAttributes& item) {
    return item.HasFileAttributes() && (item.GetFileAttributes() & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace quillmark::cli
