// quillmark's help as a person meets it: groups, widths, the short form, and what is said to a slip of the finger.
#include <algorithm>
#include <sstream>

#include "integration/cli/CliTest.h"
#include "integration/cli/HelpLines.h"
#include "integration/support/PseudoTerminal.h"

namespace quillmark::testing {
namespace {

class HelpTest : public CliTest {
protected:
    static std::vector<std::string> Lines(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    static std::size_t Widest(const std::string& text) {
        std::size_t widest = 0;
        for (const std::string& line : Lines(text)) {
            widest = std::max(widest, line.size());
        }
        return widest;
    }
    // The help on a terminal so wide, without the terminal's carriage returns.
    std::string OnTerminal(std::size_t columns, const Arguments& arguments) {
        PseudoTerminal terminal(Command(arguments), HomeEnvironment(), columns, 200);
        EXPECT_EQ(0, terminal.Wait());
        std::string text = terminal.Output();
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return text;
    }
    // The line that names a command.
    static std::string LineOf(const std::string& help, const std::string& command) {
        for (const std::string& line : Lines(help)) {
            if (line.starts_with("  " + command + " ")) {
                return line;
            }
        }
        return "";
    }
    std::string ErrorsOf(const Arguments& arguments) {
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(2, result.exitCode);
        EXPECT_EQ("", result.output);
        return result.errors;
    }
};

TEST_F(HelpTest, CommandsStandInGroupsInOneLineEach) {
    const std::string help = OutputOf({"--help"});
    std::size_t before = 0;
    for (const char* start : {"\nAccount:\n  register ", "\nBrowsing:\n  folders ", "\nChanging:\n  mkdir ",
                              "\nTransferring:\n  put ", "\nWatching:\n  changes ", "\nOthers:\n  version ",
                              "\nCommon options:\n", "\nExamples:\n", "\nExit codes: "}) {
        const std::size_t found = help.find(start);
        ASSERT_NE(std::string::npos, found) << start << help;
        EXPECT_GE(found, before) << start;
        before = found;
    }
    const std::string commands = help.substr(0, help.find("\nCommon options:"));
    EXPECT_EQ(std::string::npos, commands.find("\n   ")) << "a command that takes a second line: " << commands;
    EXPECT_LE(Lines(help).size(), 100u);
}

TEST_F(HelpTest, EightyColumnsWhereThereIsNoTerminal) {
    EXPECT_LE(Widest(OutputOf({"--help"})), 80u);
}

TEST_F(HelpTest, FollowsTheTerminalsWidthUpToAHundred) {
    for (const std::size_t columns : {50u, 72u, 96u}) {
        const std::string help = OnTerminal(columns, {"ls", "--help"});
        const std::string options = help.substr(0, help.find("\nExamples:"));
        EXPECT_LE(Widest(options), columns);
        EXPECT_GT(Widest(options), columns - 16) << "the room is used";
    }
    const std::string wide = OnTerminal(180, {"put", "--help"});
    EXPECT_LE(Widest(wide), 100u);
    EXPECT_GT(Widest(wide), 85u);
}

TEST_F(HelpTest, ExplanationsHangBelowEachOther) {
    const std::vector<std::string> lines = Lines(OutputOf({"--help"}));
    const auto retries = std::find_if(lines.begin(), lines.end(),
                                      [](const std::string& line) { return line.starts_with("      --retries N"); });
    ASSERT_NE(lines.end(), retries);
    const std::size_t column = retries->find("How often");
    ASSERT_NE(std::string::npos, column) << *retries;
    EXPECT_EQ(column, (retries + 1)->find_first_not_of(' ')) << *(retries + 1);
}

TEST_F(HelpTest, ACommandsOwnOptionsComeFirstAndTheCommonOnesInOneLine) {
    const std::string help = OutputOf({"ls", "--help"});
    EXPECT_EQ(0u, help.find("Usage: quillmark ls [OPTIONS] [PATH]\n\n"));
    EXPECT_EQ(std::string::npos, help.find("--retries"));
    const std::size_t options = help.find("\nOptions:\n");
    const std::size_t common = help.find("\nOptions that all commands have");
    const std::size_t examples = help.find("\nExamples:\n");
    EXPECT_LT(options, common);
    EXPECT_LT(common, examples);
    EXPECT_NE(std::string::npos, examples);
}

// A narrow terminal wraps by itself, and a line that it wrapped can still be copied as one.
TEST_F(HelpTest, LinesOfExamplesAreNeverBroken) {
    const std::string help = OnTerminal(50, {"get", "--help"});
    EXPECT_NE(std::string::npos,
              help.find("\n  # fetches only what differs\n  quillmark get --delta old.db /Shared/data.db new.db\n"))
        << help;
}

TEST_F(HelpTest, HelpIsACommandToo) {
    EXPECT_EQ(OutputOf({"--help"}), OutputOf({"help"}));
    EXPECT_EQ(OutputOf({"ls", "--help"}), OutputOf({"help", "ls"}));
    EXPECT_EQ(OutputOf({"uploads", "state", "--help"}), OutputOf({"help", "uploads", "state"}));
    EXPECT_EQ("quillmark: there is no command 'sl'; did you mean 'ls'?\n", ErrorsOf({"help", "sl"}));
}

TEST_F(HelpTest, WithoutACommandTheShortHelpTellsTheirNames) {
    const std::string errors = ErrorsOf({});
    EXPECT_EQ(0u, errors.find("Usage: quillmark [OPTIONS] COMMAND ...\n")) << errors;
    EXPECT_NE(std::string::npos, errors.find("\n  Transferring  put get sync uploads delta-jobs\n")) << errors;
    EXPECT_NE(std::string::npos, errors.find("'quillmark --help'")) << errors;
    EXPECT_LE(Lines(errors).size(), 15u);
    EXPECT_NE(std::string::npos, ErrorsOf({"delta-jobs"}).find("\n  Commands  state commit cancel\n"));
}

TEST_F(HelpTest, ASlipOfTheFingerIsRecognised) {
    const std::string see = "\nSee 'quillmark --help'.\n";
    EXPECT_EQ("quillmark: there is no command 'sl'; did you mean 'ls'?" + see, ErrorsOf({"sl"}));
    EXPECT_EQ("quillmark: there is no command 'dowload'" + see, ErrorsOf({"dowload"}));
    EXPECT_EQ("quillmark: there is no command 'uplaods'; did you mean 'uploads'?" + see, ErrorsOf({"uplaods"}));
    EXPECT_EQ("quillmark: there is no command 'lss'; did you mean 'ls'?" + see, ErrorsOf({"lss", "-l", "/"}));
    EXPECT_EQ("quillmark: there is no option '--jsn'; did you mean '--json'?" + see, ErrorsOf({"--jsn"}));
    EXPECT_EQ("quillmark: there is no command 'uploads sate'; did you mean 'state'?\nSee 'quillmark uploads --help'.\n",
              ErrorsOf({"uploads", "sate"}));
}

TEST_F(HelpTest, ASlipInAnOptionIsLookedForInTheCommandAndInTheCommonOnes) {
    const std::string see = "\nSee 'quillmark ls --help'.\n";
    EXPECT_EQ("quillmark: there is no option '--recusrive'; did you mean '--recursive'?" + see,
              ErrorsOf({"ls", "--recusrive"}));
    EXPECT_EQ("quillmark: there is no option '--sotr'; did you mean '--sort'?" + see, ErrorsOf({"ls", "--sotr=name"}));
    EXPECT_EQ("quillmark: there is no option '--quite'; did you mean '--quiet'?" + see, ErrorsOf({"ls", "--quite"}));
    EXPECT_EQ("quillmark: there is no option '--wholly-else'" + see, ErrorsOf({"ls", "--wholly-else"}));
    EXPECT_EQ("quillmark: '/b' is one argument too many" + see, ErrorsOf({"ls", "/a", "/b"}));
}

}  // namespace
}  // namespace quillmark::testing
