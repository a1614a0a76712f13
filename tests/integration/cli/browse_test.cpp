// quillmark version, ls, stat and mkdir.
#include <algorithm>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class BrowseTest : public CliTest {
protected:
    void SetUp() override {
        StartAndLogin({"--no-sync", "--version-text", "reference 1.0"});
        // 2020-02-03T04:05:06.789Z
        const std::string file = Write("file", "hello\n");
        ASSERT_EQ(0, Process::Run({"touch", "-d", "2020-02-03T04:05:06.789Z", file}).exitCode);
        OutputOf({"mkdir", "/a", "/a/b"});
        ASSERT_EQ(0, Quillmark({"put", "-q", file, "/a/f"}).exitCode);
    }

    void ExpectFailure(int exitCode, const std::string& errors, const Arguments& arguments) {
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(exitCode, result.exitCode);
        EXPECT_EQ(errors, result.errors);
        EXPECT_EQ("", result.output);
    }
};

// "d  2026-11-20T16:07:00.123Z" with the digits of the time as 0.
std::string WithoutTime(std::string line) {
    std::replace_if(
        line.begin(), line.begin() + 27, [](char unit) { return unit >= '0' && unit <= '9'; }, '0');
    return line;
}

TEST_F(BrowseTest, VersionPrintsTheServersVersion) {
    EXPECT_EQ("reference 1.0\n", OutputOf({"version"}));
}

TEST_F(BrowseTest, LsListsTheRootUnlessToldOtherwise) {
    EXPECT_EQ("a/\n", OutputOf({"ls"}));
    EXPECT_EQ("a/\n", OutputOf({"ls", "/"}));
}

TEST_F(BrowseTest, LsMarksFolders) {
    EXPECT_EQ("b/\nf\n", OutputOf({"ls", "/a"}));
    EXPECT_EQ("b/\nf\n", OutputOf({"ls", "/a/"}));
    EXPECT_EQ("b/\nf\n", OutputOf({"ls", "a"})) << "the leading slash may be left out";
}

TEST_F(BrowseTest, LsShowsKindTimeSizeAndName) {
    const std::string lines = OutputOf({"ls", "-l", "/a"});
    const std::size_t second = lines.find('\n') + 1;
    EXPECT_EQ("d  0000-00-00T00:00:00.000Z               -  b\n", WithoutTime(lines.substr(0, second)));
    EXPECT_EQ("-  2020-02-03T04:05:06.789Z               6  f\n", lines.substr(second));
}

TEST_F(BrowseTest, LsGoesDown) {
    EXPECT_EQ("/a/\n/a/b/\n/a/f\n", OutputOf({"ls", "-R"}));
}

TEST_F(BrowseTest, LsShowsAFileThatItIsGiven) {
    EXPECT_EQ("f\n", OutputOf({"ls", "/a/f"}));
    EXPECT_EQ("-  2020-02-03T04:05:06.789Z               6  f\n", OutputOf({"ls", "-l", "/a/f"}));
}

TEST_F(BrowseTest, LsReportsAMissingFolder) {
    ExpectFailure(5,
                  "quillmark: cannot list /none: the server has no such item (21002) [SERVER_ERROR_NOT_FOUND]. Look "
                  "with 'quillmark ls' at what is there.\n",
                  {"ls", "/none"});
}

TEST_F(BrowseTest, LsShowsControlCharactersOfANameAsQuestionMarks) {
    OutputOf({"mkdir", "/a/b/red\x1b[31m"});
    EXPECT_EQ("red?[31m/\n", OutputOf({"ls", "/a/b"}));
}

TEST_F(BrowseTest, LsStopsQuietlyWhenItsReaderHasGone) {
    // The listing begins when the reader's end of the pipe is closed.
    const Arguments list = Command({"ls", "-R"});
    const std::string fifo = Local("gate");
    ASSERT_EQ(0, Process::Run({"mkfifo", fifo}).exitCode);
    Arguments command = {
        "bash", "-c", "{ read -r _ < \"$0\"; exec \"$@\"; } | { exec <&-; echo go > \"$0\"; }; exit ${PIPESTATUS[0]}",
        fifo};
    command.insert(command.end(), list.begin(), list.end());
    const ProcessResult result = Process::Run(command, HomeEnvironment());
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("", result.errors);
}

TEST_F(BrowseTest, LsReportsThatItsOutputCannotBeWritten) {
    Arguments command = {"sh", "-c", "exec \"$0\" \"$@\" > /dev/full"};
    const Arguments list = Command({"ls", "-R"});
    command.insert(command.end(), list.begin(), list.end());
    const ProcessResult result = Process::Run(command, HomeEnvironment());
    EXPECT_EQ(8, result.exitCode);
    EXPECT_EQ("quillmark: cannot write the output: No space left on device\n", result.errors);
}

TEST_F(BrowseTest, StatShowsAFile) {
    const std::string lines = OutputOf({"stat", "/a/f"});
    EXPECT_EQ(0u, lines.find("name:       f\nkind:       file\nsize:       6\ncreated:    20")) << lines;
    EXPECT_NE(std::string::npos, lines.find("\nmodified:   2020-02-03T04:05:06.789Z\nattributes: 128\nrevision:   "));
    EXPECT_TRUE(lines.ends_with("\nwritable:   yes\n")) << lines;
}

TEST_F(BrowseTest, StatShowsAFolderWithoutSize) {
    const std::string lines = OutputOf({"stat", "/a"});
    EXPECT_EQ(0u, lines.find("name:       a\nkind:       folder\ncreated:    20")) << lines;
    EXPECT_NE(std::string::npos, lines.find("\nattributes: 16\n"));
}

TEST_F(BrowseTest, StatReportsAMissingItem) {
    ExpectFailure(5,
                  "quillmark: cannot look at /none: the server has no such item (21002) [SERVER_ERROR_NOT_FOUND]. Look "
                  "with 'quillmark ls' at what is there.\n",
                  {"stat", "/none"});
}

TEST_F(BrowseTest, MkdirReportsAFolderThatIsThere) {
    ExpectFailure(6,
                  "quillmark: cannot make /a: the item exists already (21003) [SERVER_ERROR_EXISTS]. Use another name, "
                  "or remove what is there.\n",
                  {"mkdir", "/a"});
}

TEST_F(BrowseTest, MkdirReportsAMissingFolderAbove) {
    ExpectFailure(5,
                  "quillmark: cannot make /x/y: the server has no such item (21002) [SERVER_ERROR_NOT_FOUND]. Look "
                  "with 'quillmark ls' at what is there.\n",
                  {"mkdir", "/x/y"});
}

TEST_F(BrowseTest, MkdirMakesTheOtherFoldersAllTheSame) {
    ExpectFailure(1,
                  "quillmark: cannot make /a: the item exists already (21003) [SERVER_ERROR_EXISTS]. Use another name, "
                  "or remove what is there.\n",
                  {"mkdir", "/a", "/c"});
    EXPECT_EQ("a/\nc/\n", OutputOf({"ls"}));
}

TEST_F(BrowseTest, NamesOfEveryScriptComeBackAsTheyWere) {
    const std::vector<std::string> names = {"Grüße aus Österreich",
                                            "文件夹",
                                            "ракета \xF0\x9F\x9A\x80",
                                            "de\u0301compose\u0301",
                                            "100%",
                                            "%41",
                                            "plus+sign",
                                            "a&b=c;d#e?",
                                            "quote\"'",
                                            "~-"};
    std::string listed;
    for (const std::string& name : names) {
        OutputOf({"mkdir", "/a/b/" + name});
        EXPECT_EQ("", OutputOf({"ls", "/a/b/" + name})) << name;
        EXPECT_EQ(0u, OutputOf({"stat", "/a/b/" + name}).find("name:       " + name + "\n")) << name;
    }
    listed = OutputOf({"ls", "/a/b"});
    for (const std::string& name : names) {
        EXPECT_NE(std::string::npos, ("\n" + listed).find("\n" + name + "/\n")) << name;
    }
}

}  // namespace
}  // namespace quillmark::testing
