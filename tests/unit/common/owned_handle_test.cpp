#include "common/OwnedHandle.h"

#include <gtest/gtest.h>

namespace quillmark {
namespace {

HANDLE HandleOf(std::intptr_t number) {
    return reinterpret_cast<HANDLE>(number);
}

bool IsOpenEvent(HANDLE handle) {
    return ::SetEvent(handle) != FALSE;
}

TEST(OwnedHandleTest, ClosesItsHandleAtItsEnd) {
    const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    {
        const OwnedHandle owner(event);
        EXPECT_TRUE(owner.IsHandle());
        EXPECT_EQ(owner.Get(), event);
        EXPECT_TRUE(IsOpenEvent(event));
    }
    EXPECT_FALSE(IsOpenEvent(event));
}

TEST(OwnedHandleTest, ClosesOnceAfterMoves) {
    const HANDLE first = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE second = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    {
        OwnedHandle owner(first);
        OwnedHandle taken(std::move(owner));
        EXPECT_FALSE(owner.IsHandle());  // NOLINT: what a moved-from owner is, is promised
        taken = OwnedHandle(second);
        EXPECT_FALSE(IsOpenEvent(first));
        EXPECT_TRUE(IsOpenEvent(second));
    }
    EXPECT_FALSE(IsOpenEvent(second));
}

TEST(OwnedHandleTest, NeverClosesTheMarksForNoHandle) {
    for (const std::intptr_t mark : {0, -1, -3}) {
        ::SetLastError(4711);
        {
            const OwnedHandle owner(HandleOf(mark));
            EXPECT_FALSE(owner.IsHandle());
        }
        // Closing one of them would have failed and left its code here.
        EXPECT_EQ(::GetLastError(), 4711u) << mark;
    }
}

}  // namespace
}  // namespace quillmark
