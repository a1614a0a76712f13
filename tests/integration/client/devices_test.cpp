// Several devices of one user: what each is told of the others, locks between them, registration and remote wipes.
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

constexpr StatusPair Success{0, 0};

// A change as text: "3 /a -> /b".
std::string TextOf(const CNotificationAction& action) {
    const std::string text = std::to_string(action.type) + " " + NarrowUtf8(action.value);
    return action.value2.empty() ? text : text + " -> " + NarrowUtf8(action.value2);
}

class DevicesTest : public ClientTest {
protected:
    // Two clients of anna's, on the devices "device-1" and "device-2".
    void StartBoth(const std::vector<std::string>& options = {"--no-sync"}) {
        StartAndLogin(options);
        m_other.emplace(Server().HttpUrl());
        ASSERT_EQ(0u, LoginOn(*m_other, "device-2"));
    }

    static DWORD LoginOn(HostClient& client, const std::string& device) {
        WideString policy;
        return client->Login(QM_W("anna"), QM_W("secret"), QM_W(""), WidenUtf8(device), policy, QM_W(""), QM_W(""),
                             nullptr);
    }

    HostClient& Other() { return *m_other; }

    static std::vector<std::string> ChangesOf(HostClient& client) {
        NotificationList actions;
        EXPECT_EQ(Success, client->GetChanges(actions, nullptr));
        std::vector<std::string> texts;
        for (const auto& action : actions) {
            texts.push_back(TextOf(*action));
        }
        return texts;
    }

    static DWORD LockState(HostClient& client, const std::string& path) {
        DWORD state = 99;
        EXPECT_EQ(Success, client->TestLock(WidenUtf8(path), state, nullptr));
        return state;
    }

private:
    std::optional<HostClient> m_other;
};

TEST_F(DevicesTest, ChangesOfOneDeviceReachTheOtherOnceAndInOrder) {
    StartBoth();
    ASSERT_EQ(0u, MakeFolder("/docs \xC3\xA4"));
    ASSERT_EQ(0u, Upload("/docs \xC3\xA4/f", "content"));
    Attributes record = UploadAttributes(7);
    ASSERT_EQ(Success, Client()->SetPathAttributes(QM_W("/docs \u00E4/f"), record, nullptr));
    ASSERT_EQ(Success, Client()->RenamePath(QM_W("/docs \u00E4/f"), QM_W("/docs \u00E4/g"), 0, record, nullptr));
    ASSERT_EQ(Success, Client()->RenamePath(QM_W("/docs \u00E4/g"), QM_W("/h"), 0, record, nullptr));
    ASSERT_EQ(Success, Client()->DeletePath(QM_W("/h"), nullptr, nullptr));
    EXPECT_EQ(
        (std::vector<std::string>{"1 /docs \xC3\xA4", "2 /docs \xC3\xA4/f", "8 /docs \xC3\xA4/f -> /docs \xC3\xA4/f",
                                  "3 /docs \xC3\xA4/f -> /docs \xC3\xA4/g", "3 /docs \xC3\xA4/g -> /h", "6 /h"}),
        ChangesOf(Other()));
    EXPECT_TRUE(ChangesOf(Other()).empty());
    EXPECT_TRUE(ChangesOf(Client()).empty());
}

TEST_F(DevicesTest, ChangesWhoseAnswerIsLostComeAgain) {
    StartBoth();
    ASSERT_EQ(0u, MakeFolder("/docs"));
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/notifs"}, {"kind", "reset"}, {"at", "after-work"}});
    NotificationList actions;
    EXPECT_NE(0u, Other()->GetChanges(actions, nullptr).error);
    EXPECT_TRUE(actions.empty());
    EXPECT_EQ(std::vector<std::string>{"1 /docs"}, ChangesOf(Other()));
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(DevicesTest, ChangesAreAskedForWithTheTokenInThePathOnVersionOneZero) {
    StartBoth({"--no-sync", "--api", "1.0"});
    ASSERT_EQ(0u, MakeFolder("/docs"));
    EXPECT_EQ(std::vector<std::string>{"1 /docs"}, ChangesOf(Other()));
    WideString token;
    Other()->GetSessionToken(token);
    EXPECT_EQ(1u, Server().RequestCount("GET", "/api/1.0/notifs/" + NarrowUtf8(token)));
}

TEST_F(DevicesTest, LockOfOneDeviceKeepsTheOtherOut) {
    StartBoth();
    ASSERT_EQ(0u, Upload("/a b", "content"));
    EXPECT_EQ(0u, LockState(Client(), "/a b"));
    EXPECT_EQ(Success, Client()->RequestLock(QM_W("/a b"), 600, nullptr));
    EXPECT_EQ(1u, LockState(Client(), "/a b"));
    EXPECT_EQ(1u, LockState(Other(), "/a b"));
    EXPECT_EQ((StatusPair{21030, 1}), Other()->RequestLock(QM_W("/a b"), 600, nullptr));
    EXPECT_EQ((StatusPair{21030, 1}), Other()->ReleaseLock(QM_W("/a b"), nullptr));
    EXPECT_EQ((StatusPair{21030, 1}), Other()->DeletePath(QM_W("/a b"), nullptr, nullptr));
    EXPECT_EQ(21030u, Other()->UploadFile(WriteFileAt(LocalPath("other"), "other"), QM_W("/a b"), UploadAttributes(5),
                                          nullptr, nullptr, 0));
    EXPECT_EQ("content", ContentOf("/a b"));
    EXPECT_EQ(0u, Upload("/a b", "own content"));
    EXPECT_EQ(Success, Client()->ReleaseLock(QM_W("/a b"), nullptr));
    EXPECT_EQ(Success, Other()->DeletePath(QM_W("/a b"), nullptr, nullptr));
}

TEST_F(DevicesTest, LockEndsWhenItsTimeIsOver) {
    StartBoth();
    ASSERT_EQ(0u, Upload("/item", "content"));
    ASSERT_EQ(Success, Client()->RequestLock(QM_W("/item"), 1, nullptr));
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    DWORD error = 21030;
    while (error == 21030 && std::chrono::steady_clock::now() < until) {
        error = Other()->RequestLock(QM_W("/item"), 600, nullptr).error;
    }
    EXPECT_EQ(0u, error);
    EXPECT_EQ((StatusPair{21030, 1}), Client()->ReleaseLock(QM_W("/item"), nullptr));
}

TEST_F(DevicesTest, LockOutlivesTheServersProcess) {
    StartBoth({});
    ASSERT_EQ(0u, Upload("/item", "content"));
    ASSERT_EQ(Success, Client()->RequestLock(QM_W("/item"), 600, nullptr));
    Server().Kill();
    Server().Start();
    EXPECT_EQ((StatusPair{21030, 1}), Other()->RequestLock(QM_W("/item"), 600, nullptr));
    EXPECT_EQ(Success, Client()->ReleaseLock(QM_W("/item"), nullptr));
}

TEST_F(DevicesTest, LocksOfMissingAndOfReadOnlyItems) {
    StartBoth({"--no-sync", "--mapping", "Fixed;readonly"});
    DWORD state = 99;
    EXPECT_EQ((StatusPair{21002, 1}), Client()->TestLock(QM_W("/missing"), state, nullptr));
    EXPECT_EQ((StatusPair{21002, 1}), Client()->RequestLock(QM_W("/missing"), 5, nullptr));
    EXPECT_EQ((StatusPair{21002, 1}), Client()->ReleaseLock(QM_W("/Fixed"), nullptr));
    EXPECT_EQ(2u, LockState(Client(), "/Fixed"));
    EXPECT_EQ((StatusPair{21005, 2}), Client()->RequestLock(QM_W("/Fixed"), 5, nullptr));
}

TEST_F(DevicesTest, RegistrationSendsALetterAndTheSecondOneSendsItAgain) {
    Start();
    DWORD mode = 0;
    DWORD extra = 0;
    ASSERT_EQ(0u, Client()->Init(mode, extra, nullptr));
    EXPECT_EQ(Success, Client()->Register(QM_W("anna"), QM_W("new device"), nullptr));
    ASSERT_EQ(1u, Server().Letters().size());
    EXPECT_EQ("anna", Server().Letters()[0].at("recipient"));
    EXPECT_EQ("new device", Server().Letters()[0].at("device_id"));
    EXPECT_EQ("test device", Server().Letters()[0].at("device_name"));
    EXPECT_EQ("windows", Server().Letters()[0].at("platform"));
    EXPECT_EQ(Success, Client()->Register(QM_W("anna"), QM_W("new device"), nullptr));
    EXPECT_EQ(2u, Server().Letters().size());
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/registrations/resend"));
}

TEST_F(DevicesTest, RegistrationForAnUnknownUserGivesTheServersCode) {
    Start();
    DWORD mode = 0;
    DWORD extra = 0;
    ASSERT_EQ(0u, Client()->Init(mode, extra, nullptr));
    EXPECT_EQ((StatusPair{21010, 2}), Client()->Register(QM_W("nobody"), QM_W("device"), nullptr));
    EXPECT_TRUE(Server().Letters().empty());
}

TEST_F(DevicesTest, WipedDeviceIsOutUntilItAcknowledges) {
    StartBoth();
    Server().OrderWipe("device-1");
    EXPECT_EQ(20006u, Look("/"));
    EXPECT_TRUE(ChangesOf(Other()).empty());
    EXPECT_EQ(21011u, Client().Login());
    EXPECT_EQ(Success, Client()->AcknowledgeRemoteWipe(QM_W("anna"), QM_W("device-1"), nullptr));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/devices"));
    EXPECT_EQ(0u, Client().Login());
    EXPECT_EQ(0u, Look("/"));
}

TEST_F(DevicesTest, AcknowledgementForAnUnknownDeviceGivesTheBareStatus) {
    StartAndLogin();
    EXPECT_EQ(404u, Client()->AcknowledgeRemoteWipe(QM_W("anna"), QM_W("no device"), nullptr).error);
}

TEST_F(DevicesTest, AcknowledgementToAVersionOneZeroServerSendsNothing) {
    StartAndLogin({"--no-sync", "--api", "1.0"});
    Server().ResetStatistics();
    EXPECT_EQ(Success, Client()->AcknowledgeRemoteWipe(QM_W("anna"), QM_W("no device"), nullptr));
    EXPECT_EQ(0u, Server().ConnectionCount());
}

}  // namespace
}  // namespace quillmark::testing
