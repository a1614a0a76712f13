// Completion as a person has it: keys typed into bash, zsh and fish on a terminal. What the shell then passes to the
// program has to be exactly the name that was completed.
#include <filesystem>

#include "integration/cli/CliTest.h"
#include "integration/support/PseudoTerminal.h"

namespace quillmark::testing {
namespace {

// Begin differently, so that two letters are enough to name one.
const std::string OddNames[] = {"aa plan b", "bb'quoted'", "cc\"double\"", "dd$HOME", "ee\\back", "ff\xC3\xA9t\xC3\xA9",
                                "gg`date`",  "hh&co;x",    "ii(1)[2]{3}",  "jj*?",    "kk:l=m@n", "ll#~!x"};

class ShellTest : public CliTest {
protected:
    // A shell that completes quillmark. The program in its path shows its arguments between angle brackets, but for
    // what the completion asks it.
    void SetUp() override {
        StartAndLogin();
        std::filesystem::create_directories(Local("home/.local/share/quillmark/profiles"));
        for (const std::string name : {"session", "profiles/work", "profiles/home"}) {
            std::filesystem::copy_file(SessionFile(), Local("home/.local/share/quillmark/" + name));
        }
        const std::string program =
            Write("bin/quillmark", "#!/bin/sh\ncase \" $* \" in\n*' --sort none '* | ' profiles ') exec '" +
                                       ProgramPath("quillmark") +
                                       "' \"$@\" ;;\nesac\nprintf 'passed'\nprintf ' <%s>' \"$@\"\necho ' end'\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        Write("bash/rc", "PS1='ready> '\nbind 'set enable-bracketed-paste off'\nbind 'set bell-style none'\n" +
                             OutputOf({"completion", "bash"}));
        Write("zsh/.zshrc", "PS1='ready> '\nunset zle_bracketed_paste\nfpath=('" + Local("zsh/functions") +
                                "' $fpath)\nautoload -Uz compinit\ncompinit -u -D\nsetopt no_beep no_list_ambiguous\n");
        Write("zsh/functions/_quillmark", OutputOf({"completion", "zsh"}));
    }
    Process::Environment Environment() const {
        Process::Environment environment = HomeEnvironment();
        environment["PATH"] = Local("bin") + ":" + std::getenv("PATH");
        environment["ZDOTDIR"] = Local("zsh");
        environment["LC_ALL"] = "C.UTF-8";
        return environment;
    }
    // In the folder of the test's files.
    Arguments Shell(const std::string& name) const {
        Arguments command = {"env", "--chdir=" + Local("")};
        const Arguments shell = name == "bash" ? Arguments{"bash", "--noprofile", "--rcfile", Local("bash/rc"), "-i"}
                                               : Arguments{"zsh", "-d", "-i"};
        command.insert(command.end(), shell.begin(), shell.end());
        return command;
    }
    // Types the line, a tabulator and the return key; what was passed then.
    std::string Passed(const std::string& shell, const std::string& line) {
        PseudoTerminal terminal(Shell(shell), Environment(), 400, 50);
        EXPECT_TRUE(terminal.AwaitText("ready>")) << terminal.Output();
        terminal.Type(line + "\t\n");
        EXPECT_TRUE(terminal.AwaitText(" end")) << terminal.Output();
        const std::string& output = terminal.Output();
        const std::size_t start = output.rfind("passed ");
        const std::size_t end = output.find(" end", start);
        return start == std::string::npos || end == std::string::npos ? output
                                                                      : output.substr(start + 7, end - start - 7);
    }
    void PutOddNames() {
        for (const std::string& name : OddNames) {
            ASSERT_EQ(0, Quillmark({"put", "-q", Write("content", "x"), "/" + name}).exitCode) << name;
            Write("odd/" + name, "x");
        }
    }
};

TEST_F(ShellTest, CommandsOptionsValuesAndProfiles) {
    for (const std::string shell : {"bash", "zsh"}) {
        EXPECT_EQ("<whoami>", Passed(shell, "quillmark who")) << shell;
        EXPECT_EQ("<uploads> <complete>", Passed(shell, "quillmark uploads com")) << shell;
        EXPECT_EQ("<ls> <--recursive>", Passed(shell, "quillmark ls --rec")) << shell;
        EXPECT_EQ("<ls> <--sort> <size>", Passed(shell, "quillmark ls --sort si")) << shell;
        EXPECT_EQ("<ls> <--sort=size>", Passed(shell, "quillmark ls --sort=si")) << shell;
        EXPECT_EQ("<--profile> <work>", Passed(shell, "quillmark --profile wo")) << shell;
    }
}

TEST_F(ShellTest, NamesOnTheServerArePassedAsTheyAre) {
    PutOddNames();
    for (const std::string shell : {"bash", "zsh"}) {
        for (const std::string& name : OddNames) {
            EXPECT_EQ("<stat> </" + name + ">", Passed(shell, "quillmark stat /" + name.substr(0, 2))) << shell;
        }
    }
}

TEST_F(ShellTest, NamesOfLocalFilesArePassedAsTheyAre) {
    PutOddNames();
    for (const std::string shell : {"bash", "zsh"}) {
        for (const std::string& name : OddNames) {
            EXPECT_EQ("<put> <odd/" + name + ">", Passed(shell, "quillmark put odd/" + name.substr(0, 2))) << shell;
        }
    }
}

TEST_F(ShellTest, GoesOnBehindWhatWasCompletedOrQuoted) {
    OutputOf({"mkdir", "/My $Plans"});
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("content", "x"), "/My $Plans/it's"}).exitCode);
    for (const std::string shell : {"bash", "zsh"}) {
        EXPECT_EQ("<stat> </My $Plans/it's>", Passed(shell, "quillmark stat /My\\ \\$Plans/i")) << shell;
        EXPECT_EQ("<stat> </My $Plans/it's>", Passed(shell, "quillmark stat '/My $Plans/i")) << shell;
    }
}

// Fish quotes by itself what it inserts.
TEST_F(ShellTest, FishIsOfferedTheNamesAsTheyAre) {
    PutOddNames();
    const std::string script = Write("completion.fish", OutputOf({"completion", "fish"}));
    for (const std::string& name : OddNames) {
        const ProcessResult result = Process::Run({"fish", "--no-config", "-c", "source $argv[1]; complete -C $argv[2]",
                                                   script, "quillmark stat /" + name.substr(0, 2)},
                                                  Environment());
        EXPECT_EQ("/" + name + "\n", result.output) << result.errors;
    }
}

}  // namespace
}  // namespace quillmark::testing
