#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <system_error>
#include <utility>

#include "Client.h"
#include "ErrorText.h"
#include "Json.h"
#include "System.h"
#include "terminal/Terminal.h"

namespace quillmark::cli {

namespace {

// Why standard output could not be written first; a later failure tells less.
int outputError = 0;
bool readerGone = false;

std::mutex errorMutex;
ErrorSink errorSink;

void RequireOutput(bool written) {
    if (written && outputError == 0) {
        return;
    }
    if (outputError == 0) {
        outputError = errno;
        readerGone = IsReaderGone(outputError);
    }
    if (readerGone) {
        throw OutputClosed();
    }
    throw Failure("cannot write the output: " + std::generic_category().message(outputError), ExitCode::LocalFile);
}

}  // namespace

void Print(const std::string& line) {
    RequireOutput(std::fwrite(line.data(), 1, line.size(), stdout) == line.size() && std::fputc('\n', stdout) != EOF);
    static const bool atTerminal = IsOutputTerminal();
    if (atTerminal) {
        FinishOutput();  // a person reads each line as it comes
    }
}

void PrintResult(const GlobalOptions& options, const std::string& line, const JsonObject& object) {
    Print(options.json ? object.Text() : line);
}

void PrintForPrograms(const GlobalOptions& options, const JsonObject& object) {
    if (options.json) {
        Print(object.Text());
    }
}

void PrintBytes(const void* bytes, std::size_t count) {
    RequireOutput(std::fwrite(bytes, 1, count, stdout) == count);
}

void FinishOutput() {
    RequireOutput(std::fflush(stdout) == 0 && std::ferror(stdout) == 0);
}

void PrintError(const std::string& line) {
    const std::lock_guard lock(errorMutex);
    if (errorSink) {
        errorSink(line);
        return;
    }
    WriteError(line + "\n");
}

void SetErrorSink(ErrorSink sink) {
    const std::lock_guard lock(errorMutex);
    errorSink = std::move(sink);
}

bool IsFolder(const IServerAttributes& item) {
    return item.HasFileAttributes() && (item.GetFileAttributes() & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace quillmark::cli
