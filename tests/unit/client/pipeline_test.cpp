// The road of a request: its path, its making, the sending.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Pipeline : public ClientTest {
protected:
    [[nodiscard]] DWORD Create(const WideString& path = QM_W("/x"), const CNativeHttp::Timeouts& timeouts = {}) {
        factory->ClearCalls();
        return client->CreateRequest(client->GetSession(), path, QM_W("POST"), request, connection, timeouts);
    }
    StatusPair Exchange(bool bodyExpected) {
        EXPECT_EQ(Create(), 0u);
        return client->GetResponse(*request, reply, bodyExpected);
    }

    CNativeHttp::Connection connection;
    CNativeHttp::Request request;
    ResponseBuffer reply;
};

TEST_F(Pipeline, CreateRequestMakesConnectionThenRequest) {
    SetServer(QM_W("https://files.example.com"), 8443);
    EXPECT_EQ(Create(QM_W("/a"), {1, 2, 3, 4}), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c1, \"files.example.com\", 8443, s1, 1, 2, 3, 4)",
                     "CreateRequest(s1)", "Request::Initialise(r1, \"/a\", \"POST\", c1, null, 0x00800000, false)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::CreateRequest", "End point path: [/a]"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::CreateRequest", "Exited [status=0]"));
}

TEST_F(Pipeline, CreateRequestLogsAPathWithLettersBeyondAscii) {
    EXPECT_EQ(Create(QM_W("/B\u00FCro")), 0u);
    EXPECT_TRUE(log.Has(Information, "End point path: [/B\xC3\xBCro]"));
}

TEST_F(Pipeline, CreateRequestMakesNoRequestOnAConnectionThatFails) {
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Create(), 12005u);
    EXPECT_EQ(factory->Count("CreateRequest"), 0u);
    EXPECT_EQ(request, nullptr);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::CreateRequest",
                        "WinHttpConnection failed to initialise, error code: 12005"));
}

TEST_F(Pipeline, CreateRequestReturnsTheCodeOfARequestThatFails) {
    factory->Fail("Request::Initialise", 87);
    EXPECT_EQ(Create(), 87u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::CreateRequest",
                        "WinHttpRequest failed to initialise, error code: 87"));
}

TEST_F(Pipeline, CreateRequestFailsWhenTheFactoryMakesNothing) {
    factory->Fail("CreateConnection", 8);
    EXPECT_EQ(Create(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    factory->Fail("CreateRequest", 8);
    EXPECT_EQ(Create(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(Pipeline, Status200WithoutBodyIsSuccessWhereNoneIsExpected) {
    factory->Reply(200);
    EXPECT_EQ(Exchange(false), (StatusPair{0, 0}));
    EXPECT_FALSE(log.Mentions("HTTP Response"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::GetResponse", "Exited [status=0]"));
}

TEST_F(Pipeline, Status200WithBodyIsSuccessAndTheBodyIsLogged) {
    factory->Reply(200, "{}");
    EXPECT_EQ(Exchange(true), (StatusPair{0, 0}));
    EXPECT_EQ(reply.text(), "{}");
    EXPECT_TRUE(log.Has(Information, "HTTP Response (2 bytes):"));
}

TEST_F(Pipeline, ABodyIsLoggedWhereNoneIsExpected) {
    factory->Reply(200, "{}");
    EXPECT_EQ(Exchange(false), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, "HTTP Response (2 bytes):"));
}

TEST_F(Pipeline, FailureOfTheTransportIsItsCode) {
    factory->Fail("GetResponse", 12002);
    EXPECT_EQ(Exchange(true), (StatusPair{12002, 0}));
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::GetResponse", "GetResponse failed, error code: 12002"));
    EXPECT_EQ(factory->Count("GetHTTPStatus"), 0u);
}

TEST_F(Pipeline, MissingBodyIs13WhateverTheStatus) {
    factory->Reply(404);
    EXPECT_EQ(Exchange(true), (StatusPair{13, 0}));
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::GetResponse",
                "Received an unexpected NULL response buffer, returning ERROR_INVALID_DATA, status code = [404]"));
}

TEST_F(Pipeline, FailingStatusWithoutBodyIs20000PlusTheStatus) {
    factory->Reply(409);
    EXPECT_EQ(Exchange(false), (StatusPair{20409, 0}));
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::GetResponse",
                        "GetHTTPStatus failed, response code: 409, status: 20409 severity: 0"));
}

TEST_F(Pipeline, OtherSuccessStatusesAreFailures) {
    factory->Reply(201, "{}");
    EXPECT_EQ(Exchange(true), (StatusPair{20201, 0}));
    factory->Reply(204);
    EXPECT_EQ(Exchange(false), (StatusPair{20204, 0}));
}

TEST_F(Pipeline, ErrorIdAndSeverityOfTheReplyWin) {
    factory->Reply(500, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Exchange(true), (StatusPair{20017, 2}));
    EXPECT_TRUE(log.Has(Error, "GetHTTPStatus failed, response code: 500, status: 20017 severity: 2"));
}

TEST_F(Pipeline, ApiPathIsTheDiscoveredOneOnNewerServers) {
    Discover("1.1");
    client->SetSessionToken(QM_W("t0ken"));
    EXPECT_EQ(client->GetApiPath(client->GetSession()), QM_W("/qm"));
}

TEST_F(Pipeline, ApiPathCarriesTheTokenOnServersOfApi10) {
    Discover("1.0");
    client->SetSessionToken(QM_W("t0ken"));
    EXPECT_EQ(client->GetApiPath(client->GetSession()), QM_W("/api/t0ken"));
}

TEST_F(Pipeline, AddRevisionMakesAQuery) {
    std::string query;
    client->AddRevision(query, "?", "r17");
    EXPECT_EQ(query, "?revision=r17");
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AddRevision", "Revision: r17"));
}

TEST_F(Pipeline, AddRevisionOfAnEmptyRevisionAddsNothing) {
    std::string query;
    client->AddRevision(query, "&", "");
    EXPECT_EQ(query, "");
    EXPECT_FALSE(log.Mentions("Revision:"));
}

TEST_F(Pipeline, ResetTimeoutsGivesTheNormalOnesBack) {
    factory->ClearCalls();
    client->ResetTimeouts(client->GetSession());
    EXPECT_EQ(factory->Calls(), (Lines{"SetTimeouts(s1, 60000, 60000, 300000, 300000)"}));
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::ResetTimeouts", ""));
}

TEST_F(Pipeline, ResetTimeoutsDoesNothingWithoutASession) {
    factory->ClearCalls();
    client->ResetTimeouts(nullptr);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(Pipeline, ResetTimeoutsLogsAFailure) {
    factory->Fail("SetTimeouts", 12018);
    client->ResetTimeouts(client->GetSession());
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::ResetTimeouts", "WinHttpSetTimeouts failed, error code: 12018"));
}

}  // namespace
}  // namespace quillmark::test
