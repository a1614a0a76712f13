// The branch whose users a front end has authenticated.
#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

class KerberosBranch : public ApplianceTest {};

TEST_F(KerberosBranch, IsClosedUnlessAHeaderIsNamed) {
    StartServer();
    const CurlResult result = RunCurl({"-H", "X-Remote-User: ann", Url("/kerberos/folders/")});
    EXPECT_EQ(result.status, 401);
    EXPECT_EQ(result.Json()["errorId"], "1012");
    EXPECT_NE(result.headers.find("WWW-Authenticate: Negotiate\r\n"), std::string::npos);
}

TEST_F(KerberosBranch, TakesTheUserFromTheTrustedHeader) {
    StartServer({"--no-sync", "--identity-header", "X-Remote-User"});
    const CurlResult login =
        RunCurl({"-H", "X-Remote-User: ann", "-d", "user_id=&password=&device_id=d", Url("/kerberos/sessions")});
    ASSERT_EQ(login.status, 200) << login.body;
    const std::string cookie = "session_token=" + login.Json().at("session_token").get<std::string>();
    EXPECT_EQ(RunCurl({"-H", "X-Remote-User: ann", "-b", cookie, Url("/kerberos/folders/")}).status, 200);
    EXPECT_EQ(RunCurl({"-H", "X-Remote-User: ann", Url("/kerberos/folders/")}).status, 200);
    EXPECT_EQ(RunCurl({Url("/kerberos/version")}).status, 200);
}

TEST_F(KerberosBranch, RefusesRequestsWithoutTheHeaderAndUnknownUsers) {
    StartServer({"--no-sync", "--identity-header", "X-Remote-User"});
    Login();
    EXPECT_EQ(Curl({Url("/kerberos/folders/")}).status, 401);
    EXPECT_EQ(RunCurl({"-H", "X-Remote-User: eve", Url("/kerberos/folders/")}).status, 401);
    EXPECT_EQ(RunCurl({"-H", "X-Remote-User: eve", "-d", "device_id=d", Url("/kerberos/sessions")}).status, 401);
}

TEST_F(KerberosBranch, RefusesASessionOfSomebodyElse) {
    StartServer({"--no-sync", "--identity-header", "X-Remote-User", "--user", "bob:other"});
    Login();
    EXPECT_EQ(Curl({"-H", "X-Remote-User: bob", Url("/kerberos/folders/")}).status, 401);
    EXPECT_EQ(Curl({"-H", "X-Remote-User: ann", Url("/kerberos/folders/")}).status, 200);
}

TEST_F(KerberosBranch, BelievesTheHeaderOnlyFromTheFrontEnd) {
    StartServer({"--no-sync", "--identity-header", "X-Remote-User", "--front-end", "192.0.2.1"});
    EXPECT_EQ(RunCurl({"-H", "X-Remote-User: ann", Url("/kerberos/folders/")}).status, 401);
}

TEST_F(KerberosBranch, DoesNotOpenTheOrdinaryBranch) {
    StartServer({"--no-sync", "--identity-header", "X-Remote-User"});
    EXPECT_EQ(RunCurl({"-H", "X-Remote-User: ann", Url("/folders/")}).status, 401);
}

}  // namespace appliance_test
