// The command-line host on a terminal: what a person sees there.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <regex>

#include "integration/cancel/StalledServer.h"
#include "integration/cli/CliTest.h"
#include "integration/cli/Summary.h"
#include "integration/support/PseudoTerminal.h"

namespace quillmark::testing {
namespace {

using Rows = std::vector<std::string>;

class TerminalTest : public CliTest {
protected:
    void SetUp() override { StartAndLogin(); }

    // An item "/f" of ten million bytes, whose download is held up once four million are over.
    void HoldUpDownload(int milliseconds) {
        ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", std::string(10'000'000, 'x')), "/f"}).exitCode);
        // The first GET asks for the item's record.
        Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 1}});
        Server().AddFaults({{"method", "GET"},
                            {"path", "/api/1.7/folders/f"},
                            {"kind", "stall"},
                            {"after", 4'000'000},
                            {"ms", milliseconds}});
    }
    [[nodiscard]] Arguments Get() const { return Command({"get", "/f", Local("back")}); }
    // A shell's line, in which "$@" is that command.
    [[nodiscard]] static Arguments InShell(const std::string& line, const Arguments& command) {
        Arguments shell = {"bash", "-c", line, "bash"};
        shell.insert(shell.end(), command.begin(), command.end());
        return shell;
    }
    // Waits until the screen's rows are these patterns, one for each row.
    static void AwaitRows(PseudoTerminal& terminal, const Rows& patterns) {
        EXPECT_TRUE(terminal.Await([&patterns](const ScreenModel& screen) {
            const Rows rows = screen.Rows();
            return rows.size() == patterns.size() && std::equal(rows.begin(), rows.end(), patterns.begin(),
                                                                [](const std::string& row, const std::string& pattern) {
                                                                    return std::regex_match(row, std::regex(pattern));
                                                                });
        })) << ::testing::PrintToString(terminal.Screen().Rows());
    }
    // All that is left on the screen in the end, rows put together.
    static std::string Left(const PseudoTerminal& terminal) {
        EXPECT_EQ(Rows{}, terminal.Screen().UnknownSequences());
        std::string text;
        for (const std::string& row : terminal.Screen().AllRows()) {
            text += row + "\n";
        }
        return WithoutTime(text);
    }
    static constexpr const char* Success = "1 file, 0 folders, 10000000 bytes, 0 skipped, 0 failed\n";
    static constexpr const char* Cancelled =
        "1 file is left; the same command goes on where it stopped\n"
        "0 files, 0 folders, 0 bytes, 0 skipped, 0 failed, cancelled\n";
};

// The rate may not be known yet.
const std::string RATE = "(  [ 0-9.]{4} [KM]iB/s| {12})";
const std::string TIME = " +([0-9:]+|-:--)";

TEST_F(TerminalTest, BarsAt80ColumnsAreGoneAtTheEnd) {
    HoldUpDownload(2000);
    PseudoTerminal terminal(Get(), HomeEnvironment(), 80, 24);
    AwaitRows(terminal, {"/f {29}  \\[######\\.{11}\\]   39%" + RATE + TIME,
                         "0 of 1 file, 3\\.8 MiB of 9\\.5 MiB  \\[######\\.{11}\\]   39%" + RATE + TIME});
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Success, Left(terminal));
    EXPECT_EQ(10'000'000u, Read(Local("back")).size());
}

TEST_F(TerminalTest, BarsAt40ColumnsAreGoneAtTheEnd) {
    HoldUpDownload(2000);
    PseudoTerminal terminal(Get(), HomeEnvironment(), 40, 24);
    AwaitRows(terminal, {"/f {12}  \\[##\\.{4}\\]   39%" + TIME, "0/1 file {6}  \\[##\\.{4}\\]   39%" + TIME});
    EXPECT_EQ(0, terminal.Wait());
    const Rows rows = terminal.Screen().AllRows();
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ("1 file, 0 folders, 10000000 bytes, 0 ski", rows[0]);
    EXPECT_EQ("pped, 0 failed in ", rows[1].substr(0, 18));
}

TEST_F(TerminalTest, BarsAt200ColumnsAreGoneAtTheEnd) {
    HoldUpDownload(2000);
    PseudoTerminal terminal(Get(), HomeEnvironment(), 200, 24);
    AwaitRows(terminal, {"/f {119}  \\[#{18}\\.{29}\\]   39%" + RATE + TIME,
                         "0 of 1 file, 3\\.8 MiB of 9\\.5 MiB {90}  \\[#{18}\\.{29}\\]   39%" + RATE + TIME});
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Success, Left(terminal));
}

TEST_F(TerminalTest, BarsFollowTheTerminalsWidth) {
    HoldUpDownload(60'000);
    PseudoTerminal terminal(Get(), HomeEnvironment(), 80, 24);
    ASSERT_TRUE(terminal.AwaitText("39%"));
    terminal.Resize(40, 24);
    AwaitRows(terminal, {"/f {12}  \\[##\\.{4}\\]   39%" + TIME, "0/1 file {6}  \\[##\\.{4}\\]   39%" + TIME});
    terminal.Resize(120, 30);
    AwaitRows(terminal,
              {"/f {59}  \\[#+\\.+\\]   39%" + RATE + TIME, "0 of 1 file.*  \\[#+\\.+\\]   39%" + RATE + TIME});
    terminal.Interrupt();
    EXPECT_EQ(7, terminal.Wait());
    EXPECT_EQ(Cancelled, Left(terminal));
}

TEST_F(TerminalTest, CtrlCLeavesACleanScreenAndTheSummary) {
    HoldUpDownload(60'000);
    PseudoTerminal terminal(Get(), HomeEnvironment());
    ASSERT_TRUE(terminal.AwaitText("39%"));
    const auto pressed = std::chrono::steady_clock::now();
    terminal.Interrupt();
    EXPECT_EQ(7, terminal.Wait());
    EXPECT_LT(std::chrono::steady_clock::now() - pressed, std::chrono::seconds(10));
    EXPECT_EQ(Cancelled, Left(terminal));
    EXPECT_EQ(2u, terminal.Screen().CursorRow());
    EXPECT_EQ(0u, terminal.Screen().CursorColumn());
}

TEST_F(TerminalTest, AnUploadHasABarAsWell) {
    const std::string file = Write("file", std::string(10'000'000, 'x'));
    Server().AddFaults({{"method", "POST"},
                        {"path", "/api/1.7/folders/f"},
                        {"kind", "stall"},
                        {"direction", "request"},
                        {"after", 1000},
                        {"ms", 2000}});
    PseudoTerminal terminal(Command({"put", file, "/f"}), HomeEnvironment());
    // How much the two systems' buffers take is theirs to say.
    AwaitRows(terminal,
              {"/f {29}  \\[.*\\] +[0-9]+%" + RATE + TIME, "0 of 1 file, .*  \\[.*\\] +[0-9]+%" + RATE + TIME});
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Success, Left(terminal));
}

TEST_F(TerminalTest, AResumableUploadHasABarAsWell) {
    const std::string file = Write("file", std::string(10'000'000, 'x'));
    Server().AddFaults({{"method", "POST"}, {"path", "/api/1.7/resume/upload/f"}, {"kind", "delay"}, {"ms", 1}});
    Server().AddFaults(
        {{"method", "POST"}, {"path", "/api/1.7/resume/upload/f"}, {"kind", "delay"}, {"when", "after"}, {"ms", 2000}});
    PseudoTerminal terminal(Command({"put", "--resumable", "--chunk", "2500000", file, "/f"}), HomeEnvironment());
    AwaitRows(terminal, {"/f {29}  \\[########\\.{9}\\]   50%" + RATE + TIME,
                         "0 of 1 file, 4\\.7 MiB of 9\\.5 MiB  \\[########\\.{9}\\]   50%" + RATE + TIME});
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Success, Left(terminal));
}

TEST_F(TerminalTest, FailuresStayOnTheScreen) {
    Write("tree/one", "1");
    std::filesystem::create_symlink("nowhere", Local("tree/dangling"));
    PseudoTerminal terminal(Command({"put", Local("tree"), "/copy"}), HomeEnvironment(), 200, 24);
    EXPECT_EQ(1, terminal.Wait());
    EXPECT_EQ("failed: " + Local("tree/dangling") +
                  ": the local name is a link that leads nowhere (1921) [ERROR_CANT_RESOLVE_FILENAME]\n"
                  "Repair the link, or leave it out with --exclude.\n1 file, 1 folder, 1 byte, 0 skipped, 1 failed\n",
              Left(terminal));
}

TEST_F(TerminalTest, NamesGoToAFileWhileBarsAreOnTheTerminal) {
    HoldUpDownload(1000);
    PseudoTerminal terminal(InShell("exec \"$@\" > '" + Local("names") + "'", Get()), HomeEnvironment());
    EXPECT_TRUE(terminal.AwaitText("39%"));
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Success, Left(terminal));
    EXPECT_EQ(Local("back") + "\n", Read(Local("names")));
}

TEST_F(TerminalTest, OnATerminalThatCannotRedrawThereAreLines) {
    Process::Environment environment = HomeEnvironment();
    environment["TERM"] = "dumb";
    PseudoTerminal terminal(Command({"put", Write("file", "hello"), "/f"}), environment);
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ("/f\n1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n", Left(terminal));
    EXPECT_EQ(std::string::npos, terminal.Output().find('\x1B'));
}

TEST_F(TerminalTest, QuietThereIsNeitherBarNorName) {
    PseudoTerminal terminal(Command({"put", "--quiet", Write("file", "hello"), "/f"}), HomeEnvironment());
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ("1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n", Left(terminal));
    EXPECT_EQ(std::string::npos, terminal.Output().find('\x1B'));
}

TEST_F(TerminalTest, ThePasswordIsAskedForWithoutShowingTheAnswer) {
    Process::Environment environment = HomeEnvironment();
    environment["QUILLMARK_PASSWORD"] = "";
    PseudoTerminal terminal(Command({"login", Server().HttpUrl(), "--user", "anna"}), environment);
    ASSERT_TRUE(terminal.AwaitText("Password for anna:"));
    terminal.Type("secret\n");
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ("Password for anna:\nLogged in to " + Server().HttpUrl() + " as anna.\n", Left(terminal));
    EXPECT_EQ(std::string::npos, terminal.Output().find("secret"));
}

TEST_F(TerminalTest, ATransferGoesOnWhenNobodyReadsTheNames) {
    for (int number = 100; number < 140; ++number) {
        // Long names: more than the program keeps before it writes.
        Write("tree/" + std::to_string(number) + std::string(200, 'x'), "1");
    }
    // The reader is gone before the first name is written.
    const ProcessResult result = Process::Run(
        InShell("exec 3> >(true); wait $!; \"$@\" >&3", Command({"put", Local("tree"), "/copy"})), HomeEnvironment());
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("40 files, 1 folder, 40 bytes, 0 skipped, 0 failed\n", WithoutTime(result.errors));
}

// "quillmark ls | head -1", with a listing that is larger than a pipe.
TEST_F(CliTest, AListingWhoseReaderGoesAwayEndsWithoutAWord) {
    std::string contents;
    for (int number = 10'000; number < 13'000; ++number) {
        contents += (contents.empty() ? "" : ",") +
                    (R"({"name":"a name that is forty-five columns long )" + std::to_string(number)) +
                    R"(","directory":false,"revision":"7","creation_time":"2026-01-02T03:04:05.678Z",)"
                    R"("modification_time":"2026-01-02T03:04:05.678Z","size":7,"attributes":128,)"
                    R"("permissions":"WRITE","folder_permissions":"WRITE"})";
    }
    const std::string folder =
        R"({"name":"","directory":true,"revision":"7","creation_time":"2026-01-02T03:04:05.678Z",)"
        R"("modification_time":"2026-01-02T03:04:05.678Z","attributes":16,"permissions":"WRITE",)"
        R"("folder_permissions":"WRITE","contents":[)" +
        contents + "]}";
    test::RawServer server([&folder](test::Peer& peer) {
        for (std::string head = peer.ReadHead(); !head.empty(); head = peer.ReadHead()) {
            if (head.starts_with("GET /endpoints ")) {
                peer.Send(JsonReply(R"({"qm":{"sync":{"1.7":{"path":"/api/1.7","tos":0}}}})"));
            } else if (head.starts_with("GET /api/1.7/init ")) {
                peer.Send(JsonReply(R"({"device_token_auth":false})"));
            } else {
                peer.Send(JsonReply(folder));
            }
        }
    });
    Write("home/session", "quillmark session 1\nserver http://127.0.0.1:" + std::to_string(server.Port()) +
                              "\nuser anna\ndevice d\ntoken T0KEN\n");
    Arguments command = {"bash", "-c", "\"$@\" | head -1; exit ${PIPESTATUS[0]}", "bash"};
    const Arguments list = Command({"ls"});
    command.insert(command.end(), list.begin(), list.end());
    const ProcessResult result = Process::Run(command, HomeEnvironment());
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("a name that is forty-five columns long 10000\n", result.output);
    EXPECT_EQ("", result.errors);
}

}  // namespace
}  // namespace quillmark::testing
