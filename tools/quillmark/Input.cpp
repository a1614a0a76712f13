#include "Input.h"

#include <memory>
#include <thread>

namespace quillmark::cli {
namespace {

// Shared with the thread that reads: it may still sit there when nobody waits for it any more.
struct Reading {
    Reading() : over(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Reading() { CloseHandle(over); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    HANDLE over;
    std::string text;
    bool got = false;
};

}  // namespace

std::optional<std::string> ReadUnlessInterrupted(HANDLE interrupt, const Reader& reader) {
    const auto reading = std::make_shared<Reading>();
    std::thread([reading, reader] {
        reading->got = reader(reading->text);
        SetEvent(reading->over);
    }).detach();
    const HANDLE events[] = {interrupt, reading->over};
    if (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 || !reading->got) {
        return std::nullopt;
    }
    return reading->text;
}

}  // namespace quillmark::cli
