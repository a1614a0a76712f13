// quillmark get --range.
#include <sys/stat.h>

#include <filesystem>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class RangeCommandTest : public CliTest {
protected:
    void SetUp() override {
        StartAndLogin();
        ASSERT_EQ(0, Quillmark({"put", Write("file", "0123456789"), "/f"}).exitCode);
    }
    int Get(const std::string& range) {
        return Quillmark({"get", "-q", "--retries", "0", "--range", range, "/f", Local("back")}).exitCode;
    }
    std::string Back() { return Read(Local("back")); }
};

TEST_F(RangeCommandTest, WritesTheBytesToTheirOwnPlace) {
    EXPECT_EQ(0, Get("3-5"));
    EXPECT_EQ(std::string("\0\0\0"
                          "34",
                          5),
              Back());
}

TEST_F(RangeCommandTest, KeepsTheOtherBytesOfTheFile) {
    Write("back", "abcdefghijkl");
    EXPECT_EQ(0, Get("3-5"));
    EXPECT_EQ("abc34fghijkl", Back());
    EXPECT_EQ(0, Get("0-2"));
    EXPECT_EQ("01c34fghijkl", Back());
    EXPECT_EQ((std::vector<std::string>{"back", "file", "home"}), NamesIn(Local("")));
}

TEST_F(RangeCommandTest, PiecesInAnyOrderMakeTheWhole) {
    for (const char* range : {"7-10", "0-3", "5-7", "3-5"}) {
        EXPECT_EQ(0, Get(range)) << range;
    }
    EXPECT_EQ("0123456789", Back());
}

TEST_F(RangeCommandTest, GoesToTheEndWithoutOne) {
    Write("back", "abcdefgh");
    EXPECT_EQ(0, Get("8-"));
    EXPECT_EQ("abcdefgh89", Back());
    EXPECT_EQ(0, Get("0-"));
    EXPECT_EQ("0123456789", Back());
}

TEST_F(RangeCommandTest, RefusesWhatDoesNotLieInTheItemAndWritesNothing) {
    for (const char* range : {"0-11", "10-11", "10-", "11-", "5-1K"}) {
        ExpectFailure(2, "the range does not lie in /f, which has 10 bytes",
                      {"get", "--range", range, "/f", Local("back")});
    }
    EXPECT_FALSE(std::filesystem::exists(Local("back")));
}

TEST_F(RangeCommandTest, RefusesWhatIsNoRange) {
    for (const char* range : {"5-5", "6-5", "5", "-", "a-b"}) {
        ExpectFailure(2, std::string("'") + range + "' is not a range",
                      {"get", std::string("--range=") + range, "/f", Local("back")});
    }
}

TEST_F(RangeCommandTest, AsksForOneRevision) {
    const std::string revision = RevisionOf("/f");
    EXPECT_EQ(0, Quillmark({"get", "--range", "0-5", "--revision", revision, "/f", Local("back")}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", Write("file", "9876543210"), "/f"}).exitCode);
    ExpectFailure(6, "(21077)", {"get", "--range", "5-10", "--revision", revision, "/f", Local("back")});
    EXPECT_EQ("01234", Back());
}

TEST_F(RangeCommandTest, PutsAFileIntoAFolderThatIsThere) {
    std::filesystem::create_directories(Local("folder"));
    EXPECT_EQ(0, Quillmark({"get", "-q", "--range", "0-4", "/f", Local("folder")}).exitCode);
    EXPECT_EQ("0123", Read(Local("folder/f")));
}

TEST_F(RangeCommandTest, ReportsFoldersAndMissingItems) {
    OutputOf({"mkdir", "/folder"});
    ExpectFailure(6, "/folder: it is a folder", {"get", "--range", "0-1", "/folder", Local("back")});
    ExpectFailure(5, "(21002)", {"get", "--range", "0-1", "/none", Local("back")});
    ExpectFailure(8, "the local folder does not exist (3)", {"get", "--range", "0-1", "/f", Local("no/back")});
}

TEST_F(RangeCommandTest, ABrokenRangeLeavesTheBytesBehindIt) {
    Write("back", "abcdefghijkl");
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 0}});
    Server().AddFaults(
        {{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "end"}, {"at", "in-body"}, {"after", 1}});
    EXPECT_EQ(3, Get("0-5"));
    EXPECT_EQ("abcdefghijkl", Back());
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(RangeCommandTest, PiecesOfOneFileMayBeFetchedAtTheSameTime) {
    constexpr std::size_t Pieces = 8;
    constexpr std::size_t PieceSize = 40'000;
    std::string content;
    for (std::size_t index = 0; index < Pieces; ++index) {
        content += std::string(PieceSize, static_cast<char>('a' + index));
    }
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("whole", content), "/whole"}).exitCode);
    std::vector<Process> processes;
    for (std::size_t index = 0; index < Pieces; ++index) {
        const std::string range = std::to_string(index * PieceSize) + "-" + std::to_string((index + 1) * PieceSize);
        processes.emplace_back(Command({"get", "-q", "--range", range, "/whole", Local("back")}), Local("out"),
                               Local("err" + std::to_string(index)), HomeEnvironment());
    }
    for (std::size_t index = 0; index < Pieces; ++index) {
        EXPECT_EQ(0, processes[index].Wait()) << Read(Local("err" + std::to_string(index)));
    }
    EXPECT_TRUE(Read(Local("back")) == content);
}

TEST_F(RangeCommandTest, AFileThatCannotBeWrittenIsToldBeforeAnythingIsFetched) {
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("whole", "0123456789"), "/whole"}).exitCode);
    std::filesystem::create_directory(Local("kept"));
    Write("kept/f", "old");
    ASSERT_EQ(0, ::chmod(Local("kept").c_str(), 0500));
    const ProcessResult inReadOnlyFolder = Unprivileged({"get", "-q", "--range", "0-2", "/whole", Local("kept/f")});
    EXPECT_EQ(0, inReadOnlyFolder.exitCode) << inReadOnlyFolder.errors;
    EXPECT_EQ("01d", Read(Local("kept/f")));
    ASSERT_EQ(0, ::chmod(Local("kept/f").c_str(), 0400));
    const ProcessResult refused = Unprivileged({"--trace", "get", "-q", "--range", "0-2", "/whole", Local("kept/f")});
    ASSERT_EQ(0, ::chmod(Local("kept").c_str(), 0700));
    EXPECT_EQ(8, refused.exitCode);
    EXPECT_EQ(std::string::npos, refused.errors.find("skip=")) << refused.errors;
}

}  // namespace
}  // namespace quillmark::testing
