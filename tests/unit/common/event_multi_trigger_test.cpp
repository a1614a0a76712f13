#include "common/EventMultiTrigger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/Format.h"
#include "common/Log.h"
#include "fakes/RecordingEventing.h"
#include "support/ProcessorTime.h"

namespace quillmark {
namespace {

using fakes::LogRecord;
using fakes::RecordedLog;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

// A number that is no handle's and will be none's. That of a handle which was closed will not do: Windows hands it out
// again.
const HANDLE NoHandle = reinterpret_cast<HANDLE>(std::uintptr_t{0x7FFFFFF0});

class CancelEvent {
public:
    explicit CancelEvent(bool manualReset = true)
        : m_event(::CreateEventW(nullptr, manualReset ? TRUE : FALSE, FALSE, nullptr)) {}

    [[nodiscard]] HANDLE Get() const { return m_event.Get(); }
    void Set() const { ::SetEvent(Get()); }
    void Reset() const { ::ResetEvent(Get()); }
    void Close() { m_event = OwnedHandle(); }
    // A log text with this event's number in it.
    [[nodiscard]] std::string In(const char* before, const char* after = "]") const {
        return Format("%s%x%s", before, HandleNumber(Get()), after);
    }

private:
    OwnedHandle m_event;
};

// Counts calls; a test waits for them.
class Calls {
public:
    void Add() {
        const std::scoped_lock guard(m_lock);
        ++m_count;
        m_changed.notify_all();
    }
    [[nodiscard]] EventMultiTrigger::Action Counter() {
        return [this] { Add(); };
    }
    [[nodiscard]] bool WaitFor(int count) {
        std::unique_lock guard(m_lock);
        return m_changed.wait_for(guard, seconds(10), [&] { return m_count >= count; });
    }
    [[nodiscard]] int Count() {
        const std::scoped_lock guard(m_lock);
        return m_count;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    int m_count = 0;
};

constexpr const char* Running = "Running trigger associated with event [0x";
constexpr const char* Pushing = "Pushing [0x";

// In each test the trigger is made last, so that it ends first: its actions use the rest.

TEST(EventMultiTriggerTest, RunsTheActionOfTheEventThatIsSet) {
    const CancelEvent first;
    const CancelEvent second;
    Calls firstCalls;
    Calls secondCalls;
    EventMultiTrigger trigger;
    EXPECT_TRUE(trigger.AddTrigger(first.Get(), firstCalls.Counter()));
    EXPECT_TRUE(trigger.AddTrigger(second.Get(), secondCalls.Counter()));
    second.Set();
    EXPECT_TRUE(secondCalls.WaitFor(1));
    EXPECT_EQ(firstCalls.Count(), 0);
}

TEST(EventMultiTriggerTest, RunsTheActionOfAnEventThatWasSetBefore) {
    const CancelEvent event;
    event.Set();
    Calls calls;
    EventMultiTrigger trigger;
    EXPECT_TRUE(trigger.AddTrigger(event.Get(), calls.Counter()));
    EXPECT_TRUE(calls.WaitFor(1));
}

TEST(EventMultiTriggerTest, RunsActionsOnItsOwnThread) {
    const CancelEvent event;
    Calls calls;
    std::atomic<DWORD> thread = 0;
    EventMultiTrigger trigger;
    EXPECT_TRUE(trigger.AddTrigger(event.Get(), [&, count = calls.Counter()] {
        thread = ::GetCurrentThreadId();
        count();
    }));
    event.Set();
    ASSERT_TRUE(calls.WaitFor(1));
    EXPECT_NE(thread, ::GetCurrentThreadId());
}

TEST(EventMultiTriggerTest, LogsEachStep) {
    const RecordedLog log;
    const CancelEvent event;
    const std::string pushed = event.In(Pushing);
    {
        EventMultiTrigger trigger;
        ASSERT_TRUE(trigger.AddTrigger(event.Get(), [&] { event.Reset(); }));
        ASSERT_TRUE(log.WaitFor(101, pushed));
        event.Set();
        ASSERT_TRUE(log.WaitFor(101, event.In(Running)));
        trigger.RemoveTrigger(event.Get());
    }
    const char* source = "EventMutliTrigger";
    EXPECT_TRUE(log.Has(101, source, "EventMultiTrigger::AddTrigger", event.In("Trigger added for event [0x")));
    EXPECT_TRUE(log.Has(101, source, "EventMultiTrigger::RemoveTrigger", event.In("Trigger removed for event [0x")));
    EXPECT_TRUE(log.Has(101, source, "EventMultiTrigger::BuildEventList", pushed));
    EXPECT_TRUE(log.Has(101, source, "EventMultiTrigger::TriggerThread", event.In(Running)));
    EXPECT_TRUE(
        log.Has(101, source, "EventMultiTrigger::TriggerThread", "More events/triggers added, restarting wait.."));
    EXPECT_TRUE(log.Has(101, source, "EventMultiTrigger::TriggerThread", "Quit event recieved, shutting down.."));
    EXPECT_TRUE(log.Texts(103).empty());
    EXPECT_TRUE(log.Texts(102).empty());
}

TEST(EventMultiTriggerTest, StartsItsThreadAsANamedTask) {
    const RecordedLog log;
    { const EventMultiTrigger trigger; }
    const auto records = log.Records();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0].source, "w32threads");
    EXPECT_TRUE(records[0].text.ends_with("] on behalf of [EventMultiTrigger::EventMultiTrigger]")) << records[0].text;
}

TEST(EventMultiTriggerTest, BuildsItsListFromTheControlEventsAndThenInHandleOrder) {
    CancelEvent low;
    CancelEvent high;
    if (std::less<HANDLE>()(high.Get(), low.Get())) {
        std::swap(low, high);
    }
    const RecordedLog log;
    {
        EventMultiTrigger trigger;
        ASSERT_TRUE(trigger.AddTrigger(high.Get(), [] {}));
        ASSERT_TRUE(trigger.AddTrigger(low.Get(), [] {}));
        ASSERT_TRUE(log.WaitFor(101, low.In(Pushing)));
    }
    std::vector<std::string> lists;
    for (const LogRecord& record : log.Records()) {
        if (record.function == "EventMultiTrigger::BuildEventList") {
            lists.push_back(record.text);
        }
    }
    const auto found = std::ranges::find(lists, low.In(Pushing));
    ASSERT_NE(found, lists.end());
    const std::string& before = *std::prev(found);
    EXPECT_TRUE(before.starts_with("Pushing quit[0x")) << before;
    EXPECT_NE(before.find("] and triggerAdded[0x"), std::string::npos) << before;
    ASSERT_NE(std::next(found), lists.end());
    EXPECT_EQ(*std::next(found), high.In(Pushing));
}

TEST(EventMultiTriggerTest, RefusesTheSixtySecondTrigger) {
    const RecordedLog log;
    std::vector<CancelEvent> events(62);
    EventMultiTrigger trigger;
    for (std::size_t i = 0; i < 61; ++i) {
        ASSERT_TRUE(trigger.AddTrigger(events[i].Get(), [] {})) << i;
    }
    EXPECT_TRUE(log.Texts(103).empty());
    EXPECT_FALSE(trigger.AddTrigger(events[61].Get(), [] {}));
    EXPECT_TRUE(log.Has(103, "EventMutliTrigger", "EventMultiTrigger::AddTrigger",
                        "No more than 64 events can be supported, due to limitations of WaitForMulipleObjects()"));
    trigger.RemoveTrigger(events[0].Get());
    EXPECT_TRUE(trigger.AddTrigger(events[61].Get(), [] {}));
}

TEST(EventMultiTriggerTest, WatchesAllSixtyOne) {
    std::vector<CancelEvent> events(61);
    std::vector<Calls> calls(61);
    EventMultiTrigger trigger;
    for (std::size_t i = 0; i < 61; ++i) {
        ASSERT_TRUE(trigger.AddTrigger(events[i].Get(), calls[i].Counter()));
    }
    events[60].Set();
    EXPECT_TRUE(calls[60].WaitFor(1));
    events[0].Set();
    EXPECT_TRUE(calls[0].WaitFor(1));
    EXPECT_EQ(calls[30].Count(), 0);
}

TEST(EventMultiTriggerTest, ReplacesTheActionOfTheSameEvent) {
    const CancelEvent event;
    Calls first;
    Calls second;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), first.Counter()));
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), second.Counter()));
    event.Set();
    EXPECT_TRUE(second.WaitFor(1));
    EXPECT_EQ(first.Count(), 0);
}

TEST(EventMultiTriggerTest, RunsNothingForARemovedTrigger) {
    const CancelEvent removed;
    const CancelEvent other;
    Calls removedCalls;
    Calls otherCalls;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(removed.Get(), removedCalls.Counter()));
    trigger.RemoveTrigger(removed.Get());
    removed.Set();
    ASSERT_TRUE(trigger.AddTrigger(other.Get(), otherCalls.Counter()));
    other.Set();
    EXPECT_TRUE(otherCalls.WaitFor(1));
    EXPECT_EQ(removedCalls.Count(), 0);
}

TEST(EventMultiTriggerTest, IgnoresTheRemovalOfAnEventWithoutATrigger) {
    const RecordedLog log;
    const CancelEvent event;
    EventMultiTrigger trigger;
    trigger.RemoveTrigger(event.Get());
    EXPECT_TRUE(log.Has(101, event.In("Trigger removed for event [0x")));
}

TEST(EventMultiTriggerTest, TakesANullEventAsOneThatIsNeverSet) {
    const RecordedLog log;
    Calls calls;
    {
        EventMultiTrigger trigger;
        EXPECT_TRUE(trigger.AddTrigger(nullptr, calls.Counter()));
        trigger.RemoveTrigger(nullptr);
    }
    EXPECT_EQ(calls.Count(), 0);
    EXPECT_TRUE(log.Texts(103).empty());
    EXPECT_FALSE(log.Mentions("Trigger added"));
    EXPECT_FALSE(log.Has(101, "More events/triggers added, restarting wait.."));
}

TEST(EventMultiTriggerTest, EndsPromptlyWithoutTriggers) {
    const auto start = steady_clock::now();
    { const EventMultiTrigger trigger; }
    EXPECT_LT(steady_clock::now() - start, seconds(5));
}

TEST(EventMultiTriggerTest, EndsWhileEventsAreSet) {
    const RecordedLog log;
    const CancelEvent event;
    event.Set();
    Calls calls;
    {
        EventMultiTrigger trigger;
        ASSERT_TRUE(trigger.AddTrigger(event.Get(), calls.Counter()));
        ASSERT_TRUE(calls.WaitFor(1));
    }
    EXPECT_EQ(log.Texts(101).back(), "Quit event recieved, shutting down..");
}

TEST(EventMultiTriggerTest, WaitsAtItsEndForAnActionThatRuns) {
    const CancelEvent event;
    const CancelEvent running;
    const CancelEvent never;
    std::atomic<bool> finished = false;
    {
        EventMultiTrigger trigger;
        ASSERT_TRUE(trigger.AddTrigger(event.Get(), [&] {
            running.Set();
            ::WaitForSingleObject(never.Get(), 50);  // a slow action
            finished = true;
        }));
        event.Set();
        ASSERT_EQ(::WaitForSingleObject(running.Get(), 10000), WAIT_OBJECT_0);
    }
    EXPECT_TRUE(finished);
}

TEST(EventMultiTriggerTest, LetsAnActionAddAndRemoveTriggers) {
    const CancelEvent first;
    const CancelEvent second;
    Calls calls;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(first.Get(), [&] {
        trigger.RemoveTrigger(first.Get());
        EXPECT_TRUE(trigger.AddTrigger(second.Get(), calls.Counter()));
    }));
    first.Set();
    second.Set();
    EXPECT_TRUE(calls.WaitFor(1));
}

TEST(EventMultiTriggerTest, LetsAReplacedActionUseTheTriggerWhileItIsDestroyed) {
    struct RemovesAtItsEnd {
        ~RemovesAtItsEnd() { trigger.RemoveTrigger(other); }
        EventMultiTrigger& trigger;
        HANDLE other;
    };
    const CancelEvent event;
    const CancelEvent other;
    EventMultiTrigger trigger;
    for (const bool replace : {true, false}) {
        auto held = std::shared_ptr<RemovesAtItsEnd>(new RemovesAtItsEnd{trigger, other.Get()});
        const std::weak_ptr<RemovesAtItsEnd> watched = held;
        ASSERT_TRUE(trigger.AddTrigger(event.Get(), [captured = std::move(held)] {}));
        if (replace) {
            ASSERT_TRUE(trigger.AddTrigger(event.Get(), [] {}));
        } else {
            trigger.RemoveTrigger(event.Get());
        }
        EXPECT_TRUE(watched.expired());
    }
}

TEST(EventMultiTriggerTest, RestsTenMillisecondsBetweenRunsOfAnEventThatStaysSet) {
    const RecordedLog log;
    const CancelEvent event;
    event.Set();
    Calls calls;
    EventMultiTrigger trigger;
    const auto start = steady_clock::now();
    const double cpuStart = test::ProcessorSeconds();
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), calls.Counter()));
    ASSERT_TRUE(calls.WaitFor(31));
    const auto elapsed = steady_clock::now() - start;
    const double cpuSeconds = test::ProcessorSeconds() - cpuStart;
    EXPECT_GE(elapsed, milliseconds(300));
    EXPECT_LT(cpuSeconds, 0.5 * std::chrono::duration<double>(elapsed).count());
}

TEST(EventMultiTriggerTest, WatchesTheOtherEventsWhileOneRests) {
    const CancelEvent stays;
    const CancelEvent other;
    stays.Set();
    Calls staysCalls;
    Calls otherCalls;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(stays.Get(), staysCalls.Counter()));
    ASSERT_TRUE(trigger.AddTrigger(other.Get(), otherCalls.Counter()));
    ASSERT_TRUE(staysCalls.WaitFor(3));
    EXPECT_EQ(otherCalls.Count(), 0);
    other.Set();
    EXPECT_TRUE(otherCalls.WaitFor(1));
    EXPECT_TRUE(staysCalls.WaitFor(6));
}

TEST(EventMultiTriggerTest, RunsAReplacingActionThoughTheFirstOneRests) {
    const CancelEvent event;
    event.Set();
    Calls first;
    Calls second;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), first.Counter()));
    ASSERT_TRUE(first.WaitFor(1));
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), second.Counter()));
    EXPECT_TRUE(second.WaitFor(1));
}

TEST(EventMultiTriggerTest, LeavesOutAHandleThatCannotBeWaitedOn) {
    const RecordedLog log;
    const CancelEvent alive;
    Calls calls;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(NoHandle, [] {}));
    const std::string failed = "Wait failed, error = [6], attempting to continue...";
    ASSERT_TRUE(log.WaitFor(103, failed));

    ASSERT_TRUE(trigger.AddTrigger(alive.Get(), calls.Counter()));
    alive.Set();
    EXPECT_TRUE(calls.WaitFor(3));
    EXPECT_EQ(log.Count(103, failed), 1u);
    EXPECT_TRUE(log.Has(103, "EventMutliTrigger", "EventMultiTrigger::TriggerThread", failed));
}

TEST(EventMultiTriggerTest, CountsADeadHandleUntilItIsRemoved) {
    const RecordedLog log;
    std::vector<CancelEvent> events(60);
    const CancelEvent another;
    EventMultiTrigger trigger;
    for (const CancelEvent& event : events) {
        ASSERT_TRUE(trigger.AddTrigger(event.Get(), [] {}));
    }
    ASSERT_TRUE(trigger.AddTrigger(NoHandle, [] {}));
    ASSERT_TRUE(log.WaitFor(103, "Wait failed, error = [6], attempting to continue..."));
    EXPECT_FALSE(trigger.AddTrigger(another.Get(), [] {}));
    trigger.RemoveTrigger(NoHandle);
    EXPECT_TRUE(trigger.AddTrigger(another.Get(), [] {}));
}

TEST(EventMultiTriggerTest, KeepsTheSignalThatItsTestOfAHandleTakes) {
    const CancelEvent blocker;
    const CancelEvent release;
    const CancelEvent inAction;
    const CancelEvent automatic(false);
    CancelEvent closed;
    Calls calls;
    EventMultiTrigger trigger;
    const HANDLE dead = closed.Get();
    ASSERT_TRUE(trigger.AddTrigger(blocker.Get(), [&] {
        inAction.Set();
        ::WaitForSingleObject(release.Get(), 10000);
        blocker.Reset();
    }));
    blocker.Set();
    ASSERT_EQ(::WaitForSingleObject(inAction.Get(), 10000), WAIT_OBJECT_0);
    // The thread's next list has a dead handle and an auto-reset event that is set.
    ASSERT_TRUE(trigger.AddTrigger(dead, [] {}));
    ASSERT_TRUE(trigger.AddTrigger(automatic.Get(), calls.Counter()));
    closed.Close();
    automatic.Set();
    release.Set();
    EXPECT_TRUE(calls.WaitFor(1));
}

TEST(EventMultiTriggerTest, LogsWhatAnActionThrowsAndGoesOn) {
    const RecordedLog log;
    const CancelEvent event;
    event.Set();
    Calls calls;
    EventMultiTrigger trigger;
    ASSERT_TRUE(trigger.AddTrigger(event.Get(), [count = calls.Counter()] {
        count();
        throw std::runtime_error("thrown");
    }));
    EXPECT_TRUE(calls.WaitFor(2));
    EXPECT_TRUE(log.Has(103, event.In("Trigger associated with event [0x", "] ended with an exception")));
}

TEST(EventMultiTriggerTest, ServesManyThreadsAtOnce) {
    constexpr int rounds = 100;
    std::atomic<int> fired = 0;
    EventMultiTrigger trigger;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                const CancelEvent event;
                const auto calls = std::make_shared<Calls>();
                const bool added = trigger.AddTrigger(event.Get(), [calls] { calls->Add(); });
                event.Set();
                fired += added && calls->WaitFor(1) ? 1 : 0;
                trigger.RemoveTrigger(event.Get());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(fired, 8 * rounds);
}

}  // namespace
}  // namespace quillmark
