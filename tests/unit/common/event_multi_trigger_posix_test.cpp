// What the trigger does at moments that only this system lets a test bring about.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <atomic>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common/EventMultiTrigger.h"
#include "common/Format.h"
#include "common/Log.h"
#include "common/OwnedHandle.h"
#include "common/Tasks.h"
#include "fakes/RecordingEventing.h"

namespace quillmark {
namespace {

using fakes::LogRecord;
using fakes::RecordedLog;

// Returns when the thread is blocked in one of these system calls.
void AwaitBlockedIn(std::initializer_list<long> calls, DWORD threadId) {
    const std::string path = "/proc/self/task/" + std::to_string(threadId) + "/syscall";
    for (;;) {
        // A running thread reads as "running", a blocked one begins with the number of its system call.
        std::string number;
        std::ifstream(path) >> number;
        for (const long call : calls) {
            if (number == std::to_string(call)) {
                return;
            }
        }
        std::this_thread::yield();
    }
}

// The thread that a task runs on, by its record.
DWORD ThreadOfTask(const RecordedLog& log) {
    const std::string start = "Task [0x";
    for (const std::string& text : log.Texts(101)) {
        if (text.starts_with(start)) {
            return static_cast<DWORD>(std::stoul(text.substr(start.size()), nullptr, 16));
        }
    }
    return 0;
}

// While one lives, the process can open no further descriptor and so make no event and no thread.
class NoDescriptors {
public:
    NoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit m_before{};
};

TEST(EventMultiTriggerPosixTest, RunsNothingWhenTheTriggerIsRemovedAtTheMomentItsEventIsSet) {
    const OwnedHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const std::string number = Format("%x]", HandleNumber(event.Get()));
    std::atomic<int> runs = 0;
    RecordedLog log;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), [&] { ++runs; }));
    ASSERT_TRUE(log.WaitFor(101, "Pushing [0x" + number));
    const DWORD thread = ThreadOfTask(log);
    ASSERT_NE(thread, 0u);
    AwaitBlockedIn({SYS_poll, SYS_ppoll}, thread);

    // The removal holds the trigger's lock while it logs: the entry is gone, the thread not yet told. The event is set
    // then, and the thread has left its wait when it stands before the lock.
    log.OnRecord([&](const LogRecord& record) {
        if (record.function == "EventMultiTrigger::RemoveTrigger") {
            ::SetEvent(event.Get());
            AwaitBlockedIn({SYS_futex}, thread);
        }
    });
    trigger.RemoveTrigger(event.Get());
    EXPECT_TRUE(log.WaitFor(101, "No trigger found associated with event [0x" + number));
    EXPECT_EQ(runs, 0);
}

// As when a caller resets its event after a cancelled operation and begins the next one with it: the thread has seen
// the event set, but it comes to look for the trigger when there is another one. Which of the two threads gets the lock
// first is the system's choice, so it takes some rounds.
TEST(EventMultiTriggerPosixTest, RunsNothingForATriggerThatCameAfterTheEventWasReset) {
    const OwnedHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::atomic<int> runs = 0;
    RecordedLog log;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), [&] { ++runs; }));
    ASSERT_TRUE(log.WaitFor(101, Format("Pushing [0x%x]", HandleNumber(event.Get()))));
    const DWORD thread = ThreadOfTask(log);
    ASSERT_NE(thread, 0u);
    log.OnRecord([&](const LogRecord& record) {
        if (record.function == "EventMultiTrigger::RemoveTrigger") {
            ::SetEvent(event.Get());
            AwaitBlockedIn({SYS_futex}, thread);
            ::ResetEvent(event.Get());
        }
    });
    for (int round = 0; round < 200; ++round) {
        AwaitBlockedIn({SYS_poll, SYS_ppoll}, thread);
        trigger.RemoveTrigger(event.Get());
        ASSERT_TRUE(trigger.AddTrigger(event.Get(), [&] { ++runs; }));
    }
    log.OnRecord({});
    AwaitBlockedIn({SYS_poll, SYS_ppoll}, thread);
    EXPECT_EQ(runs, 0);
}

TEST(EventMultiTriggerPosixTest, RefusesTriggersWhenTheSystemHasNoEventsLeft) {
    const OwnedHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const RecordedLog log;
    std::unique_ptr<EventMultiTrigger> trigger;
    {
        const NoDescriptors none;
        trigger = std::make_unique<EventMultiTrigger>();
    }
    EXPECT_FALSE(trigger->AddTrigger(event.Get(), [] {}));
    trigger->RemoveTrigger(event.Get());
    EXPECT_TRUE(log.Has(103, "EventMutliTrigger", "EventMultiTrigger::EventMultiTrigger",
                        "Failed to start the trigger thread, error = [1450]"));
}

TEST(TasksPosixTest, GivesNoHandleWhenNoThreadCanBeStarted) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    bool ran = false;
    HANDLE handle = nullptr;
    {
        const NoDescriptors none;
        handle = w32utils::StartTaskInternal([&ran, captured = std::move(held)] { ran = true; }, "caller");
    }
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(::GetLastError(), ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_FALSE(ran);
    EXPECT_TRUE(watched.expired());
}

// Numbers of closed handles are not handed out again here, so that the trigger can tell.
TEST(EventMultiTriggerPosixTest, LeavesOutAHandleThatIsClosedWhileItWaitsAndCountsItUntilItIsRemoved) {
    const RecordedLog log;
    std::vector<OwnedHandle> events;
    EventMultiTrigger trigger;
    for (int number = 0; number < 62; ++number) {
        events.emplace_back(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    }
    for (int number = 0; number < 61; ++number) {
        ASSERT_TRUE(trigger.AddTrigger(events[static_cast<std::size_t>(number)].Get(), [] {}));
    }
    const HANDLE dead = events[7].Get();
    events[7] = OwnedHandle();
    // Ends the wait that began while the handle was open.
    trigger.RemoveTrigger(events[8].Get());
    ASSERT_TRUE(log.WaitFor(103, "Wait failed, error = [6], attempting to continue..."));
    EXPECT_TRUE(trigger.AddTrigger(events[8].Get(), [] {}));
    EXPECT_FALSE(trigger.AddTrigger(events[61].Get(), [] {}));
    trigger.RemoveTrigger(dead);
    EXPECT_TRUE(trigger.AddTrigger(events[61].Get(), [] {}));
}

}  // namespace
}  // namespace quillmark
