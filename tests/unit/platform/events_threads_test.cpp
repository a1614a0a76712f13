#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <vector>

#include "quillmark/Platform.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct Shared {
    HANDLE go = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DWORD seenId = 0;
    ~Shared() { CloseHandle(go); }
};

DWORD WINAPI WaitForGoAndReturn42(LPVOID parameter) {
    auto* shared = static_cast<Shared*>(parameter);
    shared->seenId = GetCurrentThreadId();
    WaitForSingleObject(shared->go, INFINITE);
    return 42;
}

TEST(ThreadsTest, HandleIsSignalledAndHasTheExitCodeOnceTheRoutineReturned) {
    Shared shared;
    const HANDLE thread = CreateThread(nullptr, 0, WaitForGoAndReturn42, &shared, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, 259u);
    EXPECT_EQ(WaitForSingleObject(thread, 0), 258u);
    SetEvent(shared.go);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, 42u);
    EXPECT_TRUE(CloseHandle(thread));
}

TEST(ThreadsTest, ReportsTheNumberThatTheThreadItselfSees) {
    Shared shared;
    DWORD id = 0;
    const HANDLE thread = CreateThread(nullptr, 0, WaitForGoAndReturn42, &shared, 0, &id);
    SetEvent(shared.go);
    ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_NE(id, 0u);
    EXPECT_EQ(shared.seenId, id);
    EXPECT_NE(GetCurrentThreadId(), id);
    CloseHandle(thread);
}

TEST(ThreadsTest, GoesOnAfterItsHandleWasClosed) {
    Shared shared;
    const HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    struct Work {
        HANDLE go;
        HANDLE done;
    } work = {shared.go, done};
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](LPVOID parameter) -> DWORD {
            const Work mine = *static_cast<Work*>(parameter);
            WaitForSingleObject(mine.go, INFINITE);
            SetEvent(mine.done);
            return 0;
        },
        &work, 0, nullptr);
    ASSERT_TRUE(CloseHandle(thread));
    SetEvent(shared.go);
    EXPECT_EQ(WaitForSingleObject(done, INFINITE), WAIT_OBJECT_0);
    CloseHandle(done);
}

TEST(ThreadsTest, HasTheStackAskedFor) {
    const HANDLE thread = CreateThread(
        nullptr, 32 * 1024 * 1024,
        [](LPVOID) -> DWORD {
            volatile char room[24 * 1024 * 1024];
            room[0] = 1;
            room[sizeof(room) - 1] = 2;
            return static_cast<DWORD>(room[0] + room[sizeof(room) - 1]);
        },
        nullptr, 0x10000, nullptr);
    ASSERT_NE(thread, nullptr);
    ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeThread(thread, &code);
    EXPECT_EQ(code, 3u);
    CloseHandle(thread);
}

TEST(ThreadsTest, WaitsForManyThreadsAtOnce) {
    std::atomic<int> count = 0;
    std::vector<HANDLE> threads;
    for (int i = 0; i < 32; ++i) {
        threads.push_back(CreateThread(
            nullptr, 0,
            [](LPVOID parameter) -> DWORD {
                ++*static_cast<std::atomic<int>*>(parameter);
                return 0;
            },
            &count, 0, nullptr));
        ASSERT_NE(threads.back(), nullptr);
    }
    EXPECT_EQ(WaitForMultipleObjects(32, threads.data(), TRUE, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(count, 32);
    for (const HANDLE thread : threads) {
        EXPECT_TRUE(CloseHandle(thread));
    }
}

TEST(ThreadsTest, ExitCodeIsRefusedForHandlesOfOtherKinds) {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DWORD code = 7;
    SetLastError(0);
    EXPECT_EQ(GetExitCodeThread(event, &code), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_EQ(code, 7u);
    SetLastError(0);
    EXPECT_EQ(SetEvent(nullptr), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    CloseHandle(event);
}

TEST(ThreadsTest, SleepTakesAtLeastItsTime) {
    const auto start = steady_clock::now();
    Sleep(30);
    EXPECT_GE(steady_clock::now() - start, milliseconds(30));
    Sleep(0);
}

}  // namespace
