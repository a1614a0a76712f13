#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Login : public ClientTest {
protected:
    void SetUp() override { Discover(); }

    DWORD Run(const WideString& clientVersion = QM_W(""), const WideString& platformVersion = QM_W("")) {
        return client->Login(QM_W("ann"), QM_W("s3cret"), QM_W("devtok"), QM_W("dev-7"), policy, clientVersion,
                             platformVersion, nullptr);
    }
    // The form fields that went out, in order.
    [[nodiscard]] Lines Fields() const {
        Lines fields;
        for (const std::string& call : factory->Calls()) {
            if (call.starts_with("AppendFormData(")) {
                fields.push_back(call.substr(call.find(' ') + 1, call.size() - call.find(' ') - 2));
            }
        }
        return fields;
    }
    [[nodiscard]] std::string Token() { return NarrowUtf8(client->GetSession()->GetSessionToken()); }

    WideString policy;
};

TEST_F(Login, SendsTheFormToSessions) {
    factory->Reply(200, R"({"session_token":"t0ken"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/sessions\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, user_id=ann&)", "AppendFormData(r3, password=s3cret&)",
                     "AppendFormData(r3, device_token=devtok&)", "AppendFormData(r3, device_id=dev-7&)",
                     "AppendFormData(r3, device_name=laptop&)", "AppendFormData(r3, platform=Windows QMClient)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)", "SetSessionToken(s1, \"t0ken\")"}));
}

TEST_F(Login, SendsTheVersionsThatAreGiven) {
    EXPECT_EQ(Run(QM_W("4.2"), QM_W("10.0")), 0u);
    EXPECT_EQ(Fields(), (Lines{"user_id=ann&", "password=s3cret&", "device_token=devtok&", "device_id=dev-7&",
                               "device_name=laptop&", "client_version=4.2&", "client_platform_version=10.0&",
                               "platform=Windows QMClient"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::Login", "client_version: 4.2"));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::Login", "client_platform_version: 10.0"));
}

TEST_F(Login, NeitherSendsNorLogsVersionsThatAreEmpty) {
    EXPECT_EQ(Run(), 0u);
    EXPECT_FALSE(log.Mentions("client_version"));
    EXPECT_FALSE(log.Mentions("client_platform_version"));
}

TEST_F(Login, SendsNoDeviceTokenToALegacyServer) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    factory->Reply(200, R"({"qm":{"sync":{"1.7":{"path":"/qm","tos":0}}}})");
    factory->Reply(200, R"({"device_token_auth":false})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(Fields(), (Lines{"user_id=ann&", "password=s3cret&", "device_id=dev-7&", "device_name=laptop&",
                               "platform=Windows QMClient"}));
}

TEST_F(Login, LogsWhoLogsInWhereButNoPassword) {
    SetServer(QM_W("https://h"), 443);
    factory->Reply(200, R"({"session_token":"t0ken"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::Login", "Server: h, Port: 443, User: ann, Hostname: dev-7"));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::Login", "Login successful. New session token: t0ken"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::Login", "Exited [status=0]"));
    EXPECT_FALSE(log.Mentions("s3cret"));
}

TEST_F(Login, DiscoversOnlyOnce) {
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Count("CreateRequest"), 2u);
    EXPECT_EQ(log.Count(Information, "Returning cached server mode 2"), 2u);
}

TEST_F(Login, AFailedDiscoveryIsItsCode) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    factory->ClearCalls();
    factory->Fail("GetResponse", 12029);
    EXPECT_EQ(Run(), 12029u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::Login", "Init failed with [12029]"));
    EXPECT_EQ(factory->Count("CreateRequest"), 1u);
}

TEST_F(Login, ARequestThatCannotBeMadeIsItsCode) {
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
    EXPECT_EQ(Fields(), Lines{});
}

TEST_F(Login, AFieldThatCannotBeAddedIsItsCode) {
    factory->Fail("AppendFormData", 12150, 3);
    EXPECT_EQ(Run(), 12150u);
    EXPECT_EQ(factory->Count("AppendFormData"), 3u);
    EXPECT_EQ(factory->Count("GetResponse"), 0u);
}

TEST_F(Login, ARefusalIsTheServersCode) {
    factory->Reply(401, R"({"errorId":"12"})");
    EXPECT_EQ(Run(), 20012u);
    factory->Reply(401);
    EXPECT_EQ(Run(), 13u);
    EXPECT_EQ(Token(), "");
    EXPECT_FALSE(log.Mentions("policy block"));
}

TEST_F(Login, AnEmptyTokenIsAccessDenied) {
    client->SetSessionToken(QM_W("old"));
    factory->Reply(200, R"({"session_token":"","policy_block":{"a":1}})");
    EXPECT_EQ(Run(), 5u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::Login", "Session token is empty!"));
    EXPECT_EQ(Token(), "old");
    EXPECT_EQ(policy, QM_W(R"({"session_token":"","policy_block":{"a":1}})"));
}

TEST_F(Login, AMissingTokenIsNoFailure) {
    client->SetSessionToken(QM_W("old"));
    factory->Reply(200, R"({"session_token":7})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(Token(), "old");
}

TEST_F(Login, AReplyThatIsNoJsonInstallsNoToken) {
    factory->Reply(200, "<html>");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(Token(), "");
}

TEST_F(Login, AReplyWithAPolicyBlockIsHandedOutWhole) {
    factory->Reply(200, "{\"session_token\":\"t\",\"policy_block\":\"\xC3\xBC\"}");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(policy, QM_W("{\"session_token\":\"t\",\"policy_block\":\"\u00FC\"}"));
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::Login", "Response contains policy block, processing..."));
}

TEST_F(Login, AReplyWithoutAPolicyBlockLeavesThePolicyEmptyThoughTheLineIsLogged) {
    factory->Reply(200, R"({"session_token":"t"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(policy, QM_W(""));
    EXPECT_TRUE(log.Has(Information, "Response contains policy block, processing..."));
}

TEST_F(Login, TheTokenGoesToTheSessionOnWhichTheLoginRan) {
    factory->OnCall([this](const std::string& call) {
        if (call == "GetResponse(r3)") {
            client->CreateNewSession(QM_W("host's"));
        }
    });
    factory->Reply(200, R"({"session_token":"login's"})");
    EXPECT_EQ(Run(), 0u);
    factory->OnCall({});
    EXPECT_EQ(factory->Calls().back(), "SetSessionToken(s1, \"login's\")");
    EXPECT_EQ(Token(), "host's");
}

TEST_F(Login, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->Login(QM_W("a"), QM_W("p"), QM_W("t"), QM_W("d"), policy, QM_W(""), QM_W(""), cancel.Handle()),
              0u);
    EXPECT_EQ(log.Count(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))), 1u);
}

}  // namespace
}  // namespace quillmark::test
