// What this system's events and waits do where Windows leaves it open, or has more to offer.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "handles/HandleTable.h"
#include "quillmark/platform/Events.h"
#include "quillmark/platform/Handles.h"
#include "unit/platform/BlockedThread.h"

namespace {

using quillmark::platform::OpenHandleCount;
using quillmark::test::AwaitBlockedInPoll;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

HANDLE NewEvent(bool manualReset) {
    return CreateEventW(nullptr, manualReset, FALSE, nullptr);
}

// A thread that is blocked in one wait.
class Waiter {
public:
    Waiter(std::vector<HANDLE> handles, bool all, DWORD timeLimit) {
        std::promise<DWORD> started;
        std::future<DWORD> threadId = started.get_future();
        m_thread =
            std::thread([this, handles = std::move(handles), all, timeLimit, started = std::move(started)]() mutable {
                started.set_value(GetCurrentThreadId());
                m_result = WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), all, timeLimit);
                m_error = GetLastError();
            });
        AwaitBlockedInPoll(threadId.get());
    }
    ~Waiter() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    [[nodiscard]] DWORD Result() {
        m_thread.join();
        return m_result;
    }
    [[nodiscard]] DWORD Error() const { return m_error; }
    [[nodiscard]] pthread_t Native() { return m_thread.native_handle(); }

private:
    std::thread m_thread;
    DWORD m_result = 0;
    DWORD m_error = 0;
};

TEST(EventsPosixTest, RefusesNamedEvents) {
    SetLastError(0);
    EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, u"Quillmark"), nullptr);
    EXPECT_EQ(GetLastError(), 50u);
}

TEST(EventsPosixTest, ReportsThatTheProcessHasNoDescriptorLeft) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none = {.rlim_cur = 0, .rlim_max = limit.rlim_max};
    // The same call succeeds before; UBSan also needs to have seen the object's type once while it can open a pipe.
    EXPECT_TRUE(CloseHandle(NewEvent(true)));
    const std::size_t handles = OpenHandleCount();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    SetLastError(0);
    const HANDLE event = NewEvent(true);
    const DWORD error = GetLastError();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(event, nullptr);
    EXPECT_EQ(error, 1450u);
    EXPECT_EQ(OpenHandleCount(), handles);
}

TEST(EventsPosixTest, WaitGoesOnWithTheOtherEventsWhenOneIsClosed) {
    const HANDLE closed = NewEvent(true);
    const HANDLE other = NewEvent(true);
    Waiter waiter({closed, other}, false, INFINITE);
    ASSERT_TRUE(CloseHandle(closed));
    SetEvent(other);
    EXPECT_EQ(waiter.Result(), 1u);
    CloseHandle(other);
}

TEST(EventsPosixTest, WaitSeesTheSignalThatWasSetJustBeforeTheClose) {
    for (const bool manualReset : {true, false}) {
        const HANDLE event = NewEvent(manualReset);
        Waiter waiter({event}, false, INFINITE);
        SetEvent(event);
        ASSERT_TRUE(CloseHandle(event));
        EXPECT_EQ(waiter.Result(), WAIT_OBJECT_0) << manualReset;
    }
}

TEST(EventsPosixTest, WaitWithoutLimitEndsWhenItsOnlyEventIsClosed) {
    const HANDLE event = NewEvent(true);
    Waiter waiter({event}, false, INFINITE);
    ASSERT_TRUE(CloseHandle(event));
    EXPECT_EQ(waiter.Result(), WAIT_FAILED);
    EXPECT_EQ(waiter.Error(), 6u);
}

TEST(EventsPosixTest, WaitForAllWithoutLimitEndsWhenOneEventIsClosed) {
    const HANDLE closed = NewEvent(true);
    const HANDLE other = NewEvent(false);
    Waiter waiter({closed, other}, true, INFINITE);
    SetEvent(other);
    ASSERT_TRUE(CloseHandle(closed));
    EXPECT_EQ(waiter.Result(), WAIT_FAILED);
    EXPECT_EQ(waiter.Error(), 6u);
    EXPECT_EQ(WaitForSingleObject(other, 0), WAIT_OBJECT_0);
    CloseHandle(other);
}

TEST(EventsPosixTest, TimedWaitOnAClosedEventRunsToItsEnd) {
    const HANDLE event = NewEvent(true);
    const auto start = steady_clock::now();
    Waiter waiter({event}, false, 200);
    ASSERT_TRUE(CloseHandle(event));
    EXPECT_EQ(waiter.Result(), 258u);
    EXPECT_GE(steady_clock::now() - start, milliseconds(200));
}

TEST(EventsPosixTest, NewEventDoesNotAnswerForAClosedOne) {
    const HANDLE closed = NewEvent(true);
    const HANDLE other = NewEvent(true);
    Waiter waiter({closed, other}, false, INFINITE);
    ASSERT_TRUE(CloseHandle(closed));
    const HANDLE fresh = NewEvent(true);
    SetEvent(fresh);
    SetEvent(other);
    EXPECT_EQ(waiter.Result(), 1u);
    CloseHandle(fresh);
    CloseHandle(other);
}

std::atomic<int> interruptions = 0;

TEST(EventsPosixTest, WaitGoesOnForTheRestOfItsTimeAfterSignals) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) { ++interruptions; };
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    const HANDLE event = NewEvent(true);
    const auto start = steady_clock::now();
    Waiter waiter({event}, false, 300);
    for (int sent = 1; sent <= 5; ++sent) {
        pthread_kill(waiter.Native(), SIGUSR1);
        while (interruptions < sent && steady_clock::now() - start < milliseconds(5000)) {
            std::this_thread::yield();
        }
    }
    EXPECT_EQ(waiter.Result(), 258u);
    const auto took = steady_clock::now() - start;
    EXPECT_GE(took, milliseconds(300));
    EXPECT_LT(took, milliseconds(5000));
    CloseHandle(event);
    sigaction(SIGUSR1, &before, nullptr);
}

// Threads that create, set, wait for and close events of each other: every call ends, nothing is left behind.
TEST(EventsPosixTest, ClosingEventsUnderManyWaitersLeavesNothingBehind) {
    const std::size_t before = OpenHandleCount();
    for (int round = 0; round < 200; ++round) {
        const HANDLE event = NewEvent(round % 2 == 0);
        const HANDLE stop = NewEvent(true);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                const HANDLE handles[] = {event, stop};
                WaitForMultipleObjects(2, handles, FALSE, INFINITE);
                SetEvent(event);
            });
        }
        CloseHandle(event);
        SetEvent(stop);
        for (std::thread& thread : threads) {
            thread.join();
        }
        CloseHandle(stop);
    }
    EXPECT_EQ(OpenHandleCount(), before);
}

TEST(EventsPosixTest, RefusesThreadsThatStartSuspended) {
    SetLastError(0);
    EXPECT_EQ(CreateThread(
                  nullptr, 0, [](LPVOID) -> DWORD { return 0; }, nullptr, 0x4, nullptr),
              nullptr);
    EXPECT_EQ(GetLastError(), 50u);
}

TEST(EventsPosixTest, RefusesAThreadWithoutStartRoutineOrWithAStackThatCannotBe) {
    const std::size_t before = OpenHandleCount();
    SetLastError(0);
    EXPECT_EQ(CreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_EQ(CreateThread(
                  nullptr, SIZE_T{1} << 60, [](LPVOID) -> DWORD { return 0; }, nullptr, 0, nullptr),
              nullptr);
    EXPECT_EQ(GetLastError(), 1450u);
    EXPECT_EQ(OpenHandleCount(), before);
}

}  // namespace
