// quillmark's help, and what it makes of a command line that it does not understand.
#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class UsageTest : public CliTest {};

TEST_F(UsageTest, HelpNamesCommandsOptionsExamplesAndExitCodes) {
    const std::string help = OutputOf({"--help"});
    for (const char* text :
         {"Usage: quillmark [OPTIONS] COMMAND ...",
          "--session FILE",
          "--log FILE",
          "--ca FILE",
          "--profile NAME",
          "--password-file FILE",
          "--retries N",
          "--json",
          "-q, --quiet",
          "--trace",
          "--version",
          "  login  ",
          "  version  ",
          "  ls  ",
          "  tree  ",
          "  du  ",
          "  find  ",
          "  cat  ",
          "  watch  ",
          "  completion  ",
          "  stat  ",
          "  mkdir  ",
          "  put  ",
          "  get  ",
          "  uploads  ",
          "  delta-jobs  ",
          "  mv  ",
          "  rm  ",
          "  touch  ",
          "  folders  ",
          "  changes  ",
          "  lock  ",
          "  unlock  ",
          "  lock-state  ",
          "  share  ",
          "  stats  ",
          "  register  ",
          "  wipe-ack  ",
          "  quillmark login https://files.example.com --user anna\n",
          "  quillmark put report.pdf /Shared/\n",
          "Exit codes: 0 done, 1 some items failed, 2 usage, 3 cannot connect, 4 not logged\n",
          "\n  in or refused, 5 not found, 6 conflict, 7 cancelled, 8 local file error, 9\n  invalid reply.\n"}) {
        EXPECT_NE(std::string::npos, help.find(text)) << text << "\n" << help;
    }
}

TEST_F(UsageTest, EveryCommandHasHelpOfItsOwn) {
    for (const std::string command :
         {"login",      "version", "ls",    "stat",     "mkdir",    "put",     "get",        "uploads",
          "delta-jobs", "mv",      "rm",    "touch",    "folders",  "changes", "lock",       "unlock",
          "lock-state", "share",   "stats", "register", "wipe-ack", "logout",  "whoami",     "profiles",
          "doctor",     "tree",    "du",    "find",     "cat",      "watch",   "completion", "sync"}) {
        EXPECT_NE(std::string::npos, OutputOf({command, "--help"}).find("Usage: quillmark " + command)) << command;
    }
}

TEST_F(UsageTest, TellsItsVersion) {
    EXPECT_EQ(0u, OutputOf({"--version"}).find("quillmark 0."));
}

TEST_F(UsageTest, WrongCommandLinesEndWithTwoAndPointToHelp) {
    const std::vector<Arguments> wrong = {{},
                                          {"nonsense"},
                                          {"--nonsense"},
                                          {"ls", "--nonsense"},
                                          {"put"},
                                          {"put", "one"},
                                          {"get", "one"},
                                          {"mkdir"},
                                          {"stat"},
                                          {"login"},
                                          {"login", "http://localhost"},
                                          {"ls", "/a", "/b"},
                                          {"ls", "--sort", "colour"},
                                          {"tree", "-L", "0"},
                                          {"du", "-s", "-d", "1"},
                                          {"find", "--type", "x"},
                                          {"find", "--max-depth", "-1"},
                                          {"cat"},
                                          {"watch", "--interval", "0"},
                                          {"completion"},
                                          {"completion", "tcsh"},
                                          {"put", "--chunk", "8M", "a", "/a"},
                                          {"put", "--resumable", "--delta", "old", "a", "/a"},
                                          {"put", "--delta", "old", "--async-delta", "old", "a", "/a"},
                                          {"put", "--no-commit", "a", "/a"},
                                          {"get", "--range", "0-1", "--delta", "base", "/a", "a"},
                                          {"get", "--revision", "1", "/a", "a"},
                                          {"uploads", "nonsense"},
                                          {"uploads", "cancel"},
                                          {"uploads", "complete", "/a"},
                                          {"delta-jobs"},
                                          {"delta-jobs", "state"},
                                          {"delta-jobs", "commit", "job"},
                                          {"mv", "/a"},
                                          {"rm"},
                                          {"touch"},
                                          {"lock"},
                                          {"lock", "--seconds", "0", "/a"},
                                          {"lock-state", "/a", "/b"},
                                          {"share", "/a"},
                                          {"stats"},
                                          {"--retries", "-1", "ls"},
                                          {"--retries", "x", "ls"},
                                          {"--profile", "a", "--session", "b", "ls"},
                                          {"changes", "--follow", "0"}};
    for (const Arguments& arguments : wrong) {
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(2, result.exitCode) << result.errors;
        EXPECT_EQ("", result.output);
        EXPECT_NE(std::string::npos, result.errors.find("--help")) << result.errors;
    }
}

TEST_F(UsageTest, NumbersThatAreTooSmallAreToldTheirLimit) {
    const std::string none = " is no whole number from ";
    ExpectFailure(2, "0" + none + "1 on", {"tree", "-L", "0"});
    ExpectFailure(2, "-1" + none + "0 on", {"find", "--max-depth", "-1"});
    ExpectFailure(2, "-1" + none + "0 on", {"du", "--depth=-1"});
    ExpectFailure(2, "x" + none + "0 on", {"du", "-d", "x"});
}

TEST_F(UsageTest, AnOptionWithoutItsValueIsNamedAlsoWithoutACommand) {
    for (const std::string option : {"--profile", "--log", "--ca", "--retries", "--session", "--password-file"}) {
        const ProcessResult result = Process::Run({ProgramPath("quillmark"), option}, HomeEnvironment());
        EXPECT_EQ(2, result.exitCode);
        EXPECT_EQ(0u, result.errors.find("quillmark: " + option)) << result.errors;
    }
}

TEST_F(UsageTest, AnUnknownLetterIsTakenForNoOther) {
    const ProcessResult result = Quillmark({"ls", "-t"});
    EXPECT_EQ(2, result.exitCode);
    EXPECT_EQ("quillmark: there is no option '-t'\nSee 'quillmark ls --help'.\n", result.errors);
}

TEST_F(UsageTest, TakesTheCommonOptionsAfterTheCommandToo) {
    StartAndLogin();
    const ProcessResult result =
        Process::Run({ProgramPath("quillmark"), "ls", "--session", SessionFile()}, HomeEnvironment());
    EXPECT_EQ(0, result.exitCode) << result.errors;
}

}  // namespace
}  // namespace quillmark::testing
