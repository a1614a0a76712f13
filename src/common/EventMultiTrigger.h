// EventMultiTrigger: one background thread that waits on many events and runs the action bound to the one that is set.
//
// It is how a caller's cancel event reaches a request that blocks on another thread: the action closes the request's
// handle, which ends the blocked call.
//
// Events are manual-reset. An event that stays set runs its action again and again, yet no sooner than 10 ms after the
// previous run ended, so it never keeps the thread busy. A handle that was closed, or is none that can be waited on,
// leaves the wait list; its entry stays until RemoveTrigger.
//
// Actions run on the trigger's thread, one at a time, without a lock held: they may add and remove triggers. They are
// to be short, since each delays the others. An action may be running, or about to run, when RemoveTrigger or a
// replacing AddTrigger returns: it holds what it uses by (weak) shared pointers. An exception that leaves it is logged.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "common/OwnedHandle.h"
#include "quillmark/Platform.h"

namespace quillmark {

class EventMultiTrigger {
public:
    using Action = std::function<void()>;

    // Starts the thread. When the system has no events or threads left, the object is still usable: every AddTrigger
    // returns false.
    EventMultiTrigger();
    // Ends the thread, waiting for an action that is running; not to be called from an action.
    ~EventMultiTrigger();
    EventMultiTrigger(const EventMultiTrigger&) = delete;
    EventMultiTrigger& operator=(const EventMultiTrigger&) = delete;

    // Binds the action to the event; an entry that the event already has is replaced. The event stays the caller's, who
    // removes the trigger before closing it. False when there are 61 triggers already (or no thread).
    // A null event can never be set: there is nothing to add, and the result is true.
    bool AddTrigger(HANDLE event, Action action);
    // Any event may be named, also one without a trigger.
    void RemoveTrigger(HANDLE event);

private:
    using Clock = std::chrono::steady_clock;

    struct Trigger {
        std::shared_ptr<const Action> action;
        std::uint64_t number = 0;     // rises with each trigger that is added
        Clock::time_point rejoins{};  // not waited on before this
        bool dead = false;            // cannot be waited on
    };

    // The handles of one wait, and how long it may last until a resting trigger rejoins.
    struct WaitList {
        std::array<HANDLE, MAXIMUM_WAIT_OBJECTS> events{};
        std::array<std::uint64_t, MAXIMUM_WAIT_OBJECTS> numbers{};  // of the triggers that are waited for
        DWORD count = 0;
        DWORD timeout = INFINITE;
    };

    void TriggerThread() noexcept;
    [[nodiscard]] WaitList BuildEventList();
    // Runs the action that was waited for. One that took its place meanwhile is not meant: the event may have been
    // reset between the two, and one that is still set ends the next wait.
    void RunTrigger(HANDLE event, std::uint64_t number);
    void RunAction(HANDLE event, const Action& action) const noexcept;
    // After a failed wait: takes the handles that made it fail out of further waits. False when none of them did.
    [[nodiscard]] bool DropDeadEvents(const WaitList& list);
    // Looks without waiting and marks the trigger of a handle that cannot be waited on.
    [[nodiscard]] DWORD TestEvent(HANDLE event);

    std::mutex m_lock;
    std::map<HANDLE, Trigger> m_triggers;
    std::uint64_t m_lastNumber = 0;
    OwnedHandle m_thread;
    OwnedHandle m_quit;
    OwnedHandle m_triggerAdded;
};

}  // namespace quillmark
