// quillmark.exe at a console: Ctrl-C, the password that is asked for, bars. How fast Ctrl-C ends a command is not
// looked at: Windows ends a call whose handle is closed at once, Wine when the reply comes.
#include "BareWinHttp.h"
#include "CommandLine.h"
#include "PseudoConsole.h"
#include "integration/cli/Summary.h"

namespace quillmark::test {
namespace {

class ConsoleTest : public CommandLineTest {
protected:
    // Starts the command at the console and presses Ctrl-C when the server holds it up.
    Outcome InterruptWhenHeldUp(const std::vector<std::wstring>& arguments) const {
        const Program program = Start(arguments, &console);
        AwaitHeldUp();
        PseudoConsole::PressControlC(program.Id());
        return Finish(program);
    }

    // An item "/large" of ten million bytes, whose download is held up once four million are over.
    void HoldUpDownload(int milliseconds) const {
        ASSERT_EQ(Login().exitCode, 0u);
        Write(L"large", Pattern(10'000'000));
        ASSERT_EQ(Run({L"put", Path(L"large"), L"/large"}).exitCode, 0u);
        // The first request asks for the item's record, the second for its contents.
        Ask(HttpUrl(), L"POST", L"/control/faults",
            R"({"method": "GET", "path": "/api/1.7/folders/large", "kind": "delay", "ms": 1})");
        Ask(HttpUrl(), L"POST", L"/control/faults",
            R"({"method": "GET", "path": "/api/1.7/folders/large", "kind": "stall", "after": 4000000, "ms": )" +
                std::to_string(milliseconds) + "}");
    }

    static constexpr const char* Interrupted =
        "1 file is left; the same command goes on where it stopped\n"
        "0 files, 0 folders, 0 bytes, 0 skipped, 0 failed, cancelled\n";

    PseudoConsole console;
};

TEST_F(ConsoleTest, ControlCEndsAListing) {
    ASSERT_EQ(Login().exitCode, 0u);
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "GET", "path": "/api/1.7/folders/", "match": "prefix", "kind": "delay", "ms": 8000})");
    const Outcome outcome = InterruptWhenHeldUp({L"ls"});
    EXPECT_EQ(outcome.exitCode, 7u);
    EXPECT_EQ(outcome.errors, "quillmark: cancelled\n");
    EXPECT_EQ(outcome.output, "");
}

TEST_F(ConsoleTest, ControlCEndsAnUploadWithAWordOfItAndNothingIsStored) {
    ASSERT_EQ(Login().exitCode, 0u);
    Write(L"large", Pattern(30'000'000));
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "POST", "path": "/api/1.7/folders/large", "kind": "stall", "direction": "request",
            "after": 1000000, "ms": 8000})");
    const Outcome outcome = InterruptWhenHeldUp({L"put", Path(L"large"), L"/large"});
    EXPECT_EQ(outcome.exitCode, 7u);
    EXPECT_EQ(quillmark::testing::WithoutTime(outcome.errors), Interrupted);
    EXPECT_EQ(Run({L"ls", L"/"}).output, "");
}

TEST_F(ConsoleTest, ControlCEndsASmallDownloadAndLeavesNoPartOfTheFile) {
    ASSERT_EQ(Login().exitCode, 0u);
    Write(L"large", Pattern(4'000'000));
    ASSERT_EQ(Run({L"put", Path(L"large"), L"/large"}).exitCode, 0u);
    std::filesystem::create_directory(Path(L"folder"));
    Write(L"folder/large", "old");
    // The first request asks for the item's record, the second for its contents.
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "GET", "path": "/api/1.7/folders/large", "kind": "delay", "ms": 1})");
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "GET", "path": "/api/1.7/folders/large", "kind": "stall", "after": 3000000, "ms": 8000})");
    const Outcome outcome = InterruptWhenHeldUp({L"get", L"/large", Path(L"folder/large")});
    EXPECT_EQ(outcome.exitCode, 7u);
    EXPECT_EQ(quillmark::testing::WithoutTime(outcome.errors), Interrupted);
    EXPECT_EQ(NamesIn(L"folder"), std::vector<std::wstring>{L"large"});
    EXPECT_EQ(Read(L"folder/large"), "old");
}

TEST_F(ConsoleTest, AResumableUploadThatControlCEndedIsContinued) {
    ASSERT_EQ(Login().exitCode, 0u);
    const std::string content = Pattern(6'000'000);
    Write(L"large", content);
    const std::vector<std::wstring> command = {L"put", L"--resumable", L"--chunk", L"1M", Path(L"large"), L"/large"};
    HoldUpTheThirdChunk(8000);
    const Outcome outcome = InterruptWhenHeldUp(command);
    EXPECT_EQ(outcome.exitCode, 7u);
    EXPECT_EQ(quillmark::testing::WithoutTime(outcome.errors), Interrupted);
    const std::string state = Run({L"uploads", L"state", L"/large"}).output;
    EXPECT_NE(state.find("\t6000000\t"), std::string::npos) << state;
    const Outcome again = Run(command);
    EXPECT_EQ(again.exitCode, 0u) << again.errors;
    EXPECT_EQ(Run({L"get", L"/large", Path(L"back")}).exitCode, 0u);
    EXPECT_TRUE(Read(L"back") == content);
    EXPECT_EQ(Run({L"uploads"}).output, "");
}

TEST_F(ConsoleTest, ControlCEndsAFolderOfSeveralFilesAtATimeAndTellsWhatIsLeft) {
    ASSERT_EQ(Login().exitCode, 0u);
    std::filesystem::create_directory(Path(L"tree"));
    for (const wchar_t* name : {L"tree/1", L"tree/2", L"tree/3", L"tree/4", L"tree/5", L"tree/6"}) {
        Write(name, "content");
    }
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "POST", "path": "/api/1.7/folders/tree/", "match": "prefix", "kind": "stall",
            "direction": "request", "after": 1, "ms": 4000, "count": 3})");
    const Outcome outcome = InterruptWhenHeldUp({L"put", L"--jobs", L"3", Path(L"tree"), L"/tree"});
    EXPECT_EQ(outcome.exitCode, 7u);
    EXPECT_EQ(quillmark::testing::WithoutTime(outcome.errors),
              "6 files are left; the same command goes on where it stopped\n"
              "0 files, 1 folder, 0 bytes, 0 skipped, 0 failed, cancelled\n");
    const Outcome again = Run({L"put", Path(L"tree"), L"/tree"});
    EXPECT_EQ(again.exitCode, 0u) << again.errors;
    EXPECT_EQ(Run({L"ls", L"/tree"}).output, "1\n2\n3\n4\n5\n6\n");
}

TEST_F(ConsoleTest, APasswordIsAskedForAndNotShown) {
    ::SetEnvironmentVariableW(L"QUILLMARK_PASSWORD", nullptr);
    const std::string url = HttpUrl();
    const Program program = Start({L"login", std::wstring(url.begin(), url.end()), L"--user", L"anna"}, &console);
    ASSERT_TRUE(console.Shows("Password")) << console.Shown();
    console.Type("secret\r");
    const Outcome outcome = Finish(program);
    EXPECT_EQ(outcome.exitCode, 0u) << outcome.errors << console.Shown();
    EXPECT_EQ(outcome.output, "Logged in to " + url + " as anna.\n");
    // No letter of it that the question does not have.
    EXPECT_EQ(console.Shown().find_first_of("ect"), std::string::npos) << console.Shown();
    EXPECT_EQ(Run({L"ls", L"/"}).exitCode, 0u);
}

TEST_F(ConsoleTest, AWrongPasswordAtThePromptIsRefused) {
    ::SetEnvironmentVariableW(L"QUILLMARK_PASSWORD", nullptr);
    const std::string url = HttpUrl();
    const Program program = Start({L"login", std::wstring(url.begin(), url.end()), L"--user", L"anna"}, &console);
    ASSERT_TRUE(console.Shows("Password")) << console.Shown();
    console.Type("guess\r");
    EXPECT_EQ(Finish(program).exitCode, 4u);
}

// Wine's console takes a sequence that moves the cursor for letters, so where things stand on the screen is looked at
// on Linux; here, that a console gets bars of its width and, at the end, the summary.
TEST_F(ConsoleTest, ADownloadHasItsBarsAndTheSummary) {
    HoldUpDownload(3000);
    const Program program = StartShown({L"get", L"/large", Path(L"back")}, console);
    EXPECT_TRUE(console.Shows("0 of 1 file, 3.8 MiB of 9.5 MiB")) << console.Shown();
    EXPECT_TRUE(console.Shows("39%")) << console.Shown();
    EXPECT_EQ(program.Wait(), 0u);
    EXPECT_TRUE(console.Shows("1 file, 0 folders, 10000000 bytes, 0 skipped, 0 failed in ")) << console.Shown();
    EXPECT_TRUE(Read(L"back") == Pattern(10'000'000));
}

TEST_F(ConsoleTest, BarsOfANarrowConsoleAreShort) {
    const PseudoConsole narrow(40);
    HoldUpDownload(3000);
    const Program program = StartShown({L"get", L"/large", Path(L"back")}, narrow);
    EXPECT_TRUE(narrow.Shows("0/1 file")) << narrow.Shown();
    EXPECT_TRUE(narrow.Shows("[##....]   39%")) << narrow.Shown();
    EXPECT_EQ(program.Wait(), 0u);
}

TEST_F(ConsoleTest, ControlCAtTheBarsLeavesTheSummary) {
    HoldUpDownload(8000);
    const Program program = StartShown({L"get", L"/large", Path(L"back")}, console);
    EXPECT_TRUE(console.Shows("39%")) << console.Shown();
    PseudoConsole::PressControlC(program.Id());
    EXPECT_EQ(program.Wait(), 7u);
    EXPECT_TRUE(console.Shows("1 file is left; the same command goes on where it stopped")) << console.Shown();
    EXPECT_TRUE(console.Shows(" s, cancelled")) << console.Shown();
}

TEST_F(ConsoleTest, NamesOfAnyScriptAreShown) {
    ASSERT_EQ(Login().exitCode, 0u);
    ASSERT_EQ(Run({L"mkdir", L"/\u4f60\u597d \u00fcber"}).exitCode, 0u);
    const Program program = StartShown({L"ls", L"/"}, console);
    EXPECT_EQ(program.Wait(), 0u);
    EXPECT_TRUE(
        console.Shows("\xE4\xBD\xA0\xE5\xA5\xBD \xC3\xBC"
                      "ber"))
        << console.Shown();
}

}  // namespace
}  // namespace quillmark::test
