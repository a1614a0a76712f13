#include <gtest/gtest.h>

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
    SetLastError(87);
    DWORD atStart = 1;
    DWORD afterSetting = 0;
    std::thread other([&] {
        atStart = GetLastError();
        SetLastError(5);
        afterSetting = GetLastError();
    });
    other.join();
    EXPECT_EQ(atStart, 0u);
    EXPECT_EQ(afterSetting, 5u);
    EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
