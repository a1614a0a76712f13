// What a device is told of the changes that the user's other devices have made.
#include <thread>

#include "integration/appliance/ApplianceTest.h"
#include "integration/appliance/Device.h"

namespace appliance_test {

using nlohmann::json;

class Notifications : public ApplianceTest {
protected:
    void SetUp() override { Begin({"--no-sync"}); }

    void Begin(const std::vector<std::string>& options) {
        StartServer(options);
        m_one.emplace(Server(), "one");
        m_two.emplace(Server(), "two");
    }

    Device& One() { return *m_one; }
    Device& Two() { return *m_two; }

    // A rule for the next request of that kind that asks for changes.
    void Interrupt(json rule) {
        rule["method"] = "GET";
        rule["path"] = "/api/1.7/notifs";
        AddFaults(rule);
    }

private:
    std::optional<Device> m_one;
    std::optional<Device> m_two;
};

TEST_F(Notifications, NameEveryKindOfChangeInItsOrder) {
    One().MakeFolder("/docs");
    One().Upload("/docs/a", "1");
    One().Upload("/docs/a", "2");
    One().Post("/folders/docs/a", "operation=update&attributes=33");
    One().Post("/folders/docs/a", "operation=update&path=b");
    One().Post("/folders/docs/b", "operation=move&path=/c");
    One().Delete("/folders/c");
    EXPECT_EQ(Two().Changes(), json::parse(R"([
        {"a": "create", "m": "/docs"},
        {"a": "upload", "m": "/docs/a"},
        {"a": "upload", "m": "/docs/a"},
        {"a": "update", "m": {"from": "/docs/a", "to": "/docs/a"}},
        {"a": "move", "m": {"from": "/docs/a", "to": "/docs/b"}},
        {"a": "move", "m": {"from": "/docs/b", "to": "/c"}},
        {"a": "delete", "m": "/c"}])"));
}

TEST_F(Notifications, AreHandedOverOnce) {
    One().MakeFolder("/a");
    EXPECT_EQ(Two().Changes(), json::parse(R"([{"a": "create", "m": "/a"}])"));
    EXPECT_EQ(Two().Changes(), json::array());
    One().MakeFolder("/b");
    EXPECT_EQ(Two().Changes(), json::parse(R"([{"a": "create", "m": "/b"}])"));
    EXPECT_EQ(Two().Changes(), json::array());
}

TEST_F(Notifications, LeaveOutTheDevicesOwnChanges) {
    One().MakeFolder("/a");
    Two().MakeFolder("/b");
    One().MakeFolder("/c");
    EXPECT_EQ(Two().Changes(), json::parse(R"([{"a": "create", "m": "/a"}, {"a": "create", "m": "/c"}])"));
    EXPECT_EQ(One().Changes(), json::parse(R"([{"a": "create", "m": "/b"}])"));
}

TEST_F(Notifications, LeaveOutWhatWasRefused) {
    ExpectError(One().Delete("/folders/nothing"), 404, "1002");
    ExpectError(One().MakeFolder("/nowhere/a"), 404, "1002");
    EXPECT_EQ(Two().Changes(), json::array());
}

TEST_F(Notifications, BeginWithTheDevicesFirstLogin) {
    One().MakeFolder("/before");
    const Device three(Server(), "three");
    One().MakeFolder("/after");
    const Device again(Server(), "three");
    EXPECT_EQ(again.Changes(), json::parse(R"([{"a": "create", "m": "/after"}])"));
    EXPECT_EQ(three.Changes(), json::array());
}

TEST_F(Notifications, ReachEachOfManyDevicesByItself) {
    std::vector<Device> devices;
    for (int i = 0; i < 20; ++i) {
        devices.emplace_back(Server(), "many" + std::to_string(i));
    }
    for (std::size_t i = 0; i < devices.size(); ++i) {
        devices[i].MakeFolder("/f" + std::to_string(i));
    }
    for (std::size_t i = 0; i < devices.size(); ++i) {
        json expected = json::array();
        for (std::size_t other = 0; other < devices.size(); ++other) {
            if (other != i) {
                expected.push_back({{"a", "create"}, {"m", "/f" + std::to_string(other)}});
            }
        }
        EXPECT_EQ(devices[i].Changes(), expected) << i;
    }
}

TEST_F(Notifications, AreNotForOtherUsers) {
    Begin({"--no-sync", "--user", "bob:other"});
    const Device bob(Server(), "two", "bob", "other");
    One().MakeFolder("/a");
    EXPECT_EQ(bob.Changes(), json::array());
}

TEST_F(Notifications, KeepTheirOrderUnderConcurrentChangesAndQuestions) {
    constexpr int count = 40;
    std::thread writer([&] {
        for (int i = 0; i < count; ++i) {
            One().MakeFolder("/f" + std::to_string(i));
        }
    });
    json told = json::array();
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (told.size() < count && std::chrono::steady_clock::now() < until) {
        for (const json& change : Two().Changes()) {
            told.push_back(change["m"]);
        }
    }
    writer.join();
    json expected = json::array();
    for (int i = 0; i < count; ++i) {
        expected.push_back("/f" + std::to_string(i));
    }
    EXPECT_EQ(told, expected);
}

TEST_F(Notifications, ComeAgainWhenTheAnswerWasLost) {
    const json expected = json::parse(R"([{"a": "create", "m": "/a"}])");
    One().MakeFolder("/a");
    for (const std::string place : {"before-head", "in-head", "in-body", "after-work"}) {
        Interrupt({{"kind", "reset"}, {"at", place}, {"after", 5}});
        EXPECT_NE(Two().Get("/notifs").exitCode, 0) << place;
    }
    EXPECT_EQ(Two().Changes(), expected);
    EXPECT_EQ(Two().Changes(), json::array());
}

TEST_F(Notifications, GoOnBehindAnAnswerThatIsStillUnderWay) {
    One().MakeFolder("/a");
    Interrupt({{"kind", "stall"}, {"after", 20}});
    RawConnection stalled(Server().HttpPort());
    ASSERT_TRUE(stalled.Send(
        "GET /api/1.7/notifs HTTP/1.1\r\nHost: localhost\r\nCookie: session_token=" + Two().Token() + "\r\n\r\n"));
    ASSERT_TRUE(stalled.WaitForBytes(std::chrono::seconds(20)));
    One().MakeFolder("/b");
    EXPECT_EQ(Two().Changes(), json::parse(R"([{"a": "create", "m": "/b"}])"));
    // The first answer never gets through: what it held comes again, and with it what came behind it.
    Server().KillAndStartAgain();
    EXPECT_EQ(Two().Changes(), json::parse(R"([{"a": "create", "m": "/a"}, {"a": "create", "m": "/b"}])"));
}

TEST_F(Notifications, SurviveAKill) {
    Begin({});
    One().MakeFolder("/told");
    // The second exchange of a connection begins when the first one is over, its commit included.
    const std::string url = Url("/notifs");
    ASSERT_EQ(Two().Curl({url, "--next", "-b", "session_token=" + Two().Token(), url}).Json()["contents"],
              json::array());
    One().MakeFolder("/untold");
    Server().KillAndStartAgain();
    EXPECT_EQ(Two().Changes(), json::parse(R"([{"a": "create", "m": "/untold"}])"));
    EXPECT_EQ(Two().Changes(), json::array());
}

TEST_F(Notifications, ComeAThousandAtATime) {
    One().MakeFolder("/a");
    Server().Stop();
    ChangeRows(Server().DataFolder(),
               "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1500)"
               " INSERT INTO changes (user, device, time, verb, subject)"
               " SELECT user, device, time, verb, '\"/' || i || '\"' FROM n JOIN changes ORDER BY i");
    Server().KillAndStartAgain();
    const json first = Two().Changes();
    ASSERT_EQ(first.size(), 1000U);
    EXPECT_EQ(first.front()["m"], "/a");
    EXPECT_EQ(first.back()["m"], "/999");
    const json second = Two().Changes();
    ASSERT_EQ(second.size(), 501U);
    EXPECT_EQ(second.front()["m"], "/1000");
    EXPECT_EQ(second.back()["m"], "/1500");
}

TEST_F(Notifications, AreForgottenAfterThirtyDays) {
    One().MakeFolder("/old");
    One().MakeFolder("/new");
    Server().Stop();
    ChangeRows(Server().DataFolder(),
               "UPDATE changes SET time = time - (30 * 86400 + 1) * 10000000 WHERE subject = '\"/old\"'");
    ChangeRows(Server().DataFolder(),
               "UPDATE changes SET time = time - (30 * 86400 - 3600) * 10000000 WHERE subject = '\"/new\"'");
    Server().KillAndStartAgain();
    EXPECT_EQ(Two().Changes(), json::parse(R"([{"a": "create", "m": "/new"}])"));
}

TEST_F(Notifications, NeedASession) {
    ExpectError(RunCurl({Url("/notifs")}), 401, "6");
    ExpectError(One().Post("/notifs", "a=b"), 405, "1041");
    ExpectError(One().Get("/notifs/more"), 404, "1040");
}

TEST_F(Notifications, TakeTheTokenBehindTheNameOnVersionOneZero) {
    Begin({"--no-sync", "--api", "1.0", "--api", "1.7"});
    One().MakeFolder("/a");
    const std::string base = Server().Http() + "/api/1.0/notifs";
    ExpectError(RunCurl({base}), 401, "6");
    ExpectError(RunCurl({base + "/" + std::string(64, 'a')}), 401, "6");
    const CurlResult result = RunCurl({base + "/" + Two().Token()});
    ASSERT_EQ(result.status, 200) << result.body;
    EXPECT_EQ(result.Json(), json::parse(R"({"contents": [{"a": "create", "m": "/a"}]})"));
    EXPECT_EQ(Two().Changes(), json::array());
    ExpectError(RunCurl({Url("/notifs/" + Two().Token())}), 404, "1040");
}

}  // namespace appliance_test
