// Whom a ticket opens the Kerberos branch for, and how the lack of one ends.
#include <gmock/gmock.h>

#include "integration/kerberos/KerberosTest.h"

namespace quillmark::testing {
namespace {

using ::testing::UnorderedElementsAre;

constexpr const char* Refused = "GetHTTPStatus failed, response code: 401, status: 20401 severity: 0";

class TicketTest : public KerberosTest {
protected:
    void SetUp() override { StartFrontEnd(); }

    // Login, a look and both transfers end with the code of the refusal; nobody but the front end hears of them.
    void ExpectRefused() {
        EXPECT_EQ(20401u, Login());
        EXPECT_TRUE(Logged(Refused));
        EXPECT_EQ(20401u, List());
        EXPECT_EQ(20401u, Download("file"));
        EXPECT_EQ(12032u, Upload("file", 100'000)) << "the body would have to be sent again for the ticket";
        EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/kerberos/sessions"));
        EXPECT_EQ(0u, Server().RequestCount("GET", "/api/1.7/kerberos/folders/"));
        EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/kerberos/folders/file"));
    }
};

TEST_F(TicketTest, OpensTheBranchForItsUser) {
    MakeClientAndLogin();
    EXPECT_TRUE(Logged("Adding http://localhost to the trusted zone"));
    ExpectRoundTrip("small", 5);
    ExpectRoundTrip("large", 20'000'000);
    EXPECT_EQ(0u, List());
    // One challenge for the connection; a download asks for the contents and for the record.
    EXPECT_THAT(Front().AwaitAnswers(9),
                UnorderedElementsAre("401 POST /sessions -", "200 POST /sessions anna", "200 POST /folders/small anna",
                                     "200 GET /folders/small anna", "200 GET /folders/small anna",
                                     "200 POST /folders/large anna", "200 GET /folders/large anna",
                                     "200 GET /folders/large anna", "200 GET /folders/ anna"));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/kerberos/sessions"));
}

TEST_F(TicketTest, ThatIsMissingIsARefusal) {
    Use(HomeRealm(), HomeRealm().NoTicket());
    MakeClient();
    ExpectRefused();
}

TEST_F(TicketTest, ThatHasExpiredIsARefusal) {
    Use(HomeRealm(), HomeRealm().YesterdaysTicket("anna"));
    MakeClient();
    ExpectRefused();
}

// Its centre gives out tickets for a service of the same name, which the front end cannot read.
TEST_F(TicketTest, OfAForeignRealmIsARefusal) {
    const Realm foreign("FOREIGN.TEST");
    Use(foreign, foreign.Ticket("anna"));
    MakeClient();
    ExpectRefused();
}

TEST_F(TicketTest, WithoutACentreToTurnItIntoOneForTheServiceIsARefusal) {
    Use(HomeRealm(), HomeRealm().Ticket("anna"));
    HomeRealm().Stop();
    MakeClient();
    ExpectRefused();
}

TEST_F(TicketTest, OfAUserWithoutAnAccountIsTheServersRefusal) {
    HomeRealm().AddUser("eve");
    Use(HomeRealm(), HomeRealm().Ticket("eve"));
    MakeClient();
    EXPECT_EQ(21012u, Login());
    EXPECT_TRUE(Logged("GetHTTPStatus failed, response code: 401, status: 21012 severity: 2"));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/kerberos/sessions")) << "the ticket was good: asked once";
}

TEST_F(TicketTest, OfSomebodyElseDoesNotServeASession) {
    MakeClientAndLogin();
    WideString token;
    Client()->GetSessionToken(token);
    HomeRealm().AddUser("eve");
    Use(HomeRealm(), HomeRealm().Ticket("eve"));
    Front().Restart();  // the connection speaks for anna
    EXPECT_EQ(21012u, List());
}

TEST_F(TicketTest, CannotBeReplacedByTheFrontEndsHeader) {
    const std::string header = std::string(FrontEnd::IdentityHeader) + ": anna";
    const ProcessResult result =
        Process::Run({"curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", "--noproxy", "*", "-H", header, "-d",
                      "device_id=d", Front().Url() + "/api/1.7/kerberos/sessions"});
    EXPECT_EQ("401", result.output);
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/kerberos/sessions"));
}

}  // namespace
}  // namespace quillmark::testing
