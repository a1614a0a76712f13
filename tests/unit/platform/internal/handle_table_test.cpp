#include "handles/HandleTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"

namespace {

using namespace quillmark::platform;

class Thing : public HandleObject {
public:
    void OnClose() override { ++closed; }
    std::atomic<int> closed = 0;
};

class ThingWithOwnClose : public HandleObject {
public:
    [[nodiscard]] bool ClosesWithCloseHandle() const override { return false; }
};

std::uintptr_t NumberOf(HANDLE handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

TEST(HandleTableTest, HandsOutMultiplesOfFourFrom256Upwards) {
    const HANDLE first = InsertHandle(std::make_shared<Thing>());
    const HANDLE second = InsertHandle(std::make_shared<Thing>());
    EXPECT_GE(NumberOf(first), 0x100u);
    EXPECT_EQ(NumberOf(first) % 4, 0u);
    EXPECT_EQ(NumberOf(second), NumberOf(first) + 4);
    RemoveHandle(first);
    RemoveHandle(second);
}

TEST(HandleTableTest, DoesNotGiveAClosedNumberToTheNextObject) {
    const HANDLE closed = InsertHandle(std::make_shared<Thing>());
    ASSERT_NE(RemoveHandle(closed), nullptr);
    const HANDLE next = InsertHandle(std::make_shared<Thing>());
    EXPECT_NE(next, closed);
    EXPECT_EQ(FindHandleObject(closed), nullptr);
    RemoveHandle(next);
}

TEST(HandleTableTest, FindsAnObjectOnlyAsWhatItIs) {
    const auto thing = std::make_shared<Thing>();
    const HANDLE handle = InsertHandle(thing);
    EXPECT_EQ(FindHandle<Thing>(handle), thing);
    EXPECT_EQ(FindHandle<ThingWithOwnClose>(handle), nullptr);
    RemoveHandle(handle);
}

TEST(HandleTableTest, KeepsAnObjectAliveForACallThatHoldsIt) {
    std::weak_ptr<Thing> watched;
    const HANDLE handle = [&] {
        auto thing = std::make_shared<Thing>();
        watched = thing;
        return InsertHandle(std::move(thing));
    }();
    auto held = FindHandle<Thing>(handle);
    RemoveHandle(handle);
    EXPECT_EQ(held->closed, 1);
    held.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(HandleTableTest, ClosesOnceWhenManyThreadsCloseTheSameHandle) {
    const auto thing = std::make_shared<Thing>();
    const HANDLE handle = InsertHandle(thing);
    std::atomic<int> successes = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { successes += CloseHandle(handle); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(successes, 1);
    EXPECT_EQ(thing->closed, 1);
}

TEST(HandleTableTest, CloseHandleLeavesObjectsWithAClosingFunctionOfTheirOwn) {
    const HANDLE handle = InsertHandle(std::make_shared<ThingWithOwnClose>());
    SetLastError(0);
    EXPECT_EQ(CloseHandle(handle), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_NE(FindHandleObject(handle), nullptr);
    EXPECT_NE(RemoveHandle(handle), nullptr);
}

TEST(HandleTableTest, CountsOpenHandles) {
    const std::size_t before = OpenHandleCount();
    const HANDLE handle = InsertHandle(std::make_shared<Thing>());
    EXPECT_EQ(OpenHandleCount(), before + 1);
    RemoveHandle(handle);
    EXPECT_EQ(OpenHandleCount(), before);
}

TEST(HandleTableTest, GivesEachOfManyThreadsItsOwnNumbers) {
    constexpr int ThreadCount = 8;
    constexpr int HandleCount = 1000;
    std::vector<std::vector<HANDLE>> made(ThreadCount);
    std::vector<std::thread> threads;
    for (auto& mine : made) {
        threads.emplace_back([&mine] {
            for (int i = 0; i < HandleCount; ++i) {
                mine.push_back(InsertHandle(std::make_shared<Thing>()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<HANDLE> all;
    for (const auto& mine : made) {
        all.insert(mine.begin(), mine.end());
        for (const HANDLE handle : mine) {
            EXPECT_NE(RemoveHandle(handle), nullptr);
        }
    }
    EXPECT_EQ(all.size(), static_cast<std::size_t>(ThreadCount) * HandleCount);
}

}  // namespace
