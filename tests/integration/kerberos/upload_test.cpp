// A body that is streamed cannot be sent again with the answer to a challenge: who uploads must have been let in
// before.
#include <gmock/gmock.h>

#include "integration/cancel/StalledServer.h"
#include "integration/kerberos/KerberosTest.h"

namespace quillmark::testing {
namespace {

using ::testing::UnorderedElementsAre;

constexpr std::uint64_t Large = 100'000'000;

class ChallengedUploadTest : public KerberosTest {
protected:
    // After the login. What it has not written to its log yet would be lost.
    void RestartFrontEnd() {
        static_cast<void>(Front().AwaitAnswers(2));
        Front().Restart();
    }
    [[nodiscard]] std::uint64_t Arrived(const std::string& name) const {
        return Server().RequestCount("POST", "/api/1.7/kerberos/folders/" + name);
    }
};

TEST_F(ChallengedUploadTest, Gives12032AndSendsNothingTwice) {
    StartFrontEnd(FrontEnd::Holds::ForTheRequest);
    MakeClientAndLogin();
    EXPECT_EQ(12032u, Upload("small", 5));
    EXPECT_EQ(12032u, Upload("large", Large));
    EXPECT_TRUE(Logged("ReceiveResponse failed, error code: 12032"));
    EXPECT_EQ(0u, List());
    EXPECT_THAT(Front().AwaitAnswers(6),
                UnorderedElementsAre("401 POST /sessions -", "200 POST /sessions anna", "401 POST /folders/small -",
                                     "401 POST /folders/large -", "401 GET /folders/ -", "200 GET /folders/ anna"));
    // It reads a body to its end before it answers.
    EXPECT_LT(Front().BytesReadFor("401 POST /folders/large -"), Large + 10'000);
    EXPECT_EQ(0u, Arrived("small") + Arrived("large"));
}

// The front end reads a body to its end before it refuses it. This server does not: it takes the head, and no more.
TEST_F(ChallengedUploadTest, EndsInTheMiddleOfTheBody) {
    StalledServer server(
        {.request = "POST /api/1.7/kerberos/folders/large ",
         .readsRequest = false,
         .reply = "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Negotiate\r\nContent-Length: 0\r\n\r\n"});
    Use(HomeRealm(), HomeRealm().Ticket("anna"));
    MakeClient(server.Url());
    DWORD mode = 0;
    DWORD extra = 0;
    ASSERT_EQ(0u, Client()->Init(mode, extra, nullptr));
    EXPECT_EQ(12032u, Upload("large", Large));
    EXPECT_EQ(1, server.Matches());
}

TEST_F(ChallengedUploadTest, SucceedsAfterAnotherRequestHasAnsweredForTheConnection) {
    StartFrontEnd(FrontEnd::Holds::ForTheConnection);
    MakeClientAndLogin();
    RestartFrontEnd();  // the connection that was let in is gone
    EXPECT_EQ(12032u, Upload("file", 100'000));
    EXPECT_EQ(0u, Arrived("file"));
    EXPECT_EQ(0u, List());
    ExpectRoundTrip("file", 100'000);
    EXPECT_EQ(1u, Arrived("file"));
}

TEST_F(ChallengedUploadTest, DoesNotOccurWhereACookieHolds) {
    StartFrontEnd(FrontEnd::Holds::ForTheCookie);
    MakeClientAndLogin();
    RestartFrontEnd();
    ExpectRoundTrip("file", 100'000);
    EXPECT_THAT(Front().AwaitAnswers(5),
                UnorderedElementsAre("401 POST /sessions -", "200 POST /sessions anna", "200 POST /folders/file anna",
                                     "200 GET /folders/file anna", "200 GET /folders/file anna"));
}

}  // namespace
}  // namespace quillmark::testing
