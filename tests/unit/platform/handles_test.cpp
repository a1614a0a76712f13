#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "quillmark/Platform.h"

namespace {

TEST(HandlesTest, RefusesToCloseWhatNoHandleNames) {
    for (const std::uintptr_t number : {std::uintptr_t{0}, std::uintptr_t{0x100}, std::uintptr_t{0x80000001u}}) {
        SetLastError(0);
        EXPECT_EQ(CloseHandle(reinterpret_cast<HANDLE>(number)), FALSE) << number;
        EXPECT_EQ(GetLastError(), 6u) << number;
    }
}

TEST(HandlesTest, KeepsTheLastErrorPerThread) {
    DWORD atStart = 1;
    DWORD afterSetting = 0;
    std::atomic<bool> mayRun = false;
    std::atomic<bool> hasRun = false;
    std::thread other([&] {
        while (!mayRun) {
        }
        atStart = GetLastError();
        SetLastError(5);
        afterSetting = GetLastError();
        hasRun = true;
    });
    // Starting and joining a thread may use the value; so both are kept away from what is looked at.
    SetLastError(87);
    mayRun = true;
    while (!hasRun) {
    }
    const DWORD mine = GetLastError();
    other.join();
    EXPECT_EQ(atStart, 0u);
    EXPECT_EQ(afterSetting, 5u);
    EXPECT_EQ(mine, 87u);
}

}  // namespace
