// The terminal of the tests against programs that everybody knows.
#include "integration/support/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <csignal>

namespace quillmark::testing {
namespace {

using Rows = std::vector<std::string>;

std::vector<std::string> Shell(const std::string& script) {
    return {"bash", "-c", script};
}

TEST(PseudoTerminalTest, TheProgramSeesTheTerminalsSize) {
    PseudoTerminal terminal({"stty", "size"}, {}, 40, 10);
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Rows{"10 40"}, terminal.Screen().Rows());
}

TEST(PseudoTerminalTest, TheProgramSeesAnotherSizeAfterwards) {
    PseudoTerminal terminal(Shell("stty size; read; stty size"), {}, 40, 10);
    ASSERT_TRUE(terminal.AwaitText("10 40"));
    terminal.Resize(120, 30);
    terminal.Type("\n");
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ((Rows{"10 40", "", "30 120"}), terminal.Screen().Rows());
}

TEST(PseudoTerminalTest, AllThreeStreamsAreTheTerminal) {
    PseudoTerminal terminal(Shell("test -t 0 && test -t 1 && test -t 2"), {});
    EXPECT_EQ(0, terminal.Wait());
}

TEST(PseudoTerminalTest, WhatIsTypedIsReadAndShown) {
    PseudoTerminal terminal(Shell("echo ready; read line; echo \"read: $line\""), {});
    ASSERT_TRUE(terminal.AwaitText("ready"));
    terminal.Type("words\n");
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ((Rows{"ready", "words", "read: words"}), terminal.Screen().Rows());
}

TEST(PseudoTerminalTest, WhatIsTypedIsNotShownOnceTheProgramTurnsThatOff) {
    PseudoTerminal terminal(Shell("stty -echo; echo ready; read line; echo \"read ${#line}\""), {});
    ASSERT_TRUE(terminal.AwaitText("ready"));
    terminal.Type("secret\n");
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ((Rows{"ready", "read 6"}), terminal.Screen().Rows());
}

TEST(PseudoTerminalTest, CtrlCRaisesSigint) {
    PseudoTerminal handled(Shell("trap 'echo taken; exit 9' INT; echo ready; read"), {});
    ASSERT_TRUE(handled.AwaitText("ready"));
    handled.Interrupt();
    EXPECT_EQ(9, handled.Wait());
    EXPECT_EQ((Rows{"ready", "^Ctaken"}), handled.Screen().Rows());
    PseudoTerminal plain({"cat"}, {});
    plain.Type("begun\n");
    ASSERT_TRUE(plain.Await([](const ScreenModel& screen) { return screen.Rows() == Rows{"begun", "begun"}; }));
    plain.Interrupt();
    EXPECT_EQ(128 + SIGINT, plain.Wait());
}

TEST(PseudoTerminalTest, ATerminalThatGoesAwayRaisesSighup) {
    PseudoTerminal terminal(Shell("echo ready; exec cat"), {});
    ASSERT_TRUE(terminal.AwaitText("ready"));
    terminal.HangUp();
    EXPECT_EQ(128 + SIGHUP, terminal.Wait());
}

TEST(PseudoTerminalTest, ItIsAnXtermUnlessTheEnvironmentSaysOtherwise) {
    PseudoTerminal usual(Shell("echo $TERM"), {});
    EXPECT_EQ(0, usual.Wait());
    EXPECT_EQ("xterm\r\n", usual.Output());
    PseudoTerminal dumb(Shell("echo $TERM"), {{"TERM", "dumb"}});
    EXPECT_EQ(0, dumb.Wait());
    EXPECT_EQ("dumb\r\n", dumb.Output());
}

TEST(PseudoTerminalTest, NobodyWaitsForWhatAnEndedProgramWillNotWrite) {
    PseudoTerminal terminal(Shell("echo gone; exit 3"), {});
    EXPECT_FALSE(terminal.AwaitText("never"));
    EXPECT_EQ(3, terminal.Wait());
    EXPECT_EQ(Rows{"gone"}, terminal.Screen().Rows());
}

TEST(PseudoTerminalTest, AProgramThatStillRunsIsKilled) {
    pid_t program = 0;
    {
        PseudoTerminal terminal(Shell("echo $$; exec cat"), {});
        ASSERT_TRUE(terminal.Await([](const ScreenModel& screen) { return screen.CursorRow() == 1; }));
        program = std::stoi(terminal.Screen().Rows().front());
        EXPECT_EQ(0, ::kill(program, 0));
    }
    EXPECT_EQ(-1, ::kill(program, 0));
}

}  // namespace
}  // namespace quillmark::testing
