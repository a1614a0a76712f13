// CancelEvents: the events that end running operations, one for each, because the library lets an event end one
// operation only. When the program is interrupted all of them are set at once, also those that are taken afterwards.
//
// Any thread takes and gives back.
#pragma once

#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "quillmark/Platform.h"

namespace quillmark::cli {

class CancelEvents {
public:
    // The library can cancel so many operations of one client object at a time.
    static constexpr std::size_t Most = 61;

    // Waits on a thread of its own for the interrupt event, which lives longer than this object.
    explicit CancelEvents(HANDLE interrupt);
    // Every event has been given back.
    ~CancelEvents();
    CancelEvents(const CancelEvents&) = delete;
    CancelEvents& operator=(const CancelEvents&) = delete;

    // A manual-reset event, which is the caller's alone until it gives it back. Throws Failure when all are taken.
    [[nodiscard]] HANDLE Take();
    // No operation uses it any more.
    void GiveBack(HANDLE event);

    // Runs this as well when the program is interrupted, at once when it has been: for one operation that takes no
    // event. Nothing (an empty function) takes it back; it does not run any more then.
    void AlsoRun(std::function<void()> action);

private:
    void Watch();
    void SetAll();

    HANDLE m_interrupt;
    HANDLE m_end;
    std::mutex m_lock;
    bool m_interrupted = false;
    std::vector<HANDLE> m_taken;
    std::function<void()> m_action;
    std::thread m_watcher;  // the last member: it uses the others
};

}  // namespace quillmark::cli
