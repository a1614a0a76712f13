// quillmark rm, mv, touch, folders.
#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class NamespaceCommandTest : public CliTest {
protected:
    void SetUp() override { StartAndLogin(); }
    void Put(const std::string& item, const std::string& content = "content") {
        ASSERT_EQ(0, Quillmark({"put", Write("file", content), item}).exitCode);
    }
};

TEST_F(NamespaceCommandTest, RmDeletesFiles) {
    Put("/a");
    Put("/b");
    EXPECT_EQ("", OutputOf({"rm", "/a", "/b"}));
    EXPECT_EQ("", OutputOf({"ls"}));
}

TEST_F(NamespaceCommandTest, RmDeletesAFolderOnlyWhenThatIsMeant) {
    OutputOf({"mkdir", "/folder"});
    Put("/folder/f");
    ExpectFailure(6, "cannot delete /folder: it is a folder; -r deletes it with all that it holds", {"rm", "/folder"});
    EXPECT_EQ("", OutputOf({"rm", "-r", "/folder"}));
    EXPECT_EQ("", OutputOf({"ls"}));
}

TEST_F(NamespaceCommandTest, RmNeverDeletesTheRoot) {
    Put("/a");
    for (const std::string root : {"/", "//", ""}) {
        ExpectFailure(2, "the root is not deleted", {"rm", "-r", "/a", root});
    }
    EXPECT_EQ("a\n", OutputOf({"ls"}));
}

TEST_F(NamespaceCommandTest, RmDeletesOneRevisionOnly) {
    Put("/a", "one");
    const std::string stale = RevisionOf("/a");
    Put("/a", "two");
    ExpectFailure(6, "(21077)", {"rm", "--revision", stale, "/a"});
    EXPECT_EQ("", OutputOf({"rm", "--revision", RevisionOf("/a"), "/a"}));
    ExpectFailure(2, "--revision is for one item", {"rm", "--revision", "1", "/a", "/b"});
}

TEST_F(NamespaceCommandTest, RmGoesOnAfterAMissingItem) {
    Put("/a");
    ExpectFailure(1, "cannot delete /none: the server has no such item (21002)", {"rm", "/none", "/a"});
    EXPECT_EQ("", OutputOf({"ls"}));
    ExpectFailure(5, "(21002)", {"rm", "/none"});
}

TEST_F(NamespaceCommandTest, MkdirMakesWhatIsMissingOnTheWayWhenThatIsMeant) {
    ExpectFailure(5, "cannot make /a/b/c: the server has no such item (21002)", {"mkdir", "/a/b/c"});
    EXPECT_EQ("", OutputOf({"mkdir", "-p", "/a/b/c"}));
    EXPECT_EQ("", OutputOf({"mkdir", "--parents", "/a/b/c", "/a/b/d"})) << "what is there is in order";
    EXPECT_EQ("/a/\n/a/b/\n/a/b/c/\n/a/b/d/\n", OutputOf({"ls", "-R"}));
    EXPECT_EQ("{\"path\":\"/a/e\"}\n", OutputOf({"--json", "mkdir", "-p", "/a/e"}));
    Put("/f");
    ExpectFailure(6, "cannot make /f: the item exists already (21003)", {"mkdir", "-p", "/f"});
    EXPECT_EQ(6, Quillmark({"mkdir", "-p", "/f/x"}).exitCode);
}

TEST_F(NamespaceCommandTest, MvRenamesAndMoves) {
    OutputOf({"mkdir", "/folder"});
    Put("/a");
    EXPECT_EQ("", OutputOf({"mv", "/a", "/b"}));
    EXPECT_EQ("", OutputOf({"mv", "/b", "/folder/"}));
    EXPECT_EQ("", OutputOf({"mv", "/folder/b", "/c"}));
    EXPECT_EQ("", OutputOf({"mv", "/folder", "/renamed"}));
    EXPECT_EQ("/c\n/renamed/\n", OutputOf({"ls", "-R"}));
}

TEST_F(NamespaceCommandTest, MvOverwritesOnlyWhenThatIsMeant) {
    OutputOf({"mkdir", "/folder"});
    Put("/a", "from a");
    Put("/b", "from b");
    Put("/folder/c", "from c");
    ExpectFailure(6, "(21003)", {"mv", "/a", "/b"});
    ExpectFailure(6, "(21003)", {"mv", "/a", "/folder/c"});
    EXPECT_EQ("", OutputOf({"mv", "--force", "/a", "/b"}));
    EXPECT_EQ("from a", ContentOf("/b"));
    EXPECT_EQ("", OutputOf({"mv", "-f", "/b", "/folder/c"}));
    EXPECT_EQ("from a", ContentOf("/folder/c"));
    EXPECT_EQ("/folder/\n/folder/c\n", OutputOf({"ls", "-R"}));
}

TEST_F(NamespaceCommandTest, MvTakesNamesWithABackslash) {
    Put("/a");
    EXPECT_EQ("", OutputOf({"mv", "/a", "/x\\y"}));
    EXPECT_EQ("", OutputOf({"mv", "/x\\y", "/x\\z"}));
    EXPECT_EQ("x\\z\n", OutputOf({"ls"}));
    EXPECT_EQ("", OutputOf({"mv", "/x\\z", "/a"}));
    EXPECT_EQ("a\n", OutputOf({"ls"}));
}

TEST_F(NamespaceCommandTest, MvRefusesTheRootMissingItemsAndAFolderIntoItself) {
    OutputOf({"mkdir", "/folder"});
    ExpectFailure(2, "the root cannot be moved", {"mv", "/", "/a"});
    ExpectFailure(2, "nothing can be moved to the root itself", {"mv", "/folder", ""});
    ExpectFailure(5, "(21002)", {"mv", "/none", "/a"});
    ExpectFailure(4, "(21005)", {"mv", "/folder", "/folder/inside"});
}

TEST_F(NamespaceCommandTest, TouchSetsWhatIsAskedFor) {
    Put("/a");
    EXPECT_EQ("", OutputOf({"touch", "-m", "2001-02-03T04:05:06.789Z", "--created", "2000-01-02T03:04:05Z",
                            "--attributes", "readonly,hidden", "/a"}));
    const std::string shown = OutputOf({"stat", "/a"});
    EXPECT_NE(std::string::npos, shown.find("created:    2000-01-02T03:04:05.000Z\n")) << shown;
    EXPECT_NE(std::string::npos, shown.find("modified:   2001-02-03T04:05:06.789Z\n")) << shown;
    EXPECT_NE(std::string::npos, shown.find("attributes: 3\n")) << shown;
}

TEST_F(NamespaceCommandTest, TouchLeavesTheRest) {
    Put("/a");
    OutputOf({"touch", "-m", "2001-02-03T04:05:06.789Z", "--created", "2000-01-02T03:04:05Z", "/a"});
    OutputOf({"touch", "--attributes", "0x20", "/a"});
    const std::string shown = OutputOf({"stat", "/a"});
    EXPECT_NE(std::string::npos, shown.find("created:    2000-01-02T03:04:05.000Z\n")) << shown;
    EXPECT_NE(std::string::npos, shown.find("modified:   2001-02-03T04:05:06.789Z\n")) << shown;
    EXPECT_NE(std::string::npos, shown.find("attributes: 32\n")) << shown;
    EXPECT_EQ("", OutputOf({"touch", "/a"}));
    EXPECT_EQ(std::string::npos, OutputOf({"stat", "/a"}).find("modified:   2001"));
}

TEST_F(NamespaceCommandTest, TouchMakesNothingAndRefusesNonsense) {
    ExpectFailure(5, "(21002)", {"touch", "/none"});
    ExpectFailure(2, "'yesterday' is not a time", {"touch", "-m", "yesterday", "/a"});
    ExpectFailure(2, "'red' are no file attributes", {"touch", "--attributes", "red", "/a"});
}

TEST_F(NamespaceCommandTest, FoldersShowsMappedFolders) {
    StartAndLogin({"--no-sync", "--mapping", "Work;type=smb;mode=AUTOMATIC;description=The work", "--mapping",
                   "Archive;type=webdav;status=OFFLINE;mode=OFFLINE;readonly;no-sharing;no-delta;no-locking;no-"
                   "resumable;limit=1000"});
    const std::string lines = OutputOf({"folders"});
    EXPECT_NE(std::string::npos, lines.find("/Work\treachable\tautomatic\tsmb\t")) << lines;
    EXPECT_NE(std::string::npos, lines.find("\tdelta,locking,resumable,sharing\t-\tThe work\n")) << lines;
    EXPECT_NE(std::string::npos, lines.find("/Archive\tunreachable\toffline\twebdav\t")) << lines;
    EXPECT_NE(std::string::npos, lines.find("\t-\t1000\t-\n")) << lines;
}

TEST_F(NamespaceCommandTest, FoldersOfAUserWithoutAnyIsNothing) {
    EXPECT_EQ("", OutputOf({"folders"}));
}

TEST_F(NamespaceCommandTest, AnUnreachableFolderIsToldFromAMissingItem) {
    StartAndLogin({"--no-sync", "--mapping", "Work;type=smb;status=OFFLINE"});
    ExpectFailure(3, "(21031)", {"put", Write("file", "x"), "/Work/file"});
}

TEST_F(NamespaceCommandTest, AReadOnlyFolderIsNotWrittenTo) {
    StartAndLogin({"--no-sync", "--mapping", "Work;type=smb;readonly"});
    ExpectFailure(4, "(21005)", {"put", Write("file", "x"), "/Work/file"});
    ExpectFailure(4, "(21005)", {"mkdir", "/Work/new"});
}

}  // namespace
}  // namespace quillmark::testing
