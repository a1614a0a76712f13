#include "transfer/Ask.h"

#include <cstdio>
#include <memory>
#include <thread>

namespace quillmark::cli {
namespace {

// Shared with the thread that reads: it may still sit there when nobody waits for it any more.
struct Reading {
    Reading() : done(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Reading() { CloseHandle(done); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    HANDLE done;
    std::string line;
    bool got = false;
};

void ReadLine(const std::shared_ptr<Reading>& reading) {
    for (int unit = std::getchar(); unit != EOF; unit = std::getchar()) {
        if (unit == '\n') {
            reading->got = true;
            break;
        }
        if (unit != '\r') {
            reading->line += static_cast<char>(unit);
        }
    }
    SetEvent(reading->done);
}

}  // namespace

bool AskLine(const std::string& question, HANDLE interrupt, std::string& answer) {
    std::fwrite(question.data(), 1, question.size(), stderr);
    std::fflush(stderr);
    const auto reading = std::make_shared<Reading>();
    // A read of the terminal cannot be ended; the end of the program ends it.
    std::thread(ReadLine, reading).detach();
    const HANDLE events[] = {reading->done, interrupt};
    if (WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0 || !reading->got) {
        std::fputc('\n', stderr);
        return false;
    }
    answer = reading->line;
    return true;
}

}  // namespace quillmark::cli
