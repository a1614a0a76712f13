// Server locks. Their registry is a folder of the test's own.
#include "unit/client/ClientTest.h"
#include "unit/client/SettingsFolder.h"

namespace quillmark::test {
namespace {

class Locks : public ClientTest {
protected:
    static constexpr const char* Normal = "SetTimeouts(s1, 60000, 60000, 300000, 300000)";

    void SetUp() override { Discover(); }
    StatusPair Test(const std::string& reply, const WideString& path = QM_W("/a b/\u00E9")) {
        factory->Reply(200, reply);
        return client->TestLock(path, state, nullptr);
    }

    SettingsFolder settings;
    DWORD state = 9;
};

TEST_F(Locks, TestLockAsksWithTimeoutsOfItsOwnAndResetsThem) {
    EXPECT_EQ(Test(R"({"status":"locked"})"), (StatusPair{0, 0}));
    EXPECT_EQ(state, 1u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 10000, 10000, 10000, 10000)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/locking/a%20b/%C3%A9\", \"GET\", c3, null, 0x00000000, false)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)", Normal}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::TestLock", "lock status:[locked]"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::TestLock", "Exited [status=0]"));
}

TEST_F(Locks, TheStateIgnoresCase) {
    const std::pair<const char*, DWORD> states[] = {{"LOCKED", 1},   {"Locked", 1}, {"ReadOnly", 2}, {"readonly", 2},
                                                    {"unlocked", 0}, {"", 0},       {"lock", 0},     {"read-only", 0}};
    for (const auto& [word, expected] : states) {
        state = 9;
        EXPECT_EQ(Test(R"({"status":")" + std::string(word) + "\"}"), (StatusPair{0, 0})) << word;
        EXPECT_EQ(state, expected) << word;
    }
}

TEST_F(Locks, AReplyWithoutATextIs13AndLeavesStateAndTimeouts) {
    for (const char* reply : {R"({"status":1})", "{}", "<html>", "[]"}) {
        EXPECT_EQ(Test(reply), (StatusPair{13, 0})) << reply;
    }
    EXPECT_EQ(log.Count(Error, "Failed to parse json response"), 4u);
    EXPECT_EQ(state, 9u);
    EXPECT_EQ(factory->Count("SetTimeouts"), 0u);
}

TEST_F(Locks, AFailedTestLockResetsTheTimeouts) {
    factory->Reply(500, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(client->TestLock(QM_W("/a"), state, nullptr), (StatusPair{20017, 2}));
    EXPECT_EQ(factory->Calls().back(), Normal);
    factory->ClearCalls();
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(client->TestLock(QM_W("/a"), state, nullptr), (StatusPair{12005, 0}));
    EXPECT_EQ(factory->Calls().back(), Normal);
    EXPECT_EQ(state, 9u);
}

TEST_F(Locks, RequestLockSendsTheDurationWithATrailingSeparator) {
    factory->Reply(200);
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 600, nullptr), (StatusPair{0, 0}));
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 10000, 10000, 10000, 10000)",
               "CreateRequest(s1)", "Request::Initialise(r3, \"/qm/locking/a\", \"POST\", c3, null, 0x00000000, false)",
               "AppendFormData(r3, timeout=600&)", "GetResponse(r3)", "GetHTTPStatus(r3)", Normal}));
}

TEST_F(Locks, OnAServerOfApi10TheTokenIsInThePath) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    client->SetSessionToken(QM_W("t0ken"));
    factory->ClearCalls();
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), nullptr), (StatusPair{0, 0}));
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("\"/api/t0ken/locking/a\""));
}

TEST_F(Locks, TheDurationIsPrintedSigned) {
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 0xFFFFFFFF, nullptr), (StatusPair{0, 0}));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("AppendFormData(r3, timeout=-1&)"));
}

TEST_F(Locks, RequestLockResetsTheTimeoutsWhateverComesOfIt) {
    factory->Reply(423, R"({"errorId":"55","severity":"1"})");
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 1, nullptr), (StatusPair{20055, 1}));
    factory->Fail("AppendFormData", 12150);
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 1, nullptr), (StatusPair{12150, 0}));
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 1, nullptr), (StatusPair{12005, 0}));
    EXPECT_EQ(factory->Count("SetTimeouts"), 3u);
    EXPECT_EQ(factory->Count("GetResponse"), 1u);
}

TEST_F(Locks, ReleaseLockNeverResetsTheTimeouts) {
    factory->Reply(200);
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), nullptr), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 10000, 10000, 10000, 10000)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/locking/a\", \"DELETE\", c3, null, 0x00000000, false)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    for (const char* text : {"Releasing lock on [/a]", "Successfully released lock on [/a]"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::ReleaseLock", text)) << text;
    }
}

TEST_F(Locks, AFailedReleaseLockDoesNotResetTheTimeoutsEither) {
    factory->Reply(404, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), nullptr), (StatusPair{20017, 2}));
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), nullptr), (StatusPair{12005, 0}));
    EXPECT_EQ(factory->Count("SetTimeouts"), 0u);
    EXPECT_EQ(log.Count(Information, "Releasing lock on [/a]"), 2u);
    EXPECT_FALSE(log.Mentions("Successfully released"));
}

TEST_F(Locks, TheTimeoutIsReadAtEveryCall) {
    settings.Write("\"ServerLockHTTPTimeout\"=dword:00000003\n");
    EXPECT_EQ(Test(R"({"status":""})", QM_W("/a")), (StatusPair{0, 0}));
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 1, nullptr), (StatusPair{0, 0}));
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), nullptr), (StatusPair{0, 0}));
    settings.Write("\"ServerLockHTTPTimeout\"=dword:00000007\n");
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), nullptr), (StatusPair{0, 0}));
    EXPECT_EQ(CallsOf("Connection::Initialise"),
              (Lines{"(c3, \"\", 0, s1, 3000, 3000, 3000, 3000)", "(c4, \"\", 0, s1, 3000, 3000, 3000, 3000)",
                     "(c5, \"\", 0, s1, 3000, 3000, 3000, 3000)", "(c6, \"\", 0, s1, 7000, 7000, 7000, 7000)"}));
}

TEST_F(Locks, ATimeoutBeyondThePlatformsIsItsLongest) {
    settings.Write("\"ServerLockHTTPTimeout\"=dword:ffffffff\n");
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), nullptr), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls()[1],
              "Connection::Initialise(c3, \"\", 0, s1, 2147483647, 2147483647, 2147483647, 2147483647)");
}

TEST_F(Locks, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->TestLock(lone, state, nullptr), (StatusPair{1113, 0}));
    EXPECT_EQ(client->RequestLock(lone, 1, nullptr), (StatusPair{1113, 0}));
    EXPECT_EQ(client->ReleaseLock(lone, nullptr), (StatusPair{1113, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(Locks, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->TestLock(QM_W("/a"), state, cancel.Handle()).error, 13u);
    EXPECT_EQ(client->RequestLock(QM_W("/a"), 1, cancel.Handle()).error, 0u);
    EXPECT_EQ(client->ReleaseLock(QM_W("/a"), cancel.Handle()).error, 0u);
    EXPECT_EQ(log.Count(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))), 3u);
}

}  // namespace
}  // namespace quillmark::test
