#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "quillmark/Platform.h"
#include "support/Wine.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class Event {
public:
    Event(bool manualReset, bool signalled) : m_handle(CreateEventW(nullptr, manualReset, signalled, nullptr)) {}
    ~Event() { CloseHandle(m_handle); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

bool IsSet(HANDLE handle) {
    return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
}

TEST(EventsTest, CreatesEventsInTheStateAskedForAndClearsTheLastError) {
    SetLastError(87);
    const Event set(true, true);
    EXPECT_EQ(GetLastError(), 0u);
    const Event unset(true, false);
    EXPECT_TRUE(IsSet(set));
    EXPECT_EQ(WaitForSingleObject(unset, 0), 258u);
}

TEST(EventsTest, ManualResetEventStaysSetUntilReset) {
    const Event event(true, false);
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(IsSet(event));
    EXPECT_TRUE(IsSet(event));
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_FALSE(IsSet(event));
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(IsSet(event));
}

TEST(EventsTest, AutoResetEventLetsOneWaitThroughHoweverOftenItWasSet) {
    const Event event(false, true);
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(IsSet(event));
    EXPECT_FALSE(IsSet(event));
}

TEST(EventsTest, RefusesHandlesThatAreNoEvents) {
    HANDLE closed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_TRUE(CloseHandle(closed));
    SetLastError(0);
    EXPECT_EQ(SetEvent(closed), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_EQ(ResetEvent(closed), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_EQ(CloseHandle(closed), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_EQ(WaitForSingleObject(closed, 0), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 6u);
}

TEST(EventsTest, TimedWaitTakesAtLeastItsTime) {
    const Event event(true, false);
    const auto start = steady_clock::now();
    EXPECT_EQ(WaitForSingleObject(event, 30), 258u);
    EXPECT_GE(steady_clock::now() - start, milliseconds(30));
}

TEST(EventsTest, WaitForOneReportsTheLowestIndexAndTakesOnlyThatSignal) {
    const Event first(false, false);
    const Event second(false, true);
    const Event third(false, true);
    const HANDLE handles[] = {first, second, third};
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, INFINITE), 1u);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, INFINITE), 2u);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), 258u);
}

TEST(EventsTest, WaitForOneMayNameAnEventTwice) {
    const Event event(false, true);
    const HANDLE handles[] = {event, event};
    EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 0), 0u);
    EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 0), 258u);
}

TEST(EventsTest, WaitForAllTakesNothingUntilAllAreSet) {
    const Event first(false, true);
    const Event second(false, false);
    const HANDLE handles[] = {first, second};
    EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, 10), 258u);
    EXPECT_TRUE(IsSet(first));
    SetEvent(first);
    SetEvent(second);
    EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, INFINITE), 0u);
    EXPECT_FALSE(IsSet(first));
    EXPECT_FALSE(IsSet(second));
}

TEST(EventsTest, WaitForAllEndsWhenTheLastEventIsSetByAnotherThread) {
    const Event first(true, false);
    const Event second(false, false);
    std::thread setter([&] {
        SetEvent(first);
        SetEvent(second);
    });
    const HANDLE handles[] = {first, second};
    EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, INFINITE), 0u);
    setter.join();
    EXPECT_TRUE(IsSet(first));
    EXPECT_FALSE(IsSet(second));
}

TEST(EventsTest, WaitRefusesNoHandlesTooManyAndTheSameTwiceForAll) {
    const Event event(true, true);
    const std::vector<HANDLE> many(65, event);
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(0, many.data(), FALSE, 0), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(65, many.data(), FALSE, 0), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    // Wine waits for one handle twice.
    EXPECT_THAT(WaitForMultipleObjects(2, many.data(), TRUE, 0), quillmark::test::OrUnderWine<DWORD>(0xFFFFFFFF, 0));
    EXPECT_THAT(GetLastError(), quillmark::test::OrUnderWine<DWORD>(87, 0));
    EXPECT_EQ(WaitForMultipleObjects(64, many.data(), FALSE, 0), 0u);
}

TEST(EventsTest, WaitRefusesAListWithOneDeadHandle) {
    const Event event(true, true);
    const HANDLE handles[] = {event, reinterpret_cast<HANDLE>(std::uintptr_t{0x7FFFFFF0})};
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 0), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 6u);
}

TEST(EventsTest, WaitsForSixtyFourEventsAndReportsTheLast) {
    std::vector<HANDLE> handles;
    for (int i = 0; i < 64; ++i) {
        handles.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    }
    std::thread setter([&] { SetEvent(handles[63]); });
    EXPECT_EQ(WaitForMultipleObjects(64, handles.data(), FALSE, INFINITE), 63u);
    setter.join();
    for (const HANDLE handle : handles) {
        CloseHandle(handle);
    }
}

// Every set lets exactly one of many waiting threads through, none is lost and none counts twice.
TEST(EventsTest, AutoResetEventIsTakenByExactlyOneOfManyWaiters) {
    constexpr int Rounds = 2000;
    const Event ticket(false, false);
    const Event taken(false, false);
    const Event stop(true, false);
    std::atomic<int> count = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 8; ++i) {
        waiters.emplace_back([&] {
            const HANDLE handles[] = {ticket, stop};
            while (WaitForMultipleObjects(2, handles, FALSE, INFINITE) == WAIT_OBJECT_0) {
                ++count;
                SetEvent(taken);
            }
        });
    }
    for (int round = 1; round <= Rounds; ++round) {
        SetEvent(ticket);
        ASSERT_EQ(WaitForSingleObject(taken, INFINITE), WAIT_OBJECT_0);
        ASSERT_EQ(count, round);
    }
    SetEvent(stop);
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(count, Rounds);
}

// Two auto-reset events and threads that take both, in opposite orders: each pair is taken by one thread, so they can
// neither dead-lock nor lose a signal.
TEST(EventsTest, WaitsForAllOnTheSameEventsNeitherDeadlockNorLoseSignals) {
    constexpr int Rounds = 1000;
    const Event left(false, true);
    const Event right(false, true);
    int holders = 0;
    int total = 0;
    const auto work = [&](HANDLE one, HANDLE other) {
        const HANDLE handles[] = {one, other};
        for (int i = 0; i < Rounds; ++i) {
            ASSERT_EQ(WaitForMultipleObjects(2, handles, TRUE, INFINITE), WAIT_OBJECT_0);
            ASSERT_EQ(++holders, 1);
            ++total;
            --holders;
            SetEvent(one);
            SetEvent(other);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] { i % 2 == 0 ? work(left, right) : work(right, left); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(total, 4 * Rounds);
}

}  // namespace
