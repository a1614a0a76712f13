// The command-line host on a terminal: what a person sees there.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <regex>
#include <thread>

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
    static std::string WithoutDeltaSize(const std::string& text) {
        return std::regex_replace(text, std::regex("delta: [0-9]+ bytes"), "delta: N bytes");
    }
    const std::string DeltaLine = "delta: N bytes for a file of 10000000 bytes\n";
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

TEST_F(TerminalTest, ADeltaThatGoesUpHasABarAsWell) {
    for (const char* option : {"--delta", "--async-delta"}) {
        const std::string old = Write("old", "");
        const std::string resource =
            option == std::string("--delta") ? "/api/1.7/delta/f" : "/api/1.7/asdelta/folders/f";
        ASSERT_EQ(0, Quillmark({"put", "-q", old, "/f"}).exitCode);
        Server().AddFaults({{"method", "POST"},
                            {"path", resource},
                            {"kind", "stall"},
                            {"direction", "request"},
                            {"after", 1000},
                            {"ms", 2000}});
        PseudoTerminal terminal(Command({"put", option, old, Write("file", std::string(10'000'000, 'x')), "/f"}),
                                HomeEnvironment());
        AwaitRows(terminal,
                  {"/f {29}  \\[.*\\] +[0-9]+%" + RATE + TIME, "0 of 1 file, .*  \\[.*\\] +[0-9]+%" + RATE + TIME});
        EXPECT_EQ(0, terminal.Wait());
        EXPECT_EQ(DeltaLine + Success, WithoutDeltaSize(Left(terminal)));
        EXPECT_EQ(0u, Server().UnusedFaults());
    }
}

TEST_F(TerminalTest, ADeltaThatComesDownHasABarAsWell) {
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", std::string(10'000'000, 'x')), "/f"}).exitCode);
    Server().AddFaults(
        {{"method", "POST"}, {"path", "/api/1.7/delta/f"}, {"kind", "stall"}, {"after", 4'000'000}, {"ms", 2000}});
    PseudoTerminal terminal(Command({"get", "--delta", Write("old", ""), "/f", Local("back")}), HomeEnvironment());
    AwaitRows(terminal, {"/f {29}  \\[######\\.{11}\\]   39%" + RATE + TIME,
                         "0 of 1 file, 3\\.8 MiB of 9\\.5 MiB  \\[######\\.{11}\\]   39%" + RATE + TIME});
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(DeltaLine + Success, WithoutDeltaSize(Left(terminal)));
    EXPECT_EQ(10'000'000u, Read(Local("back")).size());
}

TEST_F(TerminalTest, ARangeHasABarOfItsOwnBytes) {
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", std::string(20'000'000, 'x')), "/f"}).exitCode);
    for (const char* range : {"0-10000000", "10000000-"}) {
        // The first GET asks for the item's record.
        Server().AddFaults(
            nlohmann::json::array({{{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 0}},
                                   {{"method", "GET"},
                                    {"path", "/api/1.7/folders/f"},
                                    {"kind", "stall"},
                                    {"after", 4'000'000},
                                    {"ms", 2000}}}));
        PseudoTerminal terminal(Command({"get", "--range", range, "/f", Local("back")}), HomeEnvironment());
        AwaitRows(terminal, {"/f {29}  \\[######\\.{11}\\]   39%" + RATE + TIME,
                             "0 of 1 file, 3\\.8 MiB of 9\\.5 MiB  \\[######\\.{11}\\]   39%" + RATE + TIME});
        EXPECT_EQ(0, terminal.Wait());
        EXPECT_EQ(Success, Left(terminal));
    }
    EXPECT_TRUE(Read(Local("back")) == std::string(20'000'000, 'x'));
}

TEST_F(TerminalTest, ARetryOfARangeShowsInItsLine) {
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", std::string(100, 'x')), "/f"}).exitCode);
    Server().AddFaults(nlohmann::json::array(
        {{{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 0}},
         {{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "reply"}, {"status", 503}, {"count", 100}}}));
    PseudoTerminal terminal(Command({"get", "--retries", "5", "--range", "10-", "/f", Local("back")}),
                            HomeEnvironment());
    EXPECT_TRUE(terminal.AwaitText("trying again"));
    terminal.Interrupt();
    EXPECT_EQ(7, terminal.Wait());
    EXPECT_EQ(Cancelled, Left(terminal));
}

TEST_F(TerminalTest, TheIdentifierOfAJobStandsOnTheScreenInTheEnd) {
    const std::string old = Write("old", "old");
    ASSERT_EQ(0, Quillmark({"put", "-q", old, "/f"}).exitCode);
    PseudoTerminal terminal(Command({"put", "-q", "--async-delta", old, "--no-commit", Write("new", "new"), "/f"}),
                            HomeEnvironment());
    EXPECT_EQ(0, terminal.Wait());
    const std::regex shown("delta: [0-9]+ bytes for a file of 3 bytes\n[0-9A-F-]{36}\n1 file, .*\n");
    EXPECT_TRUE(std::regex_match(Left(terminal), shown)) << Left(terminal);
    PseudoTerminal again(Command({"put", "--async-delta", old, "--no-commit", Write("new", "new"), "/f"}),
                         HomeEnvironment());
    EXPECT_EQ(0, again.Wait());
    EXPECT_TRUE(std::regex_match(Left(again), shown)) << Left(again);
}

TEST_F(TerminalTest, FailuresStayOnTheScreen) {
    Write("tree/one", "1");
    std::filesystem::create_symlink("nowhere", Local("tree/dangling"));
    PseudoTerminal terminal(Command({"put", Local("tree"), "/copy"}), HomeEnvironment(), 200, 24);
    EXPECT_EQ(1, terminal.Wait());
    EXPECT_EQ(
        "failed: " + Local("tree/dangling") +
            " to /copy/dangling: the local name is a link that leads nowhere (1921) [ERROR_CANT_RESOLVE_FILENAME]\n"
            "        Repair the link, or leave it out with --exclude.\n1 file, 1 folder, 1 byte, 0 skipped, 1 failed\n",
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

TEST_F(TerminalTest, ATerminalOfHardlyAColumnIsNoMatter) {
    for (const auto& [columns, rows] : {std::pair<std::size_t, std::size_t>{1, 24}, {2, 2}, {5, 1}, {12, 3}}) {
        HoldUpDownload(300);
        PseudoTerminal terminal(Get(), HomeEnvironment(), columns, rows);
        EXPECT_EQ(0, terminal.Wait()) << columns;
        EXPECT_EQ(Rows{}, terminal.Screen().UnknownSequences());
        std::string text;  // where it is broken there may have been a space
        for (const std::string& row : terminal.Screen().AllRows()) {
            text += std::regex_replace(row, std::regex(" "), "");
        }
        EXPECT_EQ(0u, text.find("1file,0folders,10000000bytes,0skipped,0failed")) << text;
        EXPECT_EQ(10'000'000u, Read(Local("back")).size());
    }
}

TEST_F(TerminalTest, ATerminalThatDoesNotTellItsSizeHas80Columns) {
    HoldUpDownload(2000);
    PseudoTerminal terminal(InShell("stty columns 0 rows 0; exec \"$@\"", Get()), HomeEnvironment());
    AwaitRows(terminal, {"/f {29}  \\[######\\.{11}\\]   39%" + RATE + TIME,
                         "0 of 1 file, 3\\.8 MiB of 9\\.5 MiB  \\[######\\.{11}\\]   39%" + RATE + TIME});
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Success, Left(terminal));
}

TEST_F(TerminalTest, ATerminalThatGoesAwayEndsTheTransferAndLeavesNothingButThePart) {
    std::filesystem::create_directories(Local("tmp"));
    Process::Environment environment = HomeEnvironment();
    environment["TMPDIR"] = Local("tmp");
    HoldUpDownload(60'000);
    PseudoTerminal terminal(Command({"get", "/f", Local("folder") + "/"}), environment);
    std::filesystem::create_directories(Local("folder"));
    ASSERT_TRUE(terminal.AwaitText("39%"));
    terminal.HangUp();
    EXPECT_EQ(7, terminal.Wait());
    EXPECT_EQ((Rows{"f.quillmark-part", "f.quillmark-part-of"}), NamesIn(Local("folder")));
    EXPECT_EQ(Rows{}, NamesIn(Local("tmp")));
}

TEST_F(TerminalTest, UnderNohupATransferGoesOnWithoutTheTerminal) {
    HoldUpDownload(1000);
    PseudoTerminal terminal(InShell("trap '' HUP; exec \"$@\"", Get()), HomeEnvironment());
    ASSERT_TRUE(terminal.AwaitText("39%"));
    terminal.HangUp();
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(10'000'000u, Read(Local("back")).size());
}

TEST_F(TerminalTest, NamesThatAreWideCombinedOrNoLettersBreakNoRow) {
    const Rows names = {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E.txt",
                        "e\xCC\x81\xCC\x81\xCC\x81.txt",
                        "a\xE2\x80\xAE"
                        "b.txt",
                        "line\nbreak\x1B[31m",
                        "\xF0\x9F\x9A\x80\xF0\x9F\x9A\x80.txt",
                        "\xD7\xA9\xD7\x9C.txt"};
    for (const std::string& name : names) {
        Write("tree/" + name, std::string(2'000'000, 'x'));
    }
    for (const std::string& name : names) {
        Server().AddFaults(
            {{"method", "POST"}, {"path", "/api/1.7/folders/copy/" + name}, {"kind", "delay"}, {"ms", 1500}});
    }
    PseudoTerminal terminal(Command({"put", "--jobs", "6", Local("tree"), "/copy"}), HomeEnvironment(), 40, 24);
    // A row for each, and the total; a row that were too long would break into two.
    EXPECT_TRUE(terminal.Await([](const ScreenModel& screen) {
        const Rows rows = screen.Rows();
        return rows.size() == 7 &&
               std::all_of(rows.begin(), rows.end(), [](const std::string& row) { return row.ends_with("0:00"); });
    })) << ::testing::PrintToString(terminal.Screen().Rows());
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ(Rows{}, terminal.Screen().UnknownSequences());
    EXPECT_EQ(std::string::npos, terminal.Output().find("\xE2\x80\xAE"))
        << "what turns the direction round is not shown";
}

TEST_F(TerminalTest, EmptyFilesCountAsFiles) {
    for (int number = 0; number < 40; ++number) {
        Write("tree/" + std::to_string(number), "");
    }
    Server().AddFaults({{"method", "POST"}, {"path", "/api/1.7/folders/copy/9"}, {"kind", "delay"}, {"ms", 1500}});
    PseudoTerminal terminal(Command({"put", Local("tree"), "/copy"}), HomeEnvironment());
    AwaitRows(terminal, {"/copy/9 .* 100% {12} +0:00", "39 of 40 files, 0 B .*\\] +97%.*"});
    EXPECT_EQ(0, terminal.Wait());
    EXPECT_EQ("40 files, 1 folder, 0 bytes, 0 skipped, 0 failed\n", Left(terminal));
}

// Otherwise the next thing that is opened would stand in its place, and words for a person would go into that.
TEST_F(TerminalTest, AStandardStreamThatIsClosedStaysNobodysPlace) {
    HoldUpDownload(60'000);
    Process process(InShell("exec \"$@\" <&- >&- 2>&-", Get()), "", "", HomeEnvironment());
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!std::filesystem::exists(Local("back.quillmark-part")) && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    for (const char* stream : {"0", "1", "2"}) {
        EXPECT_EQ("/dev/null",
                  std::filesystem::read_symlink("/proc/" + std::to_string(process.Id()) + "/fd/" + stream).string());
    }
}

TEST_F(TerminalTest, AClosedStandardOutputIsAFailureAfterTheTransfer) {
    const ProcessResult result =
        Process::Run(InShell("\"$@\" >&-", Command({"put", Write("file", "hello"), "/f"})), HomeEnvironment());
    EXPECT_EQ(8, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("cannot write the output: ")) << result.errors;
    EXPECT_EQ("hello", ContentOf("/f"));
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
