// quillmark --profile, logout, whoami, profiles.
#include <sys/stat.h>

#include <filesystem>
#include <regex>

#include "integration/cli/ResumableTest.h"

namespace quillmark::testing {
namespace {

class ProfileTest : public CliTest {
protected:
    void SetUp() override { StartServer(); }

    // Without --session: the logins lie where they lie for a user.
    ProcessResult Plain(const Arguments& arguments, const Process::Environment& environment = {}) {
        Arguments command = {ProgramPath("quillmark"), "--retries", "0"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        Process::Environment all = HomeEnvironment();
        for (const auto& [name, value] : environment) {
            all[name] = value;
        }
        return Process::Run(command, all);
    }
    void Login(const Arguments& before) {
        Arguments arguments = before;
        arguments.insert(arguments.end(), {"login", Server().HttpUrl(), "--user", "anna"});
        const ProcessResult result = Plain(arguments);
        ASSERT_EQ(0, result.exitCode) << result.errors;
    }
    [[nodiscard]] std::string Data(const std::string& name) const {
        return Local("home/.local/share/quillmark/" + name);
    }
};

TEST_F(ProfileTest, EachProfileHasAFileOfItsOwnForItsOwnerOnly) {
    Login({});
    Login({"--profile", "work"});
    struct stat status = {};
    ASSERT_EQ(0, ::stat(Data("profiles/work").c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 07777u);
    EXPECT_NE("", Read(Data("session")));
    EXPECT_NE(Read(Data("session")), Read(Data("profiles/work")));
}

TEST_F(ProfileTest, TheOptionComesBeforeTheVariableAndDefaultIsTheUnnamedOne) {
    Login({"--profile", "work"});
    EXPECT_EQ(4, Plain({"ls"}).exitCode);
    EXPECT_EQ(0, Plain({"ls"}, {{"QUILLMARK_PROFILE", "work"}}).exitCode);
    EXPECT_EQ(0, Plain({"--profile", "work", "ls"}, {{"QUILLMARK_PROFILE", "other"}}).exitCode);
    EXPECT_EQ(4, Plain({"--profile", "default", "ls"}, {{"QUILLMARK_PROFILE", "work"}}).exitCode);
    Login({"--profile", "default"});
    EXPECT_EQ(0, Plain({"ls"}).exitCode);
}

TEST_F(ProfileTest, AProfileWithoutALoginIsNamedWithTheWayToOne) {
    EXPECT_EQ("quillmark: nobody is logged in under the profile 'work'; use 'quillmark login --profile work'\n",
              Plain({"--profile", "work", "ls"}).errors);
    EXPECT_EQ("quillmark: nobody is logged in; use 'quillmark login'\n", Plain({"ls"}).errors);
}

TEST_F(ProfileTest, ANameThatIsNoneIsAUsageError) {
    for (const std::string name : {"../x", "a/b", "uploads", "a.b", "-"}) {
        const ProcessResult result = Plain({"--profile=" + name, "ls"});
        EXPECT_EQ(2, result.exitCode) << name;
        EXPECT_NE(std::string::npos, result.errors.find("cannot be a profile's name")) << result.errors;
    }
    EXPECT_EQ(2, Plain({"ls"}, {{"QUILLMARK_PROFILE", "a b"}}).exitCode);
    EXPECT_EQ(2, Plain({"--profile", "work", "--session", Local("s"), "ls"}).exitCode);
}

TEST_F(ProfileTest, AreListedTheDefaultOneFirst) {
    EXPECT_EQ("", Plain({"profiles"}).output);
    Login({"--profile", "work"});
    Login({"--profile", "a"});
    Login({});
    const std::string tail = "\t" + Server().HttpUrl() + "\tanna\n";
    EXPECT_EQ("default" + tail + "a" + tail + "work" + tail, Plain({"profiles"}).output);
    EXPECT_NE(std::string::npos,
              Plain({"--json", "profiles"}).output.find(R"({"profile":"work","server":")" + Server().HttpUrl()));
}

TEST_F(ProfileTest, WhoamiShowsTheLoginAndAsksTheServer) {
    Login({"--profile", "work"});
    const ProcessResult result = Plain({"--profile", "work", "whoami"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    const std::regex expected("server:  " + Server().HttpUrl() +
                              "\nuser:    anna\ndevice:  quillmark-cli\nprofile: work\nsince:   "
                              "\\d{4}-\\d\\d-\\d\\dT[0-9:.]+Z \\(less than a minute ago\\)\n"
                              "session: accepted by the server\n");
    EXPECT_TRUE(std::regex_match(result.output, expected)) << result.output;
}

TEST_F(ProfileTest, WhoamiSaysThatTheSessionHasEndedAndDoesNotLogIn) {
    Login({});
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/"}, {"kind", "expire-token"}});
    Server().ResetStatistics();
    const ProcessResult result = Plain({"--retries", "2", "whoami"});
    EXPECT_EQ(4, result.exitCode);
    EXPECT_NE(std::string::npos, result.output.find("session: the session has ended (20006)")) << result.output;
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/sessions"));
}

TEST_F(ProfileTest, WhoamiShowsWhatIsKeptWhenTheServerIsGone) {
    Login({});
    Server().Kill();
    const ProcessResult result = Plain({"whoami"});
    EXPECT_EQ(3, result.exitCode);
    EXPECT_NE(std::string::npos, result.output.find("user:    anna\n")) << result.output;
    EXPECT_NE(std::string::npos, result.output.find("session: cannot reach " + Server().HttpUrl())) << result.output;
}

TEST_F(ProfileTest, WhoamiNeedsALogin) {
    const ProcessResult result = Plain({"whoami"});
    EXPECT_EQ(4, result.exitCode);
    EXPECT_EQ("quillmark: nobody is logged in; use 'quillmark login'\n", result.errors);
}

TEST_F(ProfileTest, LogoutForgetsTheSessionHere) {
    Login({});
    Login({"--profile", "work"});
    const ProcessResult result = Plain({"logout"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("Logged out of " + Server().HttpUrl() +
                  " as anna: this computer has forgotten the session; on the server it ends when it expires.\n",
              result.output);
    EXPECT_FALSE(std::filesystem::exists(Data("session")));
    EXPECT_EQ(4, Plain({"ls"}).exitCode);
    EXPECT_EQ(4, Plain({"logout"}).exitCode);
    EXPECT_EQ(0, Plain({"--profile", "work", "ls"}).exitCode) << "the other profile stays";
}

class LogoutTest : public ResumableTest {};

TEST_F(LogoutTest, NamesUnfinishedUploadsAndKeepsThem) {
    WriteFile(Noise(5 * ChunkSize));
    SendPart(2);
    const std::string output = OutputOf({"logout"});
    EXPECT_NE(std::string::npos, output.find("\nKept are the unfinished uploads to these items; after the next login "
                                             "they go on:\n  /f\n"))
        << output;
    ASSERT_EQ(0, Quillmark({"login", Server().HttpUrl(), "--user", "anna"}).exitCode);
    Server().ResetStatistics();
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(3u, Posts()) << "it went on";
}

}  // namespace
}  // namespace quillmark::testing
