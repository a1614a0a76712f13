// The file that keeps a login, and what can be wrong with it and with the password.
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <tuple>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class SessionFileTest : public CliTest {
protected:
    void SetUp() override { StartAndLogin(); }

    ProcessResult LoginAgain() { return Quillmark({"login", Server().HttpUrl(), "--user", "anna"}); }
    void SetMode(mode_t mode) { ASSERT_EQ(0, ::chmod(SessionFile().c_str(), mode)); }
    static bool IsPrivate(const std::string& path) {
        struct stat status = {};
        return ::stat(path.c_str(), &status) == 0 && (status.st_mode & 07777) == 0600;
    }
};

TEST_F(SessionFileTest, IsRefusedWhenOthersCanReadOrChangeIt) {
    for (const mode_t mode : {0644, 0640, 0602, 0660}) {
        SetMode(mode);
        ExpectFailure(8, "other users can read or change the session", {"ls"});
    }
    EXPECT_EQ(0, LoginAgain().exitCode);
    EXPECT_TRUE(IsPrivate(SessionFile()));
    OutputOf({"ls"});
}

TEST_F(SessionFileTest, ThatIsAFolderIsNamedAndLeftAlone) {
    std::filesystem::remove(SessionFile());
    std::filesystem::create_directory(SessionFile());
    ExpectFailure(8, "cannot read the session '" + SessionFile() + "'", {"ls"});
    const ProcessResult login = LoginAgain();
    EXPECT_EQ(8, login.exitCode);
    EXPECT_NE(std::string::npos, login.errors.find("cannot keep the session")) << login.errors;
    EXPECT_EQ(Arguments({"registry", "session"}), NamesIn(Local("home"))) << "nothing is left beside it";
}

TEST_F(SessionFileTest, BehindALinkIsRenewedWhereItLies) {
    const std::string kept = Local("kept");
    std::filesystem::rename(SessionFile(), kept);
    std::filesystem::create_symlink(kept, SessionFile());
    const std::string before = Read(kept);
    OutputOf({"ls"});
    ASSERT_EQ(0, LoginAgain().exitCode);
    EXPECT_TRUE(std::filesystem::is_symlink(SessionFile()));
    EXPECT_NE(before, Read(kept));
    EXPECT_TRUE(IsPrivate(kept));
}

TEST_F(SessionFileTest, ThatIsNotWholeIsNoSession) {
    const std::string whole = Read(SessionFile());
    const std::size_t token = whole.find("\ntoken ");
    const std::size_t tokenEnd = whole.find('\n', token + 1);
    for (const std::size_t size : {std::size_t{0}, std::size_t{10}, token + 1, tokenEnd - 3, tokenEnd}) {
        Write("home/session", whole.substr(0, size));
        ExpectFailure(8, "is not a session that 'quillmark login' has kept", {"logout"});
    }
}

TEST_F(SessionFileTest, MayHaveComeThroughAnEditorOfAnotherSystem) {
    std::string text;
    for (const char unit : Read(SessionFile())) {
        text += unit == '\n' ? "\r\n" : std::string(1, unit);
    }
    Write("home/session", text);
    OutputOf({"ls"});
}

TEST_F(SessionFileTest, SurvivesLoginsAtTheSameTime) {
    constexpr int Count = 8;
    std::vector<Process> logins;
    for (int index = 0; index < Count; ++index) {
        logins.emplace_back(Command({"login", Server().HttpUrl(), "--user", "anna"}), Local("out"), Local("err"),
                            HomeEnvironment());
    }
    for (Process& login : logins) {
        EXPECT_EQ(0, login.Wait()) << Read(Local("err"));
    }
    OutputOf({"ls"});
    EXPECT_EQ(Arguments({"registry", "session"}), NamesIn(Local("home")));
}

TEST_F(SessionFileTest, StaysWhatItWasWhenTheDiskIsFull) {
    const std::string disk = Local("disk");
    const std::string session = disk + "/session";
    std::filesystem::create_directory(disk);
    // A disk of its own, with the session on it and no room for another one.
    constexpr const char* Script =
        "mount -t tmpfs -o size=16k tmpfs \"$1\" && cp -p \"$2\" \"$1/session\" || exit 99; disk=$1; shift 2; "
        "head -c 100000 /dev/zero >\"$disk/rest\" 2>/dev/null; \"$@\"; code=$?; rm \"$disk/rest\"; cat "
        "\"$disk/session\"; "
        "ls \"$disk\"; exit $code";
    const std::string before = Read(SessionFile());
    const ProcessResult result =
        Process::Run({"unshare", "--mount", "sh", "-c", Script, "sh", disk, SessionFile(), ProgramPath("quillmark"),
                      "--session", session, "login", Server().HttpUrl(), "--user", "anna"},
                     HomeEnvironment());
    if (result.exitCode == 99 || result.errors.starts_with("unshare")) {
        GTEST_SKIP() << "a file system cannot be mounted here: " << result.errors;
    }
    EXPECT_EQ(8, result.exitCode);
    EXPECT_EQ(
        "quillmark: cannot keep the session: the local disk is full (112) [ERROR_DISK_FULL]. Make room on the disk and "
        "repeat the "
        "command.\n",
        result.errors);
    EXPECT_EQ(before + "session\n", result.output);
}

TEST_F(SessionFileTest, ProfilesTellsOfThoseThatCannotBeUsed) {
    Write("home/.local/share/quillmark/profiles/good", Read(SessionFile()));
    Write("home/.local/share/quillmark/profiles/bad", "something else\n");
    const ProcessResult result = Process::Run({ProgramPath("quillmark"), "profiles"}, HomeEnvironment());
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("good\t" + Server().HttpUrl() + "\tanna\n", result.output);
    EXPECT_EQ("quillmark: bad: '" + Local("home/.local/share/quillmark/profiles/bad") +
                  "' is not a session that 'quillmark login' has kept\n",
              result.errors);
}

class PasswordTest : public CliTest {
protected:
    void SetUp() override { StartServer(); }

    // What is refused before anything is asked.
    void ExpectRefused(const std::string& text, const std::string& file, const std::string& input = "") {
        const ProcessResult result =
            Quillmark({"login", Server().HttpUrl(), "--user", "anna", "--password-file", file}, {}, input);
        EXPECT_EQ(8, result.exitCode) << file;
        EXPECT_NE(std::string::npos, result.errors.find(text)) << result.errors;
        EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/sessions"));
    }
};

TEST_F(PasswordTest, AnEmptyFirstLineIsNone) {
    ExpectRefused("the first line of the password file '" + Local("p") + "' is empty", Write("p", ""));
    ExpectRefused("is empty", Write("p", "\nsecret\n"));
    ExpectRefused("is empty", Write("p", "\r\n"));
    ExpectRefused("the first line of standard input is empty", "-", "");
    ExpectRefused("the first line of standard input is empty", "-", "\nsecret\n");
}

TEST_F(PasswordTest, NullCharactersAndEndlessLinesAreNone) {
    ExpectRefused("is no password", Write("p", std::string("sec\0ret\n", 8)));
    ExpectRefused("is no password", Write("p", std::string(5000, 'x')));
    ExpectRefused("is no password", "-", std::string(5000, 'x') + "\n");
    ExpectRefused("the local file is too large", Write("p", std::string(100'000, 'x')));
    ExpectRefused("cannot read the password file", "/dev/zero");
    ExpectRefused("cannot read the password file", Local("home"));
}

TEST_F(PasswordTest, MayComeThroughAPipe) {
    Arguments shell = {"bash", "-c", "\"$@\" --password-file <(echo secret)", "bash"};
    const Arguments command = Command({"login", Server().HttpUrl(), "--user", "anna"});
    shell.insert(shell.end(), command.begin(), command.end());
    const ProcessResult result = Process::Run(shell, HomeEnvironment());
    EXPECT_EQ(0, result.exitCode) << result.errors;
}

}  // namespace
}  // namespace quillmark::testing
