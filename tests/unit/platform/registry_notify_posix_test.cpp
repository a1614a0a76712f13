// How this system watches registry files, and what it leaves behind.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "unit/platform/BlockedThread.h"
#include "unit/platform/RegistryTestFolder.h"
#include "unit/platform/SystemFiles.h"

namespace {

using quillmark::test::Key;
using quillmark::test::OpenHandles;
using quillmark::test::RegistryTestFolder;

constexpr DWORD BothChanges = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
// How long a notification that must come may take; how long one that must not come is waited for.
constexpr DWORD TimeToCome = 10'000;
constexpr DWORD TimeToStayAway = 50;

std::size_t ThreadCount() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

// Whether there are so many threads soon: one that was joined may still be listed for a moment.
bool ThreadsBecome(std::size_t count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeToCome);
    while (ThreadCount() != count && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return ThreadCount() == count;
}

class RegistryNotifyPosixTest : public RegistryTestFolder {
protected:
    RegistryNotifyPosixTest() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
        Write("a.reg", "[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000001\n[HKEY_CURRENT_USER\\K\\Sub]\n");
        // A sanitizer starts a thread of its own with the first one; it shall be there before threads are counted.
        std::thread([] {}).join();
    }
    ~RegistryNotifyPosixTest() override { CloseHandle(m_event); }

    LSTATUS Watch(HKEY key, BOOL subtree, DWORD filter) const {
        return RegNotifyChangeKeyValue(key, subtree, filter, m_event, TRUE);
    }
    bool Comes() const { return WaitForSingleObject(m_event, TimeToCome) == WAIT_OBJECT_0; }
    bool StaysAway() const { return WaitForSingleObject(m_event, TimeToStayAway) == WAIT_TIMEOUT; }

    HANDLE m_event;
};

class Waiting {
public:
    explicit Waiting(HKEY key) {
        m_thread = std::thread([this, key] {
            m_id = GetCurrentThreadId();
            m_result = RegNotifyChangeKeyValue(key, TRUE, BothChanges, nullptr, FALSE);
        });
        while (m_id == 0) {
            std::this_thread::yield();
        }
        quillmark::test::AwaitBlockedInPoll(m_id);
    }
    LSTATUS Result() {
        m_thread.join();
        return m_result;
    }

private:
    std::atomic<DWORD> m_id = 0;
    LSTATUS m_result = -1;
    std::thread m_thread;
};

TEST_F(RegistryNotifyPosixTest, SignalsTheDeletionOfTheKeyItself) {
    const Key key(u"K\\Sub", KEY_READ);
    ASSERT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET), 0);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"K\\Sub", 0, 0), 0);
    EXPECT_TRUE(Comes());
    EXPECT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET), 1018);
}

TEST_F(RegistryNotifyPosixTest, SignalsAChangeOfAFile) {
    const Key key(u"K", KEY_READ);
    ASSERT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET), 0);
    Write("b.reg", "[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000002\n");
    EXPECT_TRUE(Comes());
    EXPECT_EQ(key.Number(u"x"), 2u);
}

TEST_F(RegistryNotifyPosixTest, ClosingTheKeySetsTheEventAndEndsTheThread) {
    const std::size_t threads = ThreadCount();
    const std::size_t handles = OpenHandles();
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"K", 0, KEY_NOTIFY, &key), 0);
    ASSERT_EQ(Watch(key, TRUE, BothChanges), 0);
    ASSERT_EQ(Watch(key, TRUE, BothChanges), 0);
    EXPECT_EQ(ThreadCount(), threads + 2);
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(WaitForSingleObject(m_event, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ThreadsBecome(threads));
    EXPECT_EQ(OpenHandles(), handles);
}

TEST_F(RegistryNotifyPosixTest, WatchesAFolderThatIsYetToBeMade) {
    ::setenv("QUILLMARK_REGISTRY", (Root() + "/deep/below").c_str(), 1);
    ASSERT_EQ(RegNotifyChangeKeyValue(HKEY_CURRENT_USER, TRUE, BothChanges, m_event, TRUE), 0);
    EXPECT_TRUE(StaysAway());
    std::filesystem::create_directories(Root() + "/deep/below");
    Write("deep/below/a.reg", "[HKEY_CURRENT_USER\\New]\n");
    EXPECT_TRUE(Comes());
}

TEST_F(RegistryNotifyPosixTest, ClosingTheKeyEndsTheSynchronousFormWith745) {
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"K", 0, KEY_NOTIFY, &key), 0);
    Waiting waiting(key);
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(waiting.Result(), 745);
}

// Whatever the moment at which the key is closed: every call ends, every event is set, nothing is left behind.
TEST_F(RegistryNotifyPosixTest, ClosingAKeyUnderManyNotificationsLeavesNothingBehind) {
    const std::size_t handles = OpenHandles();
    const std::size_t running = ThreadCount();
    for (int round = 0; round < 50; ++round) {
        HKEY key = nullptr;
        ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"K", 0, KEY_NOTIFY, &key), 0);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([key, i] {
                const HANDLE event = i % 2 == 0 ? nullptr : CreateEventW(nullptr, TRUE, FALSE, nullptr);
                const LSTATUS result = RegNotifyChangeKeyValue(key, TRUE, BothChanges, event, event != nullptr);
                // 6 when the key was closed before this call looked it up.
                EXPECT_TRUE(result == 6 || result == (event == nullptr ? 745 : 0)) << result;
                if (event != nullptr) {
                    EXPECT_TRUE(result == 6 || WaitForSingleObject(event, TimeToCome) == WAIT_OBJECT_0);
                    EXPECT_TRUE(CloseHandle(event));
                }
            });
        }
        EXPECT_EQ(RegCloseKey(key), 0);
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_TRUE(ThreadsBecome(running));
    EXPECT_EQ(OpenHandles(), handles);
}

TEST_F(RegistryNotifyPosixTest, AChangeBetweenTwoCallsIsNotLost) {
    const Key key(u"K", KEY_READ | KEY_SET_VALUE);
    ASSERT_EQ(Watch(key, FALSE, BothChanges), 0);
    EXPECT_EQ(key.SetNumber(u"x", 2), 0);
    EXPECT_TRUE(Comes());
    ResetEvent(m_event);
    EXPECT_EQ(key.SetNumber(u"x", 3), 0);
    EXPECT_TRUE(StaysAway());
    // The change in between is not lost.
    ASSERT_EQ(Watch(key, FALSE, BothChanges), 0);
    EXPECT_TRUE(Comes());
    ASSERT_EQ(Watch(key, FALSE, BothChanges), 0);
    EXPECT_TRUE(StaysAway());
}

}  // namespace
