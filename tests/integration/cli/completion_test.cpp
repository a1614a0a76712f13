// Completions of shells and the man page, made out of the declarations of the command line.
#include <algorithm>
#include <regex>
#include <sstream>

#include "integration/cli/CliTest.h"
#include "integration/cli/HelpLines.h"

namespace quillmark::testing {
namespace {

class CompletionTest : public CliTest {
protected:
    static std::string ProgramFolder() { return ProgramPath(""); }
    Process::Environment WithProgram() const {
        Process::Environment environment = HomeEnvironment();
        environment["PATH"] = ProgramFolder() + ":" + std::getenv("PATH");
        return environment;
    }
    // The completions of one shell as a file.
    std::string Script(const std::string& shell) {
        return Write("completion." + shell, OutputOf({"completion", shell}));
    }
    ProcessResult Run(const Arguments& command) {
        ProcessResult result = Process::Run(command, WithProgram());
        EXPECT_EQ(0, result.exitCode) << result.errors;
        EXPECT_EQ("", result.errors);
        return result;
    }
    // What bash offers at the end of the line, one per line, sorted.
    std::string InBash(const std::string& line) {
        // Breaks the line into words as bash does: at blanks, and around an equals sign.
        constexpr const char* Program =
            ". \"$0\"; COMP_LINE=\"quillmark $1\"; COMP_POINT=${#COMP_LINE}; line=${1//=/ = }; "
            "COMP_WORDS=(quillmark); [[ $line =~ ^(.*[ ])?(.*)$ ]]; "
            "for word in ${BASH_REMATCH[1]}; do COMP_WORDS+=(\"$word\"); done; COMP_WORDS+=(\"${BASH_REMATCH[2]}\"); "
            "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _quillmark; "
            "[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' \"${COMPREPLY[@]}\" | LC_ALL=C sort";
        return Run({"bash", "--norc", "-c", Program, Script("bash"), line}).output;
    }
    // What fish offers for the line, without the explanations, sorted.
    std::string InFish(const std::string& line) {
        constexpr const char* Program =
            "source $argv[1]; complete -C $argv[2] | string replace -r '\\t.*' '' | LC_ALL=C sort";
        return Run({"fish", "--no-config", "-c", Program, Script("fish"), line}).output;
    }
    void StartWithItems() {
        StartAndLogin();
        OutputOf({"mkdir", "/Shared", "/Shared/Photos", "/Shared/My Plans"});
        ASSERT_EQ(0, Quillmark({"put", "-q", Write("p", "x"), "/Shared/Pencil"}).exitCode);
    }
};

TEST_F(CompletionTest, ScriptsAreCorrectForTheirShells) {
    Run({"bash", "-n", Script("bash")});
    Run({"zsh", "-n", Script("zsh")});
    Run({"fish", "-n", Script("fish")});
}

TEST_F(CompletionTest, BashOffersCommands) {
    EXPECT_EQ("lock\nlock-state\nlogin\nlogout\nls\n", InBash("l"));
    EXPECT_EQ("cancel\n", InBash("uploads c").substr(0, 7));
    EXPECT_EQ("", InBash("man")) << "hidden";
}

TEST_F(CompletionTest, BashOffersOptionsOfTheCommandAndOfAll) {
    EXPECT_EQ("--recursive\n--retries\n--reverse\n", InBash("ls --re"));
    EXPECT_NE(std::string::npos, InBash("ls --").find("--session\n"));
    EXPECT_NE(std::string::npos, InBash("-").find("--version\n"));
    EXPECT_EQ(std::string::npos, InBash("stat --").find("--sort\n"));
}

TEST_F(CompletionTest, BashOffersChoices) {
    EXPECT_EQ("name\nnone\nsize\ntime\n", InBash("ls --sort "));
    EXPECT_EQ("name\nnone\n", InBash("ls --sort=n")) << "what follows the sign";
}

TEST_F(CompletionTest, OffersProfilesWhereOneIsMeant) {
    StartAndLogin();
    for (const std::string profile : {"work", "word"}) {
        const Arguments login = {ProgramPath("quillmark"), "--profile", profile, "login",
                                 Server().HttpUrl(),       "--user",    "anna"};
        ASSERT_EQ(0, Process::Run(login, HomeEnvironment()).exitCode);
    }
    EXPECT_EQ("word\nwork\n", InBash("--profile wo"));
    EXPECT_EQ("word\nwork\n", InFish("quillmark --profile wo"));
}

TEST_F(CompletionTest, BashOffersLocalFilesWhereOneIsMeant) {
    Write("here/report.pdf", "x");
    const std::string start = Local("here/re");
    EXPECT_EQ(start + "port.pdf\n", InBash("put " + start));
    EXPECT_EQ(start + "port.pdf\n", InBash("--log " + start));
    EXPECT_EQ(start + "port.pdf\n", InBash("put --delta " + start));
}

TEST_F(CompletionTest, BashOffersServerPathsWhereOneIsMeant) {
    StartWithItems();
    const auto with = [&](const std::string& line) { return InBash("--session " + SessionFile() + " " + line); };
    EXPECT_EQ("/Shared/\n", with("ls /"));
    EXPECT_EQ("Shared/\n", with("ls S")) << "the leading slash may be left out";
    EXPECT_EQ("/Shared/Pencil\n/Shared/Photos/\n", with("ls /Shared/P"));
    EXPECT_EQ("/Shared/Pencil\n", with("put local /Shared/Pe")) << "the second argument";
    EXPECT_EQ("/Shared/Pencil\n", with("get --range 0-1 /Shared/Pe")) << "a value is no argument";
    EXPECT_EQ("/Shared/Pencil\n", with("rm /a /b /Shared/Pe")) << "as many as there are";
}

TEST_F(CompletionTest, BashStaysQuietWithoutALogin) {
    EXPECT_EQ("", InBash("--session " + Local("none") + " ls /"));
}

TEST_F(CompletionTest, FishOffersCommandsOptionsAndChoices) {
    EXPECT_EQ("lock\nlock-state\nlogin\nlogout\nls\n", InFish("quillmark l"));
    EXPECT_EQ("cancel\ncomplete\n", InFish("quillmark uploads c"));
    EXPECT_EQ("--recursive\n--retries\n--reverse\n", InFish("quillmark ls --re"));
    EXPECT_EQ("name\nnone\n", InFish("quillmark ls --sort n"));
}

TEST_F(CompletionTest, FishOffersServerPathsWhereOneIsMeant) {
    StartWithItems();
    const std::string start = "quillmark --session " + SessionFile();
    EXPECT_EQ("/Shared/Pencil\n/Shared/Photos/\n", InFish(start + " ls /Shared/P"));
    EXPECT_EQ("/Shared/Pencil\n", InFish(start + " put local /Shared/Pe"));
}

// Names of options as a help text lists them: "--sort" out of "      --sort TEXT  By what".
std::vector<std::string> OptionsIn(const std::string& help) {
    std::vector<std::string> options;
    std::istringstream lines(help.substr(0, help.find("\nExamples:")));
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (std::regex_search(line, match, std::regex("^ {2,6}((-[A-Za-z]|--[a-z-]+)(, (--[a-z-]+))?)( |$)"))) {
            for (const int group : {2, 4}) {
                if (match[group].matched && match[group] != "-h" && match[group] != "--help") {
                    options.push_back(match[group]);
                }
            }
        }
    }
    return options;
}

class ManPageTest : public CompletionTest {
protected:
    // As it is read: without overstriking, one blank for many.
    void SetUp() override {
        const std::string source = Write("quillmark.1", OutputOf({"man-page"}));
        const ProcessResult read = Run({"groff", "-man", "-ww", "-Tascii", "-P-cbou", "-rLL=1000n", source});
        m_text = std::regex_replace(read.output, std::regex(" +"), " ");
    }
    static bool Tells(const std::string& section, const std::string& option) {
        return std::regex_search(section, std::regex("\n (-[A-Za-z], )?" + option + "[ ,\n]"));
    }
    void ExpectCommand(Arguments path) {
        std::string name = "quillmark";
        for (const std::string& word : path) {
            name += " " + word;
        }
        const std::size_t start = m_text.find("\n " + name + " ");
        EXPECT_NE(std::string::npos, start == std::string::npos ? m_text.find("\n " + name + "\n") : start) << name;
        const std::string section = start == std::string::npos ? "" : m_text.substr(start);
        path.emplace_back("--help");
        const std::string help = OutputOf(path);
        path.pop_back();
        for (const std::string& option : OptionsIn(help)) {
            EXPECT_TRUE(Tells(section, option)) << name << option;
        }
        for (const std::string& below : CommandsIn(help)) {
            Arguments next = path;
            next.push_back(below);
            ExpectCommand(next);
        }
    }
    std::string m_text;
};

TEST_F(ManPageTest, HasEveryCommandAndEveryOption) {
    const std::string help = OutputOf({"--help"});
    const std::vector<std::string> commands = CommandsIn(help);
    EXPECT_GE(commands.size(), 27u);
    EXPECT_EQ(commands.end(), std::find(commands.begin(), commands.end(), "man-page"));
    for (const std::string& option : OptionsIn(help)) {
        EXPECT_TRUE(Tells(m_text, option)) << option;
    }
    for (const std::string& command : commands) {
        ExpectCommand({command});
    }
}

TEST_F(ManPageTest, HasExamplesAndExitCodes) {
    EXPECT_NE(std::string::npos, m_text.find("\n quillmark find /Shared --name '*.pdf'\n")) << m_text;
    EXPECT_NE(std::string::npos, m_text.find("\nEXIT CODES\n 0 done, 1 some items failed, 2 usage")) << m_text;
}

}  // namespace
}  // namespace quillmark::testing
