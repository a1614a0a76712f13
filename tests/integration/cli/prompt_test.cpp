// The password on the terminal: what is typed, what is not, and a terminal that is left as it was.
#include "integration/cli/CliTest.h"
#include "integration/support/PseudoTerminal.h"

namespace quillmark::testing {
namespace {

class PromptTest : public CliTest {
protected:
    void SetUp() override { StartServer(); }

    // The login in a shell that outlives an interruption and tells the exit code and the state of the echo.
    PseudoTerminal Login(const std::string& input = "") {
        Arguments shell = {"bash", "-c",
                           "trap : INT; \"$@\" " + input + "; echo \"code $?\"; stty -a | grep -o '[-]*echo '", "bash"};
        const Arguments command = Command({"login", Server().HttpUrl(), "--user", "anna"});
        shell.insert(shell.end(), command.begin(), command.end());
        Process::Environment environment = HomeEnvironment();
        environment["QUILLMARK_PASSWORD"] = "";
        return PseudoTerminal(shell, environment);
    }
    static void ExpectEnd(PseudoTerminal& terminal, int code) {
        EXPECT_TRUE(terminal.AwaitText("code " + std::to_string(code))) << terminal.Output();
        EXPECT_EQ(0, terminal.Wait());
        const std::string& output = terminal.Output();
        EXPECT_TRUE(output.ends_with("\necho \r\n") || output.ends_with("\necho\r\n")) << output;
    }
};

TEST_F(PromptTest, TheAnswerIsNotShown) {
    PseudoTerminal terminal = Login();
    ASSERT_TRUE(terminal.AwaitText("Password for anna:"));
    terminal.Type("secret\n");
    ExpectEnd(terminal, 0);
    EXPECT_EQ(std::string::npos, terminal.Output().find("secret"));
}

TEST_F(PromptTest, IsAskedForOnTheTerminalWhenStandardInputIsNone) {
    PseudoTerminal terminal = Login("</dev/null");
    ASSERT_TRUE(terminal.AwaitText("Password for anna:"));
    terminal.Type("secret\n");
    ExpectEnd(terminal, 0);
}

TEST_F(PromptTest, CtrlCEndsTheQuestionAndLeavesTheEchoOn) {
    PseudoTerminal terminal = Login();
    ASSERT_TRUE(terminal.AwaitText("Password for anna:"));
    terminal.Interrupt();
    ExpectEnd(terminal, 7);
    EXPECT_NE(std::string::npos, terminal.Output().find("quillmark: cancelled\r\n")) << terminal.Output();
}

TEST_F(PromptTest, NoAnswerIsNoPassword) {
    for (const std::string keys : {"\n", "\x04"}) {
        PseudoTerminal terminal = Login();
        ASSERT_TRUE(terminal.AwaitText("Password for anna:"));
        terminal.Type(keys);
        ExpectEnd(terminal, 2);
        EXPECT_NE(std::string::npos, terminal.Output().find("quillmark: no password was given\r\n"));
    }
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/sessions")) << "a wrong attempt counts";
}

}  // namespace
}  // namespace quillmark::testing
