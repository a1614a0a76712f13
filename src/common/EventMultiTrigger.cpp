#include "common/EventMultiTrigger.h"

#include <algorithm>
#include <utility>

#include "common/Log.h"
#include "common/Tasks.h"

namespace quillmark {
namespace {

using std::chrono::ceil;
using std::chrono::milliseconds;

// How long a trigger is left out of the wait list after its action ran.
constexpr milliseconds Rest{10};

constexpr std::size_t ControlEvents = 2;

// Triggers plus this must stay below MAXIMUM_WAIT_OBJECTS: the two control events, and one handle fewer than the
// platform allows, which is meant.
constexpr std::size_t Reserved = ControlEvents + 1;

constexpr Logger MakeLog(const char* function) noexcept {
    return {function, LogSource::EventMultiTrigger};
}

OwnedHandle MakeControlEvent() {
    return OwnedHandle(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
}

}  // namespace

EventMultiTrigger::EventMultiTrigger() : m_quit(MakeControlEvent()), m_triggerAdded(MakeControlEvent()) {
    constexpr const char* name = "EventMultiTrigger::EventMultiTrigger";
    if (m_quit.IsHandle() && m_triggerAdded.IsHandle()) {
        m_thread = OwnedHandle(w32utils::StartTaskInternal([this] { TriggerThread(); }, name));
    }
    if (!m_thread.IsHandle()) {
        MakeLog(name).Error("Failed to start the trigger thread, error = [%d]", ::GetLastError());
    }
}

EventMultiTrigger::~EventMultiTrigger() {
    if (m_thread.IsHandle()) {
        ::SetEvent(m_quit.Get());
        ::WaitForSingleObject(m_thread.Get(), INFINITE);
    }
}

bool EventMultiTrigger::AddTrigger(HANDLE event, Action action) {
    constexpr Logger log = MakeLog("EventMultiTrigger::AddTrigger");
    if (event == nullptr) {
        return true;
    }
    Trigger trigger{.action = std::make_shared<const Action>(std::move(action))};
    const std::scoped_lock guard(m_lock);
    if (m_triggers.size() + Reserved >= MAXIMUM_WAIT_OBJECTS) {
        log.Error("No more than 64 events can be supported, due to limitations of WaitForMulipleObjects()");
        return false;
    }
    if (!m_thread.IsHandle()) {
        return false;
    }
    trigger.number = ++m_lastNumber;
    // What it replaces goes with `trigger`, after the lock: an action's destructor may come back here.
    std::swap(m_triggers[event], trigger);
    ::SetEvent(m_triggerAdded.Get());
    log.Information("Trigger added for event [0x%x]", HandleNumber(event));
    return true;
}

void EventMultiTrigger::RemoveTrigger(HANDLE event) {
    constexpr Logger log = MakeLog("EventMultiTrigger::RemoveTrigger");
    if (event == nullptr) {
        return;
    }
    decltype(m_triggers)::node_type removed;  // destroyed after the lock
    const std::scoped_lock guard(m_lock);
    removed = m_triggers.extract(event);
    log.Information("Trigger removed for event [0x%x]", HandleNumber(event));
    ::SetEvent(m_triggerAdded.Get());
}

EventMultiTrigger::WaitList EventMultiTrigger::BuildEventList() {
    constexpr Logger log = MakeLog("EventMultiTrigger::BuildEventList");
    WaitList list;
    const std::scoped_lock guard(m_lock);
    list.events[list.count++] = m_quit.Get();
    list.events[list.count++] = m_triggerAdded.Get();
    log.Information("Pushing quit[0x%x] and triggerAdded[0x%x]", HandleNumber(m_quit.Get()),
                    HandleNumber(m_triggerAdded.Get()));
    const Clock::time_point now = Clock::now();
    for (const auto& [event, trigger] : m_triggers) {
        if (trigger.dead) {
            continue;
        }
        if (trigger.rejoins > now) {
            const auto wait = static_cast<DWORD>(ceil<milliseconds>(trigger.rejoins - now).count());
            list.timeout = std::min(list.timeout, wait);
            continue;
        }
        list.numbers[list.count] = trigger.number;
        list.events[list.count++] = event;
        log.Information("Pushing [0x%x]", HandleNumber(event));
    }
    return list;
}

void EventMultiTrigger::TriggerThread() noexcept {
    constexpr Logger log = MakeLog("EventMultiTrigger::TriggerThread");
    for (;;) {
        const WaitList list = BuildEventList();
        const DWORD result = ::WaitForMultipleObjects(list.count, list.events.data(), FALSE, list.timeout);
        if (result == WAIT_OBJECT_0) {
            log.Information("Quit event recieved, shutting down..");
            return;
        }
        if (result == WAIT_OBJECT_0 + 1) {
            log.Information("More events/triggers added, restarting wait..");
        } else if (result == WAIT_FAILED) {
            log.Error("Wait failed, error = [%d], attempting to continue...", ::GetLastError());
            if (!DropDeadEvents(list)) {
                // The system is short of something; the quit event stays set for the next round.
                ::Sleep(static_cast<DWORD>(Rest.count()));
            }
        } else if (result < list.count) {
            RunTrigger(list.events[result], list.numbers[result]);
        }
        // Otherwise a trigger's rest is over.
    }
}

void EventMultiTrigger::RunTrigger(HANDLE event, std::uint64_t number) {
    constexpr Logger log = MakeLog("EventMultiTrigger::TriggerThread");
    std::shared_ptr<const Action> action;
    {
        const std::scoped_lock guard(m_lock);
        if (const auto found = m_triggers.find(event); found != m_triggers.end() && found->second.number == number) {
            action = found->second.action;
        }
    }
    if (action == nullptr) {
        log.Information("No trigger found associated with event [0x%x]", HandleNumber(event));
        return;
    }
    log.Information("Running trigger associated with event [0x%x]", HandleNumber(event));
    RunAction(event, *action);

    const std::scoped_lock guard(m_lock);
    // The entry may be gone, or another's by now, whose action has not run yet.
    if (const auto found = m_triggers.find(event); found != m_triggers.end() && found->second.action == action) {
        found->second.rejoins = Clock::now() + Rest;
    }
}

void EventMultiTrigger::RunAction(HANDLE event, const Action& action) const noexcept {
    try {
        action();
    } catch (...) {
        MakeLog("EventMultiTrigger::TriggerThread")
            .Error("Trigger associated with event [0x%x] ended with an exception", HandleNumber(event));
    }
}

bool EventMultiTrigger::DropDeadEvents(const WaitList& list) {
    bool dropped = false;
    for (DWORD index = ControlEvents; index < list.count; ++index) {
        const DWORD result = TestEvent(list.events[index]);
        dropped = dropped || result == WAIT_FAILED;
        if (result == WAIT_OBJECT_0) {
            // The test may have taken the signal, so it counts.
            RunTrigger(list.events[index], list.numbers[index]);
        }
    }
    return dropped;
}

// Tests and marks under one lock: between the two, the number of a closed handle could become that of a new event,
// whose trigger would be marked in the place of the one that is gone.
DWORD EventMultiTrigger::TestEvent(HANDLE event) {
    const std::scoped_lock guard(m_lock);
    const DWORD result = ::WaitForSingleObject(event, 0);
    if (result == WAIT_FAILED) {
        if (const auto found = m_triggers.find(event); found != m_triggers.end()) {
            found->second.dead = true;
        }
    }
    return result;
}

}  // namespace quillmark
