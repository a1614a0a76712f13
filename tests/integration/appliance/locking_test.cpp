// Locks: who holds them, until when, and what they keep out.
#include <algorithm>
#include <thread>

#include "integration/appliance/ApplianceTest.h"
#include "integration/appliance/Device.h"

namespace appliance_test {

using nlohmann::json;

class Locking : public ApplianceTest {
protected:
    void SetUp() override { Begin({"--no-sync"}); }

    void Begin(const std::vector<std::string>& options) {
        StartServer(options);
        m_one.emplace(Server(), "one");
        m_two.emplace(Server(), "two");
        m_one->MakeFolder("/docs");
        m_one->MakeFolder("/other");
        m_one->Upload("/docs/f", "content");
    }

    Device& One() { return *m_one; }
    Device& Two() { return *m_two; }

    static CurlResult Lock(const Device& device, const std::string& path, const std::string& timeout = "600") {
        return device.Post("/locking" + path, "timeout=" + timeout + "&");
    }
    static std::string StateOf(const Device& device, const std::string& path) {
        return device.Get("/locking" + path).Json().value("status", "");
    }

private:
    std::optional<Device> m_one;
    std::optional<Device> m_two;
};

TEST_F(Locking, TellsEverybodyWhetherAnItemIsLocked) {
    EXPECT_EQ(StateOf(One(), "/docs/f"), "unlocked");
    EXPECT_EQ(Lock(One(), "/docs/f").status, 200);
    EXPECT_EQ(StateOf(One(), "/docs/f"), "locked");
    EXPECT_EQ(StateOf(Two(), "/docs/f"), "locked");
    EXPECT_EQ(StateOf(Two(), "/docs"), "unlocked");
    EXPECT_EQ(One().Delete("/locking/docs/f").status, 200);
    EXPECT_EQ(StateOf(Two(), "/docs/f"), "unlocked");
}

TEST_F(Locking, BelongsToOneDeviceWhichMayRenewIt) {
    EXPECT_EQ(Lock(One(), "/docs/f").status, 200);
    EXPECT_EQ(Lock(One(), "/docs/f").status, 200);
    ExpectError(Lock(Two(), "/docs/f"), 423, "1030");
    ExpectError(Two().Delete("/locking/docs/f"), 423, "1030");
    EXPECT_EQ(StateOf(One(), "/docs/f"), "locked");
    EXPECT_EQ(One().Delete("/locking/docs/f").status, 200);
    EXPECT_EQ(Lock(Two(), "/docs/f").status, 200);
}

TEST_F(Locking, OtherSessionsOfTheOwnersDeviceOwnItToo) {
    EXPECT_EQ(Lock(One(), "/docs/f").status, 200);
    const Device again(Server(), "one");
    EXPECT_EQ(again.Upload("/docs/f", "again").status, 200);
    EXPECT_EQ(again.Delete("/locking/docs/f").status, 200);
}

TEST_F(Locking, CannotBeGivenUpByADeviceThatHoldsNone) {
    ExpectError(One().Delete("/locking/docs/f"), 404, "1002");
    Lock(One(), "/docs");
    ExpectError(One().Delete("/locking/docs/f"), 404, "1002");
}

TEST_F(Locking, NeedsAnItemATimeAndASession) {
    ExpectError(Lock(One(), "/nothing"), 404, "1002");
    ExpectError(One().Get("/locking/nothing"), 404, "1002");
    ExpectError(One().Delete("/locking/nothing"), 404, "1002");
    for (const std::string time : {"0", "-1", "soon", "", "2147483648", "1.5"}) {
        ExpectError(Lock(One(), "/docs/f", time), 400, "1001");
    }
    ExpectError(One().Post("/locking/docs/f", "time=5"), 400, "1001");
    ExpectError(One().Curl({"-X", "PUT", Url("/locking/docs/f")}), 405, "1041");
    ExpectError(RunCurl({Url("/locking/docs/f")}), 401, "6");
    EXPECT_EQ(StateOf(One(), "/docs/f"), "unlocked");
    EXPECT_EQ(Lock(One(), "/docs/f", "2147483647").status, 200);
}

TEST_F(Locking, KeepsOtherDevicesFromEveryChange) {
    ASSERT_EQ(Lock(One(), "/docs/f").status, 200);
    ExpectError(Two().Upload("/docs/f", "other"), 423, "1030");
    ExpectError(Two().Post("/folders/docs/f", "operation=update&attributes=33"), 423, "1030");
    ExpectError(Two().Post("/folders/docs/f", "operation=update&path=g"), 423, "1030");
    ExpectError(Two().Post("/folders/docs/f", "operation=move&path=/other/f"), 423, "1030");
    ExpectError(Two().Delete("/folders/docs/f"), 423, "1030");
    Two().Upload("/mine", "x");
    ExpectError(Two().Post("/folders/mine", "operation=move&overwrite=true&path=/docs/f"), 423, "1030");
    EXPECT_EQ(Two().ContentOf("/docs/f"), "content");
    EXPECT_EQ(One().Upload("/docs/f", "own").status, 200);
    EXPECT_EQ(Two().ContentOf("/docs/f"), "own");
}

TEST_F(Locking, KeepsAFolderWithItemsInItFromBeingMovedOrDeleted) {
    ASSERT_EQ(Lock(One(), "/docs/f").status, 200);
    ExpectError(Two().Delete("/folders/docs"), 423, "1030");
    ExpectError(Two().Post("/folders/docs", "operation=move&path=/other/docs"), 423, "1030");
    ExpectError(Two().Post("/folders/docs", "operation=update&path=papers"), 423, "1030");
    EXPECT_EQ(Two().Post("/folders/docs", "operation=update&attributes=18").status, 200);
    EXPECT_EQ(Two().Upload("/docs/g", "beside").status, 200);
    EXPECT_EQ(One().Delete("/folders/docs").status, 200);
}

TEST_F(Locking, OfAFolderCoversEverythingInIt) {
    One().MakeFolder("/docs/deep");
    ASSERT_EQ(Lock(One(), "/docs").status, 200);
    EXPECT_EQ(StateOf(Two(), "/docs/f"), "locked");
    ExpectError(Two().Upload("/docs/f", "other"), 423, "1030");
    ExpectError(Two().Upload("/docs/deep/new", "other"), 423, "1030");
    ExpectError(Two().MakeFolder("/docs/deep/new"), 423, "1030");
    Two().Upload("/mine", "x");
    ExpectError(Two().Post("/folders/mine", "operation=move&path=/docs/deep/mine"), 423, "1030");
    ExpectError(Lock(Two(), "/docs/f"), 423, "1030");
    EXPECT_EQ(One().Upload("/docs/deep/new", "own").status, 200);
    EXPECT_EQ(Two().Upload("/other/f", "elsewhere").status, 200);
}

TEST_F(Locking, OfAFolderWaitsForOtherDevicesLocksInIt) {
    ASSERT_EQ(Lock(Two(), "/docs/f").status, 200);
    ExpectError(Lock(One(), "/docs"), 423, "1030");
    ASSERT_EQ(Two().Delete("/locking/docs/f").status, 200);
    EXPECT_EQ(Lock(One(), "/docs").status, 200);
}

TEST_F(Locking, EndsWhenItsTimeIsOver) {
    ASSERT_EQ(Lock(One(), "/docs/f", "1").status, 200);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (StateOf(Two(), "/docs/f") == "locked" && std::chrono::steady_clock::now() < until) {
    }
    EXPECT_EQ(StateOf(Two(), "/docs/f"), "unlocked");
    EXPECT_EQ(Two().Upload("/docs/f", "late").status, 200);
    ExpectError(One().Delete("/locking/docs/f"), 404, "1002");
    EXPECT_EQ(Lock(Two(), "/docs/f").status, 200);
}

TEST_F(Locking, IsGivenToOneOfManyWhoAskAtOnce) {
    std::vector<Device> devices;
    for (int i = 0; i < 8; ++i) {
        devices.emplace_back(Server(), "many" + std::to_string(i));
    }
    std::vector<int> statuses(devices.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < devices.size(); ++i) {
        threads.emplace_back([&, i] { statuses[i] = Lock(devices[i], "/docs/f").status; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::count(statuses.begin(), statuses.end(), 200), 1);
    EXPECT_EQ(std::count(statuses.begin(), statuses.end(), 423), 7);
}

TEST_F(Locking, GoesWithItsItem) {
    ASSERT_EQ(Lock(One(), "/docs/f").status, 200);
    ASSERT_EQ(One().Post("/folders/docs/f", "operation=move&path=/other/g").status, 200);
    EXPECT_EQ(StateOf(Two(), "/other/g"), "locked");
    ASSERT_EQ(One().Delete("/folders/other/g").status, 200);
    ASSERT_EQ(Two().Upload("/other/g", "new").status, 200);
    EXPECT_EQ(StateOf(Two(), "/other/g"), "unlocked");
}

TEST_F(Locking, IsNotForFilesThatAreReadOnly) {
    One().Upload("/docs/r", "x", {"attributes=33"});
    EXPECT_EQ(StateOf(One(), "/docs/r"), "readonly");
    ExpectError(Lock(One(), "/docs/r"), 403, "1005");
    ASSERT_EQ(One().Post("/folders/docs/r", "operation=update&attributes=32").status, 200);
    EXPECT_EQ(StateOf(One(), "/docs/r"), "unlocked");
}

TEST_F(Locking, SurvivesAKill) {
    Begin({});
    ASSERT_EQ(Lock(One(), "/docs/f").status, 200);
    ASSERT_EQ(Lock(One(), "/other").status, 200);
    ASSERT_EQ(One().Delete("/locking/other").status, 200);
    Server().KillAndStartAgain();
    ExpectError(Two().Upload("/docs/f", "other"), 423, "1030");
    EXPECT_EQ(StateOf(Two(), "/other"), "unlocked");
    EXPECT_EQ(One().Upload("/docs/f", "own").status, 200);
}

TEST_F(Locking, OfOneUserDoesNotConcernAnother) {
    Begin({"--no-sync", "--user", "bob:other"});
    const Device bob(Server(), "two", "bob", "other");
    bob.MakeFolder("/docs");
    bob.Upload("/docs/f", "bob's");
    ASSERT_EQ(Lock(One(), "/docs/f").status, 200);
    EXPECT_EQ(StateOf(bob, "/docs/f"), "unlocked");
    EXPECT_EQ(bob.Delete("/folders/docs").status, 200);
}

}  // namespace appliance_test
