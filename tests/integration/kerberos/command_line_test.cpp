// quillmark login --integrated, and what its session is good for.
#include "integration/kerberos/KerberosTest.h"

namespace quillmark::testing {
namespace {

class IntegratedLoginTest : public KerberosTest {
protected:
    void SetUp() override { StartFrontEnd(); }

    ProcessResult Quillmark(std::vector<std::string> arguments, const std::string& ticket) const {
        arguments.insert(arguments.begin(), {ProgramPath("quillmark"), "--session", Local("session")});
        return Process::Run(arguments, {{"HOME", Local("")},
                                        {"XDG_CONFIG_HOME", ""},
                                        {"KRB5_CONFIG", HomeRealm().ConfigurationFile()},
                                        {"KRB5CCNAME", ticket}});
    }
    ProcessResult Login(const std::string& ticket) {
        return Quillmark({"login", Front().Url(), "--integrated"}, ticket);
    }
};

TEST_F(IntegratedLoginTest, NeedsTheTicketOnceAndNoPassword) {
    const ProcessResult login = Login(HomeRealm().Ticket("anna"));
    EXPECT_EQ(0, login.exitCode) << login.errors;
    EXPECT_EQ("Logged in to " + Front().Url() + " with the ticket of the logged-on user.\n", login.output);

    const std::string none = HomeRealm().NoTicket();
    WritePatternAt(Local("up"), 100'000);
    const ProcessResult put = Quillmark({"put", Local("up"), "/file"}, none);
    EXPECT_EQ(0, put.exitCode) << put.errors;
    const ProcessResult get = Quillmark({"get", "/file", Local("down")}, none);
    EXPECT_EQ(0, get.exitCode) << get.errors;
    EXPECT_TRUE(ReadFileAt(Local("up")) == ReadFileAt(Local("down")));
}

TEST_F(IntegratedLoginTest, SaysThatTheServerDoesNotTakeIt) {
    const ProcessResult login = Login(HomeRealm().NoTicket());
    EXPECT_EQ(4, login.exitCode);
    EXPECT_EQ("", login.output);
    EXPECT_EQ(
        "quillmark: cannot log in to " + Front().Url() +
            " with the ticket of the logged-on user: the server refuses the user name, password or session (20401) "
            "[HTTP_STATUS_DENIED]. Log in again with 'quillmark login'.\n",
        login.errors);
}

TEST_F(IntegratedLoginTest, GoesWithoutAPassword) {
    const std::string none = HomeRealm().NoTicket();
    const ProcessResult login = Quillmark({"login", Front().Url(), "--integrated", "--password-file", "-"}, none);
    EXPECT_EQ(2, login.exitCode);
    EXPECT_NE(std::string::npos, login.errors.find("--integrated excludes --password-file")) << login.errors;
}

TEST_F(IntegratedLoginTest, IsAskedForOrTheUserIsNamed) {
    const ProcessResult login = Quillmark({"login", Front().Url()}, HomeRealm().NoTicket());
    EXPECT_EQ(2, login.exitCode);
    EXPECT_NE(std::string::npos, login.errors.find("--user is required")) << login.errors;
}

}  // namespace
}  // namespace quillmark::testing
