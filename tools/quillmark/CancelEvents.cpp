#include "CancelEvents.h"

#include <algorithm>
#include <utility>

#include "ErrorText.h"

namespace quillmark::cli {
namespace {

HANDLE NewEvent(bool set) {
    HANDLE event = CreateEventW(nullptr, TRUE, set ? TRUE : FALSE, nullptr);
    if (event == nullptr) {
        throw Failure("cannot make a cancel event", GetLastError());
    }
    return event;
}

}  // namespace

CancelEvents::CancelEvents(HANDLE interrupt)
    : m_interrupt(interrupt), m_end(NewEvent(false)), m_watcher([this] { Watch(); }) {}

CancelEvents::~CancelEvents() {
    SetEvent(m_end);
    m_watcher.join();
    CloseHandle(m_end);
}

HANDLE CancelEvents::Take() {
    const std::lock_guard lock(m_lock);
    if (m_taken.size() >= Most) {
        throw Failure("more than " + std::to_string(Most) + " operations at a time are not possible", ExitCode::Usage);
    }
    m_taken.push_back(NewEvent(m_interrupted));
    return m_taken.back();
}

void CancelEvents::GiveBack(HANDLE event) {
    {
        const std::lock_guard lock(m_lock);
        m_taken.erase(std::remove(m_taken.begin(), m_taken.end(), event), m_taken.end());
    }
    CloseHandle(event);
}

void CancelEvents::AlsoRun(std::function<void()> action) {
    const std::lock_guard lock(m_lock);
    m_action = std::move(action);
    if (m_interrupted && m_action) {
        m_action();
    }
}

void CancelEvents::Watch() {
    const HANDLE events[] = {m_interrupt, m_end};
    if (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0) {
        SetAll();
    }
}

void CancelEvents::SetAll() {
    // Under the lock: an event that is given back meanwhile must not be closed before it is set.
    const std::lock_guard lock(m_lock);
    m_interrupted = true;
    for (const HANDLE event : m_taken) {
        SetEvent(event);
    }
    if (m_action) {
        m_action();
    }
}

}  // namespace quillmark::cli
