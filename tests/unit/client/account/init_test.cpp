// Discovery.
#include <thread>
#include <vector>

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Init : public ClientTest {
protected:
    void SetUp() override {
        SetServer(QM_W("https://files.example.com"), 443);
        factory->ClearCalls();
    }
    [[nodiscard]] DWORD Run() { return client->Init(mode, extra, nullptr); }

    void ReplyEndpoints(const std::string& sync, const std::string& audit = "{}") {
        factory->Reply(200, R"({"qm":{"sync":)" + sync + R"(,"audit":)" + audit + "}}");
    }
    void ReplyMode(bool deviceTokens) {
        factory->Reply(200, deviceTokens ? R"({"device_token_auth":true})" : R"({"device_token_auth":false})");
    }
    // The path of the n-th request that was made (from 1).
    [[nodiscard]] std::string PathOfRequest(int number) {
        const std::string start = "Request::Initialise(r" + std::to_string(number) + ", \"";
        for (const std::string& call : factory->Calls()) {
            if (call.starts_with(start)) {
                return call.substr(start.size(), call.find('"', start.size()) - start.size());
            }
        }
        return "no request";
    }

    DWORD mode = 77;
    DWORD extra = 77;
};

TEST_F(Init, AsksForEndpointsThenForTheModeBetweenItsTimeouts) {
    ReplyEndpoints(R"({"1.3":{"path":"/qm/1.3","tos":7}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(mode, 2u);
    EXPECT_EQ(extra, 1u);
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"SetTimeouts(s1, 30000, 30000, 30000, 30000)", "CreateConnection()",
               "Connection::Initialise(c1, \"files.example.com\", 443, s1, 30000, 30000, 30000, 30000)",
               "CreateRequest(s1)", "Request::Initialise(r1, \"/endpoints\", \"GET\", c1, null, 0x00800000, false)",
               "GetResponse(r1)", "GetHTTPStatus(r1)", "CreateConnection()",
               "Connection::Initialise(c2, \"files.example.com\", 443, s1, 30000, 30000, 30000, 30000)",
               "CreateRequest(s1)", "Request::Initialise(r2, \"/qm/1.3/init\", \"GET\", c2, null, 0x00800000, false)",
               "GetResponse(r2)", "GetHTTPStatus(r2)", "SetTimeouts(s1, 60000, 60000, 300000, 300000)"}));
}

TEST_F(Init, LogsWhatItFinds) {
    ReplyEndpoints(R"({"1.3":{"path":"/qm/1.3","tos":7},"1.2":{"path":"/old","tos":1}})",
                   R"({"1.0":{"path":"/audit","tos":0}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    for (const char* text :
         {"Server: files.example.com, Port: 443", "Found endpoint 1.3 compatible with 1.1, path=/qm/1.3, TOS=7",
          "Found logging API version 1.0", "Server mode is DEVICE_TOKEN_AUTH"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::Init", text)) << text;
    }
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetEndpoints",
                        "Extracted 2 QM endpoints from response and 1 logging endpoints"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::Init", "Exited [status=0]"));
}

TEST_F(Init, AnswersFromTheCacheAfterASuccess) {
    Discover("1.3");
    DWORD again = 0;
    DWORD extraAgain = 0;
    EXPECT_EQ(client->Init(again, extraAgain, nullptr), 0u);
    EXPECT_EQ(again, 2u);
    EXPECT_EQ(extraAgain, 1u);
    EXPECT_EQ(factory->Calls(), Lines{});
    EXPECT_TRUE(log.Has(Information, "Returning cached server mode 2"));
}

TEST_F(Init, AServerWithoutDeviceTokensIsLegacy) {
    ReplyEndpoints(R"({"1.3":{"path":"/qm","tos":0}})");
    ReplyMode(false);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(mode, 1u);
    EXPECT_TRUE(log.Has(Information, "Server mode is LEGACY"));
}

TEST_F(Init, ChoosesTheHighestVersionOfMajorOne) {
    ReplyEndpoints(R"({"1":{"path":"/one","tos":0},"1.3":{"path":"/three","tos":0},"2.0":{"path":"/two","tos":0}})");
    EXPECT_EQ(Run(), 12004u);
    EXPECT_EQ(PathOfRequest(2), "/three/init");
}

TEST_F(Init, ComparesMinorsAsNumbers) {
    ReplyEndpoints(R"({"1.10":{"path":"/ten","tos":0},"1.9":{"path":"/nine","tos":0}})");
    EXPECT_EQ(Run(), 12004u);
    EXPECT_EQ(PathOfRequest(2), "/ten/init");
}

TEST_F(Init, ABareOneCountsAsOnePointZero) {
    ReplyEndpoints(R"({"1":{"path":"/one","tos":0}})");
    ReplyMode(false);
    EXPECT_EQ(Run(), 0u);
    EXPECT_TRUE(log.Has(Information, "Found endpoint 1.0 compatible with 1.1, path=/one, TOS=0"));
    client->SetSessionToken(QM_W("t0ken"));
    EXPECT_EQ(client->GetApiPath(client->GetSession()), QM_W("/api/t0ken"));
}

TEST_F(Init, OnePointZeroWinsOverABareOne) {
    ReplyEndpoints(R"({"1":{"path":"/bare","tos":0},"1.0":{"path":"/full","tos":0}})");
    EXPECT_EQ(Run(), 12004u);
    EXPECT_EQ(PathOfRequest(2), "/full/init");
}

TEST_F(Init, AnEntryWithoutPathCountsAsNone) {
    ReplyEndpoints(R"({"1":{"path":"/bare"},"1.0":{"path":"","tos":4},"1.4":{"tos":4}})");
    EXPECT_EQ(Run(), 12004u);
    EXPECT_EQ(PathOfRequest(2), "/bare/init");
}

TEST_F(Init, Minor50IsTheHighest) {
    ReplyEndpoints(R"({"1.50":{"path":"/fifty","tos":0},"1.51":{"path":"/more","tos":0}})");
    EXPECT_EQ(Run(), 12004u);
    EXPECT_EQ(PathOfRequest(2), "/fifty/init");
}

TEST_F(Init, AServerWithoutAnEndpointOfMajorOneIsIncompatible) {
    ReplyEndpoints(R"({"1.51":{"path":"/more","tos":0},"01.3":{"path":"/x","tos":0}})");
    EXPECT_EQ(Run(), 19006u);
    EXPECT_EQ(log.Texts(Error),
              (Lines{"============================================================================",
                     "FATAL ERROR: The appliance is not compatible with this version of the client",
                     "============================================================================"}));
    EXPECT_EQ(factory->Calls().back(), "SetTimeouts(s1, 60000, 60000, 300000, 300000)");
    EXPECT_EQ(factory->Count("CreateRequest"), 1u);
}

TEST_F(Init, TheExtraValueIsAQuarterTowardsMinusInfinity) {
    ReplyEndpoints(R"({"1.1":{"path":"/qm","tos":-1}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(extra, 0xFFFFFFFFu);
}

TEST_F(Init, AMissingTosIsZero) {
    ReplyEndpoints(R"({"1.1":{"path":"/qm"}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(extra, 0u);
}

TEST_F(Init, AMissingAuditListMeansNoLogging) {
    factory->Reply(200, R"({"qm":{"sync":{"1.1":{"path":"/qm","tos":0}}}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_TRUE(log.Has(Information, "Logging not supported on this appliance"));
}

TEST_F(Init, ALoggingEndpointOfAnotherVersionMeansNoLogging) {
    ReplyEndpoints(R"({"1.1":{"path":"/qm","tos":0}})", R"({"1.1":{"path":"/audit","tos":0}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_TRUE(log.Has(Information, "Logging not supported on this appliance"));
}

TEST_F(Init, AServerThatNoLongerOffersLoggingLeavesThePathOfAnEarlierAttempt) {
    ReplyEndpoints(R"({"1.3":{"path":"/qm/1.3","tos":7}})", R"({"1.0":{"path":"/audit/early","tos":0}})");
    factory->Reply(500, "{}");
    EXPECT_EQ(Run(), 20500u);
    ReplyEndpoints(R"({"1.3":{"path":"/qm/1.3","tos":7}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    factory->Reply(200);
    EXPECT_EQ(client->PublishSyncStats("text", nullptr), (StatusPair{0, 0}));
    EXPECT_EQ(PathOfRequest(5), "/audit/early");
}

TEST_F(Init, TimeoutsThatCannotBeSetEndIt) {
    factory->Fail("SetTimeouts", 12018);
    EXPECT_EQ(Run(), 12018u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::Init", "WinHttpSetTimeouts failed, error code: 12018"));
    EXPECT_EQ(factory->Calls(), (Lines{"SetTimeouts(s1, 30000, 30000, 30000, 30000)"}));
}

TEST_F(Init, AFailedEndpointsRequestIsItsCode) {
    factory->Fail("GetResponse", 12007);
    EXPECT_EQ(Run(), 12007u);
    EXPECT_EQ(factory->Calls().back(), "SetTimeouts(s1, 60000, 60000, 300000, 300000)");
}

TEST_F(Init, AnEndpointsRequestThatCannotBeMadeIsItsCode) {
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
    EXPECT_EQ(factory->Calls().back(), "SetTimeouts(s1, 60000, 60000, 300000, 300000)");
}

TEST_F(Init, AnEndpointsReplyThatIsNoJsonIs19006) {
    factory->Reply(200, "<html>");
    EXPECT_EQ(Run(), 19006u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::GetEndpoints", "Failed to extract endpoints from response"));
    EXPECT_EQ(factory->Calls().back(), "SetTimeouts(s1, 60000, 60000, 300000, 300000)");
}

TEST_F(Init, AHostileEndpointsReplyEndsInACode) {
    for (const char* reply :
         {"[]", "{}", R"({"qm":[]})", R"({"qm":{"sync":"x"}})", R"({"qm":{"sync":{"1.1":7}}})",
          R"({"qm":{"sync":{"1.1":{"path":7,"tos":"x"}}}})", R"({"qm":{"sync":{"1.1":{"path":{},"tos":1e99}}}})"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), 19006u) << reply;
    }
    factory->Reply(200, std::string(100000, '['));
    EXPECT_EQ(Run(), 19006u);
}

TEST_F(Init, AnEndpointsReplyWithoutBodyIs13) {
    factory->Reply(200);
    EXPECT_EQ(Run(), 13u);
}

TEST_F(Init, AFailedModeRequestIsItsCodeAndKeepsTheEndpoint) {
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    factory->Reply(503, "{}");
    EXPECT_EQ(Run(), 20503u);
    EXPECT_EQ(mode, 77u);
    EXPECT_EQ(extra, 2u);
    EXPECT_TRUE(client->SupportsApi17());
    EXPECT_EQ(factory->Calls().back(), "SetTimeouts(s1, 60000, 60000, 300000, 300000)");
}

TEST_F(Init, AModeReplyWithoutTheFlagIs12004) {
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    factory->Reply(200, R"({"device_token_auth":"maybe"})");
    EXPECT_EQ(Run(), 12004u);
    EXPECT_EQ(mode, 77u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::Init", "Bad response to Init request!"));
    EXPECT_EQ(factory->Calls().back(), "SetTimeouts(s1, 60000, 60000, 300000, 300000)");
}

TEST_F(Init, GoesTheWholeWayAgainAfterAFailure) {
    ReplyEndpoints(R"({"1.7":{"path":"/old","tos":8}})");
    factory->Reply(200, "{}");
    EXPECT_EQ(Run(), 12004u);
    ReplyEndpoints(R"({"1.2":{"path":"/new","tos":4}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(PathOfRequest(3), "/endpoints");
    EXPECT_EQ(PathOfRequest(4), "/new/init");
    EXPECT_FALSE(client->SupportsApi16());
    EXPECT_EQ(extra, 1u);
}

TEST_F(Init, TheModeRequestUsesTheSessionThatDiscoveryBeganOn) {
    client->CreateNewSession(QM_W("second"));
    client->CreateNewSession(QM_W("third"));
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    ReplyMode(true);
    factory->ClearCalls();
    EXPECT_EQ(Run(), 0u);
    const Lines calls = factory->Calls();
    EXPECT_EQ(calls.front(), "SetTimeouts(s2, 30000, 30000, 30000, 30000)");
    EXPECT_EQ(calls[2], "Connection::Initialise(c1, \"files.example.com\", 443, s3, 30000, 30000, 30000, 30000)");
    EXPECT_EQ(calls[8], "Connection::Initialise(c2, \"files.example.com\", 443, s2, 30000, 30000, 30000, 30000)");
    EXPECT_EQ(calls.back(), "SetTimeouts(s2, 60000, 60000, 300000, 300000)");
}

TEST_F(Init, IntegratedAuthenticationGoesOnUnderKerberos) {
    client->SetAuthMode(AUTH_MODE_INTEGRATED);
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(PathOfRequest(2), "/qm/init");
    EXPECT_EQ(client->GetApiPath(nullptr), QM_W("/qm/kerberos"));
    EXPECT_TRUE(log.Has(Information, "Adding https://files.example.com to the trusted zone"));
}

TEST_F(Init, IntegratedAuthenticationGoesOnUnderKerberosAfterAnUnreadableModeReplyToo) {
    client->SetAuthMode(AUTH_MODE_INTEGRATED);
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    factory->Reply(200, "{}");
    EXPECT_EQ(Run(), 12004u);
    EXPECT_EQ(client->GetApiPath(nullptr), QM_W("/qm/kerberos"));
}

TEST_F(Init, PasswordAuthenticationDoesNeither) {
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    ReplyMode(true);
    EXPECT_EQ(Run(), 0u);
    EXPECT_FALSE(log.Mentions("trusted zone"));
    EXPECT_EQ(client->GetApiPath(nullptr), QM_W("/qm"));
}

TEST_F(Init, ConcurrentCallsRunOneAfterTheOtherAndDiscoverOnce) {
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    ReplyMode(true);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this] {
            DWORD found = 0;
            DWORD quarter = 0;
            EXPECT_EQ(client->Init(found, quarter, nullptr), 0u);
            EXPECT_EQ(found, 2u);
            EXPECT_EQ(quarter, 2u);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(factory->Count("CreateRequest"), 2u);
    EXPECT_EQ(log.Count(Information, "Returning cached server mode 2"), 7u);
}

TEST_F(Init, BothRequestsCanBeCancelled) {
    Event cancel;
    ReplyEndpoints(R"({"1.7":{"path":"/qm","tos":8}})");
    ReplyMode(true);
    EXPECT_EQ(client->Init(mode, extra, cancel.Handle()), 0u);
    EXPECT_EQ(log.Count(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))), 2u);
}

}  // namespace
}  // namespace quillmark::test
