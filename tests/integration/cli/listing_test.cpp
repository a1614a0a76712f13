// quillmark ls with its orders, tree, du, find and cat.
#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

// /f (6 bytes, 2020), /a/big (2000 bytes, 2021), /a/small (10 bytes, 2022), /a/b/c/deep (3 bytes, 2023), /a/b/empty.
class ListingTest : public CliTest {
protected:
    void SetUp() override {
        StartAndLogin();
        OutputOf({"mkdir", "/a", "/a/b", "/a/b/c"});
        Put("/f", "hello\n", "2020");
        Put("/a/big", std::string(2000, 'x'), "2021");
        Put("/a/small", "0123456789", "2022");
        Put("/a/b/c/deep", "abc", "2023");
        Put("/a/b/empty", "", "2024");
    }
    void Put(const std::string& path, const std::string& content, const std::string& year) {
        const std::string file = Write("file", content);
        ASSERT_EQ(0, Process::Run({"touch", "-d", year + "-02-03T04:05:06Z", file}).exitCode);
        ASSERT_EQ(0, Quillmark({"put", "-q", file, path}).exitCode);
    }
};

class RefusedListingTest : public CliTest {};

TEST_F(ListingTest, LsSortsByName) {
    EXPECT_EQ("b/\nbig\nsmall\n", OutputOf({"ls", "/a"}));
    EXPECT_EQ("small\nbig\nb/\n", OutputOf({"ls", "-r", "/a"}));
}

TEST_F(ListingTest, LsSortsBySizeTheLargestFirst) {
    EXPECT_EQ("big\nsmall\nb/\n", OutputOf({"ls", "--sort", "size", "/a"}));
    EXPECT_EQ("b/\nsmall\nbig\n", OutputOf({"ls", "--sort", "size", "--reverse", "/a"}));
}

TEST_F(ListingTest, LsSortsByTimeTheLatestFirst) {
    EXPECT_EQ("b/\nsmall\nbig\n", OutputOf({"ls", "--sort", "time", "/a"})) << "the folder was made just now";
}

TEST_F(ListingTest, LsKnowsNoOtherOrder) {
    const ProcessResult result = Quillmark({"ls", "--sort", "colour"});
    EXPECT_EQ(2, result.exitCode);
}

TEST_F(ListingTest, LsPrintsSizesForPeople) {
    EXPECT_EQ("-  2021-02-03T04:05:06.000Z   2.0K  big\n", OutputOf({"ls", "-l", "--human", "/a/big"}));
    EXPECT_EQ("-  2020-02-03T04:05:06.000Z      6  f\n", OutputOf({"ls", "-l", "--human", "/f"}));
}

TEST_F(ListingTest, LsAndDuHaveSizesForPeopleUnderTheirUsualLetter) {
    EXPECT_EQ(OutputOf({"ls", "-l", "--human", "/a"}), OutputOf({"ls", "-lh", "/a"}));
    EXPECT_EQ(OutputOf({"du", "-s", "--human", "/a"}), OutputOf({"du", "-sh", "/a"}));
    EXPECT_NE(std::string::npos, OutputOf({"ls", "--help"}).find("-h, --human"));
}

TEST_F(ListingTest, LsGoesDownFolderByFolder) {
    EXPECT_EQ(
        "/a/\n/f\n"
        "/a/b/\n/a/big\n/a/small\n"
        "/a/b/c/\n/a/b/empty\n"
        "/a/b/c/deep\n",
        OutputOf({"ls", "-R"}));
}

TEST_F(ListingTest, TreeDrawsFoldersAndCounts) {
    EXPECT_EQ(
        "/\n"
        "├── a/\n"
        "│   ├── b/\n"
        "│   │   ├── c/\n"
        "│   │   │   └── deep\n"
        "│   │   └── empty\n"
        "│   ├── big\n"
        "│   └── small\n"
        "└── f\n"
        "\n"
        "3 folders, 5 files\n",
        OutputOf({"tree"}));
}

TEST_F(ListingTest, TreeStopsAtADepth) {
    EXPECT_EQ("/a\n├── b/\n├── big\n└── small\n\n1 folder, 2 files\n", OutputOf({"tree", "-L", "1", "/a"}));
    Server().ResetStatistics();
    OutputOf({"tree", "-L", "1", "/a"});
    EXPECT_EQ(0u, Server().RequestCount("GET", "/api/1.7/folders/a/b")) << "what is not shown is not asked for";
}

TEST_F(ListingTest, DuSumsUpEachFolderWithAllBelowIt) {
    EXPECT_EQ("3\t/a/b/c\n3\t/a/b\n2013\t/a\n2019\t/\n", OutputOf({"du"}));
    EXPECT_EQ("2013\t/a\n2019\t/\n", OutputOf({"du", "-d", "1"}));
    EXPECT_EQ("2013\t/a\n", OutputOf({"du", "-s", "/a"}));
    EXPECT_EQ("2.0K\t/a\n", OutputOf({"du", "-s", "--human", "/a"}));
    EXPECT_EQ("6\t/f\n", OutputOf({"du", "/f"}));
}

TEST_F(ListingTest, FindNamesEverythingBelowAndTheStartItself) {
    EXPECT_EQ("/a\n/a/b\n/a/b/c\n/a/b/c/deep\n/a/b/empty\n/a/big\n/a/small\n", OutputOf({"find", "/a"}));
    EXPECT_EQ("/a\n/a/b\n/a/big\n/a/small\n", OutputOf({"find", "/a", "--max-depth", "1"}));
    EXPECT_EQ("/a\n", OutputOf({"find", "/a", "--max-depth", "0"}));
    EXPECT_EQ("/f\n", OutputOf({"find", "/f"}));
}

TEST_F(ListingTest, FindChoosesByName) {
    EXPECT_EQ("/a/b\n/a/big\n", OutputOf({"find", "--name", "b*"}));
    EXPECT_EQ("/a/b/c/deep\n", OutputOf({"find", "--name", "d??p"}));
    EXPECT_EQ("", OutputOf({"find", "--name", "nothing"}));
}

TEST_F(ListingTest, FindChoosesByKind) {
    EXPECT_EQ("/\n/a\n/a/b\n/a/b/c\n", OutputOf({"find", "--type", "d"}));
    EXPECT_EQ("/a/b/c/deep\n/a/b/empty\n/a/big\n/a/small\n/f\n", OutputOf({"find", "--type", "f"}));
}

TEST_F(ListingTest, FindChoosesFilesBySize) {
    EXPECT_EQ("/a/big\n", OutputOf({"find", "--size", "+1K"}));
    EXPECT_EQ("/a/b/c/deep\n/a/b/empty\n", OutputOf({"find", "--size", "-6"})) << "fewer, not just as many";
    EXPECT_EQ("/a/small\n", OutputOf({"find", "--size", "10"}));
    ExpectFailure(2, "'much' is not a size to look for", {"find", "--size", "much"});
}

TEST_F(ListingTest, FindChoosesByTime) {
    EXPECT_EQ("/a/b/c/deep\n/a/b/empty\n", OutputOf({"find", "--type", "f", "--newer", "2022-02-03T04:05:06Z"}));
    ExpectFailure(2, "'yesterday' is not a time", {"find", "--newer", "yesterday"});
}

TEST_F(ListingTest, FindPrintsPathsThatProgramsCanRead) {
    OutputOf({"mkdir", "/z", "/z/two\nlines"});
    EXPECT_EQ("/z/two\\nlines\n", OutputOf({"find", "/z", "--name", "two*"}));
}

TEST_F(RefusedListingTest, FoldersThatCannotBeListedAreToldAndPassedOver) {
    StartAndLogin({"--no-sync", "--mapping", "Docs", "--mapping", "Away;status=OFFLINE"});
    const std::vector<std::pair<Arguments, std::string>> commands = {
        {{"ls", "-R"}, "/Away/\n/Docs/\n"},
        {{"find"}, "/\n/Away\n/Docs\n"},
        {{"du"}, "0\t/Docs\n0\t/\n"},
        {{"tree"}, "/\n├── Away/\n└── Docs/\n\n2 folders, 0 files\n"}};
    for (const auto& [arguments, output] : commands) {
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(1, result.exitCode) << arguments.front();
        EXPECT_EQ(output, result.output);
        EXPECT_EQ(
            "quillmark: cannot list /Away: the storage behind the folder is not reachable (21031) "
            "[SERVER_ERROR_STORAGE_UNREACHABLE]. Wait a while and repeat the command.\n",
            result.errors);
    }
}

TEST_F(ListingTest, AnErrorThatLooksLikeASuccessIsNoEmptyFolder) {
    for (const char* command : {"ls", "find", "du", "tree"}) {
        Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/a"}, {"kind", "error-document"}});
        ExpectFailure(9, "cannot list /a: the server's reply is missing or unreadable (13)", {command, "/a"});
    }
}

TEST_F(ListingTest, AMissingStartEndsWithFive) {
    for (const char* command : {"ls", "find", "du", "tree"}) {
        ExpectFailure(5, "cannot list /none: the server has no such item (21002)", {command, "/none"});
    }
}

TEST_F(ListingTest, CatWritesContentsOneAfterTheOther) {
    EXPECT_EQ("hello\nabc", OutputOf({"cat", "/f", "/a/b/empty", "/a/b/c/deep"}));
}

TEST_F(ListingTest, CatGoesOnAfterAFailure) {
    const ProcessResult result = Quillmark({"cat", "/none", "/a", "/f"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("hello\n", result.output);
    EXPECT_EQ(
        "quillmark: cannot read /none: the server has no such item (21002) [SERVER_ERROR_NOT_FOUND]. Look with "
        "'quillmark "
        "ls' at what is there.\n"
        "quillmark: cannot read /a: a file stands where a folder is meant, or a folder where a file is (21004) "
        "[SERVER_ERROR_WRONG_KIND]. Look with 'quillmark ls' at what is there.\n",
        result.errors);
}

TEST_F(ListingTest, CatKeepsEveryByteOfAFileOfSeveralPieces) {
    std::string content;
    for (std::uint32_t word = 0; content.size() < (33u << 20); word = word * 1664525 + 1013904223) {
        content.append(reinterpret_cast<const char*>(&word), sizeof(word));
    }
    Put("/large", content, "2020");
    EXPECT_TRUE(content == OutputOf({"cat", "/large"}));
}

TEST_F(ListingTest, CatRefusesToMixTwoRevisions) {
    Put("/large", std::string(17u << 20, 'x'), "2020");
    // Another device's change between the first piece and the second.
    const std::string path = "/api/1.7/folders/large";
    Server().AddFaults({{"method", "GET"}, {"path", path}, {"kind", "delay"}, {"ms", 0}, {"count", 2}});
    Server().AddFaults({{"method", "GET"}, {"path", path}, {"kind", "stale-revision"}});
    const ProcessResult result = Quillmark({"cat", "/large"});
    EXPECT_EQ(6, result.exitCode) << result.errors;
    EXPECT_EQ(16u << 20, result.output.size());
}

TEST_F(ListingTest, CatEndsQuietlyAndFetchesNoMoreWhenItsReaderHasGone) {
    Put("/large", std::string(60u << 20, 'x'), "2020");
    Server().ResetStatistics();
    Arguments command = {"bash", "-c", "\"$0\" \"$@\" | head -c 5; echo \" ${PIPESTATUS[0]}\""};
    const Arguments cat = Command({"cat", "/large"});
    command.insert(command.end(), cat.begin(), cat.end());
    const ProcessResult result = Process::Run(command, HomeEnvironment());
    EXPECT_EQ("xxxxx 1\n", result.output);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(2u, Server().RequestCount("GET", "/api/1.7/folders/large")) << "its record, and the first piece";
}

TEST_F(ListingTest, CatLeavesNoTemporaryFile) {
    ASSERT_EQ(0, Process::Run({"mkdir", Local("tmp")}).exitCode);
    EXPECT_EQ(0, Quillmark({"cat", "/f", "/a/big"}, {{"TMPDIR", Local("tmp")}}).exitCode);
    EXPECT_EQ(std::vector<std::string>{}, NamesIn(Local("tmp")));
}

}  // namespace
}  // namespace quillmark::testing
