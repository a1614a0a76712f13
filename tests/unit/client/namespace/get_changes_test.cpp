#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class GetChanges : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    StatusPair Run() { return client->GetChanges(actions, nullptr); }

    NotificationList actions;
};

TEST_F(GetChanges, AsksForTheNotificationsOfThisClient) {
    factory->Reply(200, R"({"contents":[{"a":"delete","m":"/x/y.txt"},{"a":"MOVE","m":{"from":"/a","to":"/b"}}]})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/notifs\", \"GET\", c3, null, 0x00000000, false)", "GetResponse(r3)",
                     "GetHTTPStatus(r3)"}));
    ASSERT_EQ(actions.size(), 2u);
    EXPECT_EQ(actions.front()->type, 6u);
    EXPECT_EQ(actions.front()->value, QM_W("/x/y.txt"));
    EXPECT_EQ(actions.back()->type, 3u);
    EXPECT_EQ(actions.back()->value, QM_W("/a"));
    EXPECT_EQ(actions.back()->value2, QM_W("/b"));
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::GetChanges", "Requesting list of changes from the server."));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::GetChanges", "Exited [status=0]"));
}

TEST_F(GetChanges, OnAServerOfApi10TheTokenIsInThePathBehindTheApiPath) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    client->SetSessionToken(QM_W("t0ken"));
    factory->ClearCalls();
    EXPECT_EQ(Run().error, 0u);
    EXPECT_EQ(factory->Calls()[3],
              "Request::Initialise(r5, \"/qm/notifs/t0ken\", \"GET\", c5, null, 0x00000000, false)");
}

TEST_F(GetChanges, ReplacesWhatTheListHeld) {
    actions.push_back(std::make_shared<CNotificationAction>());
    factory->Reply(200, "[]");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_TRUE(actions.empty());
}

TEST_F(GetChanges, WithoutABodyThereAreNone) {
    factory->Reply(200);
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_TRUE(actions.empty());
    EXPECT_FALSE(log.Mentions("Extracted"));
}

TEST_F(GetChanges, ABodyThatIsNoJsonIsASuccessWithoutAny) {
    factory->Reply(200, "<html>");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_TRUE(actions.empty());
    EXPECT_TRUE(log.Has(Information, "Extracted 0 notification actions from reply"));
}

TEST_F(GetChanges, AFailureIsThePairAsItIsAndHandsNothingBack) {
    factory->Reply(401, R"({"errorId":"6","severity":"3","a":"delete","m":"/d"})");
    EXPECT_EQ(Run(), (StatusPair{20006, 3}));
    factory->Reply(503);
    EXPECT_EQ(Run(), (StatusPair{20503, 0}));
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Run(), (StatusPair{12005, 0}));
    EXPECT_TRUE(actions.empty());
}

TEST_F(GetChanges, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->GetChanges(actions, cancel.Handle()).error, 0u);
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
