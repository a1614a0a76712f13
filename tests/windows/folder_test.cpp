// quillmark.exe with folders: both ways, with the files that only Windows has.
#include "BareWinHttp.h"
#include "CommandLine.h"

namespace quillmark::test {
namespace {

class FolderTest : public CommandLineTest {
protected:
    void SetUp() override {
        ASSERT_EQ(Login().exitCode, 0u);
        std::filesystem::create_directories(Path(L"tree/inner"));
        Write(L"tree/a", "first");
        Write(L"tree/inner/b", "second");
        Write(L"tree/inner/c.tmp", "third");
    }
    static void ExpectHas(const std::string& text, const std::string& part) {
        EXPECT_NE(text.find(part), std::string::npos) << "missing: " << part << "\n" << text;
    }
    using Names = std::vector<std::wstring>;
};

TEST_F(FolderTest, ATreeGoesThereAndBackByFilesAtATimeWithoutWhatIsExcluded) {
    const Outcome sent = Run({L"put", L"--jobs", L"4", L"--exclude", L"*.tmp", Path(L"tree"), L"\\tree"});
    EXPECT_EQ(sent.exitCode, 0u) << sent.errors;
    EXPECT_EQ(sent.output.find('\r'), std::string::npos);
    const Outcome fetched = Run({L"get", L"--jobs", L"4", L"\\tree", Path(L"copy")});
    EXPECT_EQ(fetched.exitCode, 0u) << fetched.errors;
    EXPECT_EQ(NamesIn(L"copy/inner"), Names{L"b"});
    EXPECT_EQ(Read(L"copy/a") + Read(L"copy/inner/b"), "firstsecond");
    ExpectHas(Run({L"put", L"--exclude", L"*.tmp", Path(L"tree"), L"/tree"}).errors,
              "0 files, 2 folders, 0 bytes, 2 sk");
}

TEST_F(FolderTest, ADryRunTellsWhatASyncThenDoes) {
    ASSERT_EQ(Run({L"put", Path(L"tree"), L"/tree"}).exitCode, 0u);
    std::filesystem::remove(Path(L"tree/inner/b"));
    Write(L"tree/new", "new");
    const Outcome told = Run({L"sync", L"--delete", L"--dry-run", Path(L"tree"), L"/tree"});
    EXPECT_EQ(told.exitCode, 0u) << told.errors;
    ExpectHas(told.output + told.errors, "1 to transfer, 3 bytes, 1 to delete, 2 same");
    EXPECT_EQ(Run({L"ls", L"/tree/inner"}).output, "b\nc.tmp\n");
    const Outcome done = Run({L"--json", L"sync", L"--delete", L"--yes", Path(L"tree"), L"/tree"});
    EXPECT_EQ(done.exitCode, 0u) << done.errors;
    ExpectHas(done.output, R"("outcome":"deleted")");
    EXPECT_EQ(Run({L"ls", L"/tree/inner"}).output, "c.tmp\n");
    EXPECT_EQ(Run({L"ls", L"/tree"}).output, "a\ninner/\nnew\n");
}

TEST_F(FolderTest, OfTwoNamesThatDifferInLetterCaseTheSecondOneFails) {
    ASSERT_EQ(Run({L"mkdir", L"/twins"}).exitCode, 0u);
    ASSERT_EQ(Run({L"put", Path(L"tree/a"), L"/twins/File"}).exitCode, 0u);
    ASSERT_EQ(Run({L"put", Path(L"tree/inner/b"), L"/twins/file"}).exitCode, 0u);
    const Outcome outcome = Run({L"get", L"/twins", Path(L"copy")});
    EXPECT_EQ(outcome.exitCode, 1u);
    ExpectHas(outcome.errors, "/copy/file: its name is the same as another item's on this system");
    EXPECT_EQ(NamesIn(L"copy"), Names{L"File"});
    EXPECT_EQ(Read(L"copy/File"), "first");
}

TEST_F(FolderTest, AFileThatAnotherProgramKeepsForItselfFailsAndTheOthersGoOn) {
    const HANDLE kept = ::CreateFileW(Path(L"tree/a").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(kept, INVALID_HANDLE_VALUE);
    const Outcome folder = Run({L"put", Path(L"tree"), L"/tree"});
    const Outcome file = Run({L"put", Path(L"tree/a"), L"/alone"});
    ::CloseHandle(kept);
    EXPECT_EQ(folder.exitCode, 1u);
    ExpectHas(folder.errors, "another program uses the local file (32)");
    EXPECT_EQ(Run({L"ls", L"/tree/inner"}).output, "b\nc.tmp\n");
    EXPECT_EQ(file.exitCode, 8u);
    ExpectHas(file.errors, "another program uses the local file (32)");
    EXPECT_EQ(Run({L"stat", L"/alone"}).exitCode, 5u);
}

TEST_F(FolderTest, HiddenAndReadOnlyFilesGoAlong) {
    ::SetFileAttributesW(Path(L"tree/a").c_str(), FILE_ATTRIBUTE_HIDDEN);
    ::SetFileAttributesW(Path(L"tree/inner/b").c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(Run({L"put", Path(L"tree"), L"/tree"}).exitCode, 0u);
    ExpectHas(Run({L"--json", L"stat", L"/tree/inner/b"}).output, R"("attributes":33,)");
    EXPECT_EQ(Run({L"get", L"/tree", Path(L"copy")}).exitCode, 0u);
    EXPECT_EQ(Read(L"copy/a") + Read(L"copy/inner/b"), "firstsecond");
    ::SetFileAttributesW(Path(L"tree/inner/b").c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(FolderTest, ADownloadThatWasKilledGoesOnFromItsPart) {
    const std::string content = Pattern(9'000'000);
    Write(L"large", content);
    ASSERT_EQ(Run({L"put", L"-q", Path(L"large"), L"/large"}).exitCode, 0u);
    // The first request asks for the item's record, the second for its contents.
    const std::string get = R"({"method": "GET", "path": "/api/1.7/folders/large", "kind": )";
    Ask(HttpUrl(), L"POST", L"/control/faults", get + R"("delay", "ms": 1})");
    Ask(HttpUrl(), L"POST", L"/control/faults", get + R"("stall", "after": 5000000, "ms": 8000})");
    const Program program = Start({L"get", L"/large", Path(L"back")});
    AwaitHeldUp();
    // Looked at without being opened: the program has it for itself.
    WIN32_FILE_ATTRIBUTE_DATA part = {};
    while (::GetFileAttributesExW(Path(L"back.quillmark-part").c_str(), GetFileExInfoStandard, &part) == FALSE ||
           part.nFileSizeLow < 4'000'000) {
        ::SwitchToThread();
    }
    program.Kill();
    EXPECT_EQ(Finish(program).exitCode, Program::Killed);
    const Outcome again = Run({L"--trace", L"get", L"/large", Path(L"back")});
    EXPECT_EQ(again.exitCode, 0u) << again.errors;
    EXPECT_EQ(again.errors.find("9000000 bytes down"), std::string::npos) << again.errors;
    EXPECT_TRUE(Read(L"back") == content);
    EXPECT_FALSE(std::filesystem::exists(Path(L"back.quillmark-part")));
    EXPECT_FALSE(std::filesystem::exists(Path(L"back.quillmark-part-of")));
}

TEST_F(FolderTest, AnEarlierStateOfTheFolderMakesADeltaOfALargeFile) {
    const std::string old = Pattern(3'000'000);
    Write(L"tree/large", old);
    ASSERT_EQ(Run({L"put", L"-q", Path(L"tree"), L"/tree"}).exitCode, 0u);
    std::filesystem::create_directory(Path(L"base"));
    ASSERT_TRUE(::CopyFileW(Path(L"tree/large").c_str(), Path(L"base/large").c_str(), TRUE));
    Write(L"tree/large", old + "more");
    const Outcome sent = Run({L"--json", L"put", L"--base", Path(L"base"), Path(L"tree"), L"/tree"});
    EXPECT_EQ(sent.exitCode, 0u) << sent.errors;
    ExpectHas(sent.output, R"("method":"delta")");
    EXPECT_EQ(Run({L"get", L"/tree/large", Path(L"back")}).exitCode, 0u);
    EXPECT_TRUE(Read(L"back") == old + "more");
}

}  // namespace
}  // namespace quillmark::test
