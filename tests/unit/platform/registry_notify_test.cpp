#include <atomic>
#include <thread>

#include "support/Wine.h"
#include "unit/platform/OwnRegistry.h"
#include "unit/platform/RegistryKeys.h"

namespace {

using quillmark::test::Key;
using quillmark::test::OrUnderWine;

constexpr DWORD BothChanges = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
// How long a notification that must come may take; how long one that must not come is waited for.
constexpr DWORD TimeToCome = 10'000;
constexpr DWORD TimeToStayAway = 50;

class RegistryNotifyTest : public ::testing::Test {
protected:
    RegistryNotifyTest() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
        EXPECT_EQ(Key::Create(QM_W("K")).SetNumber(QM_W("x"), 1), 0);
        Key::Create(QM_W("K\\Sub"));
    }
    ~RegistryNotifyTest() override { CloseHandle(m_event); }

    LSTATUS Watch(HKEY key, BOOL subtree, DWORD filter) const {
        return RegNotifyChangeKeyValue(key, subtree, filter, m_event, TRUE);
    }
    bool Comes() const { return WaitForSingleObject(m_event, TimeToCome) == WAIT_OBJECT_0; }
    bool StaysAway() const { return WaitForSingleObject(m_event, TimeToStayAway) == WAIT_TIMEOUT; }

    quillmark::test::OwnRegistry m_registry;
    HANDLE m_event;
};

TEST_F(RegistryNotifyTest, RefusesWrongArguments) {
    const Key key(QM_W("K"), KEY_READ);
    // Wine looks at no filter, and at the event as at any handle.
    EXPECT_THAT(RegNotifyChangeKeyValue(key, FALSE, 0, m_event, TRUE), OrUnderWine<LSTATUS>(87, 0));
    EXPECT_THAT(RegNotifyChangeKeyValue(key, FALSE, 0x10, m_event, TRUE), OrUnderWine<LSTATUS>(87, 0));
    EXPECT_THAT(RegNotifyChangeKeyValue(key, FALSE, BothChanges, nullptr, TRUE), OrUnderWine<LSTATUS>(87, 6));
    EXPECT_EQ(RegNotifyChangeKeyValue(key, FALSE, BothChanges, key, TRUE), 6);
}

TEST_F(RegistryNotifyTest, SignalsAValueThatIsSet) {
    const Key key(QM_W("K"), KEY_READ | KEY_SET_VALUE);
    SetEvent(m_event);
    ASSERT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_THREAD_AGNOSTIC), 0);
    EXPECT_TRUE(StaysAway());
    EXPECT_EQ(key.SetNumber(QM_W("x"), 2), 0);
    EXPECT_TRUE(Comes());
}

TEST_F(RegistryNotifyTest, LooksAtWhatTheFilterNamesOnly) {
    const Key key(QM_W("K"), KEY_READ | KEY_SET_VALUE);
    ASSERT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_NAME), 0);
    EXPECT_EQ(key.SetNumber(QM_W("x"), 2), 0);
    EXPECT_TRUE(StaysAway());
    const Key made = Key::Create(QM_W("K\\New"));
    EXPECT_TRUE(Comes());
}

TEST_F(RegistryNotifyTest, AFilterForValuesIgnoresNewSubKeys) {
    const Key key(QM_W("K"), KEY_READ | KEY_SET_VALUE);
    ASSERT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET), 0);
    const Key made = Key::Create(QM_W("K\\New"));
    EXPECT_TRUE(StaysAway());
    EXPECT_EQ(RegDeleteValueW(key, QM_W("x")), 0);
    EXPECT_TRUE(Comes());
}

TEST_F(RegistryNotifyTest, LooksBelowSubKeysWhenAskedTo) {
    const Key key(QM_W("K"), KEY_READ);
    const Key sub(QM_W("K\\Sub"), KEY_SET_VALUE);
    ASSERT_EQ(Watch(key, FALSE, BothChanges), 0);
    EXPECT_EQ(sub.SetNumber(QM_W("y"), 1), 0);
    EXPECT_TRUE(StaysAway());
    const HANDLE second = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const Key deep(QM_W("K"), KEY_READ);
    ASSERT_EQ(RegNotifyChangeKeyValue(deep, TRUE, BothChanges, second, TRUE), 0);
    EXPECT_EQ(sub.SetNumber(QM_W("y"), 2), 0);
    EXPECT_EQ(WaitForSingleObject(second, TimeToCome), WAIT_OBJECT_0);
    EXPECT_TRUE(StaysAway());
    CloseHandle(second);
}

TEST_F(RegistryNotifyTest, SignalsASubKeyThatIsDeleted) {
    const Key key(QM_W("K"), KEY_READ);
    ASSERT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_NAME), 0);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, QM_W("K\\Sub"), 0, 0), 0);
    EXPECT_TRUE(Comes());
}

TEST_F(RegistryNotifyTest, ADeletedKeyIsNotWatched) {
    const Key key(QM_W("K\\Sub"), KEY_READ);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, QM_W("K\\Sub"), 0, 0), 0);
    EXPECT_EQ(Watch(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET), 1018);
}

TEST_F(RegistryNotifyTest, SignalsOnceAndAgainAfterTheNextCall) {
    const Key key(QM_W("K"), KEY_READ | KEY_SET_VALUE);
    ASSERT_EQ(Watch(key, FALSE, BothChanges), 0);
    EXPECT_EQ(key.SetNumber(QM_W("x"), 2), 0);
    EXPECT_TRUE(Comes());
    ResetEvent(m_event);
    EXPECT_TRUE(StaysAway());
    ASSERT_EQ(Watch(key, FALSE, BothChanges), 0);
    EXPECT_EQ(key.SetNumber(QM_W("x"), 3), 0);
    EXPECT_TRUE(Comes());
}

TEST_F(RegistryNotifyTest, ClosingTheKeySetsTheEvent) {
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("K"), 0, KEY_NOTIFY, &key), 0);
    ASSERT_EQ(Watch(key, TRUE, BothChanges), 0);
    EXPECT_TRUE(StaysAway());
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_TRUE(Comes());
}

TEST_F(RegistryNotifyTest, TheSynchronousFormReturnsAfterAChange) {
    const Key key(QM_W("K"), KEY_READ);
    const Key writer(QM_W("K"), KEY_SET_VALUE);
    std::atomic<DWORD> changes = 0;
    std::atomic<bool> returned = false;
    DWORD changesBefore = 0;
    LSTATUS result = -1;
    std::thread waiting([&] {
        result = RegNotifyChangeKeyValue(key, TRUE, BothChanges, nullptr, FALSE);
        changesBefore = changes;
        returned = true;
    });
    // Nobody can see from outside when the call has begun to wait: changes are made until one of them ends it.
    while (!returned) {
        ++changes;
        EXPECT_EQ(writer.SetNumber(QM_W("x"), changes), 0);
        WaitForSingleObject(m_event, 1);
    }
    waiting.join();
    EXPECT_EQ(result, 0);
    EXPECT_GT(changesBefore, 0u);
}

}  // namespace
