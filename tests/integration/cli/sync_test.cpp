// quillmark sync: the plan first, then what it says; in both directions; what is deleted and what never is.
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <csignal>
#include <functional>

#include "integration/cli/TransferTreeTest.h"

namespace quillmark::testing {
namespace {

class SyncTest : public TransferTreeTest {
protected:
    // Both sides with the tree, then one more file and one less on the local side.
    void Diverge() {
        WriteTree();
        ASSERT_EQ(0, Quillmark({"sync", "-q", Local("tree"), "/copy"}).exitCode);
        Write("tree/new", "333");
        std::filesystem::remove(Local("tree/one"));
    }
    // Answers on a terminal, after what happens meanwhile; its exit code, and what it showed.
    std::pair<int, std::string> OnTerminal(
        const Arguments& arguments, const std::string& answer, const std::function<void()>& meanwhile = [] {}) {
        const Arguments command = Command(arguments);
        const Process::Environment environment = HomeEnvironment();
        int terminal = -1;
        const pid_t id = ::forkpty(&terminal, nullptr, nullptr, nullptr);
        if (id == 0) {
            for (const auto& [name, value] : environment) {
                value.empty() ? ::unsetenv(name.c_str()) : ::setenv(name.c_str(), value.c_str(), 1);
            }
            std::vector<char*> values;
            for (const std::string& argument : command) {
                values.push_back(const_cast<char*>(argument.c_str()));
            }
            values.push_back(nullptr);
            ::execv(values[0], values.data());
            ::_exit(127);
        }
        std::string shown;
        bool answered = false;
        char bytes[4096];
        for (ssize_t got = 0; (got = ::read(terminal, bytes, sizeof(bytes))) > 0;) {
            shown.append(bytes, static_cast<std::size_t>(got));
            if (!answered && shown.find("[y/N] ") != std::string::npos) {
                answered = true;
                meanwhile();
                if (answer == "ctrl-c") {
                    ::kill(id, SIGINT);
                } else {
                    EXPECT_EQ(static_cast<ssize_t>(answer.size()), ::write(terminal, answer.data(), answer.size()));
                }
            }
        }
        int status = 0;
        ::waitpid(id, &status, 0);
        ::close(terminal);
        return {WEXITSTATUS(status), shown};
    }
};

TEST_F(SyncTest, ShowsThePlanAndCarriesItOut) {
    Diverge();
    Expect(0,
           "put " + Local("tree/new") + " to /copy/new (new, 3 bytes)\ndelete /copy/one\n" +
               "1 to transfer, 3 bytes, 1 to delete, 1 same\n/copy/new\ndeleted: /copy/one\n",
           "1 file, 3 folders, 3 bytes, 1 skipped, 1 deleted, 0 failed\n",
           {"sync", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(TreeAt(Local("tree")), TreeOnServer("/copy"));
}

TEST_F(SyncTest, WithoutDeleteItSaysWhatItKeeps) {
    Diverge();
    Expect(0,
           "put " + Local("tree/new") + " to /copy/new (new, 3 bytes)\n" +
               "1 to transfer, 3 bytes, 0 to delete, 1 same, 1 only in the target and kept (see --delete)\n/copy/new\n",
           "1 file, 3 folders, 3 bytes, 1 skipped, 0 failed\n", {"sync", "--up", Local("tree"), "/copy"});
    EXPECT_EQ("1", ContentOf("/copy/one"));
}

TEST_F(SyncTest, DownMakesTheLocalFolderTheSame) {
    Diverge();
    Write("tree/old/x", "x");
    const ProcessResult result = Quillmark({"sync", "--down", "--delete", "--yes", Local("tree"), "/copy"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("get /copy/one to " + Local("tree/one") + " (new, 1 byte)\ndelete " + Local("tree/new") + "\ndelete " +
                  Local("tree/old/x") + "\ndelete " + Local("tree/old") + "/\n" +
                  "1 to transfer, 1 byte, 3 to delete, 1 same\n" + Local("tree/one") + "\ndeleted: " +
                  Local("tree/new") + "\ndeleted: " + Local("tree/old/x") + "\ndeleted: " + Local("tree/old") + "\n",
              result.output);
    EXPECT_EQ(TreeAt(Local("tree")), TreeOnServer("/copy"));
}

TEST_F(SyncTest, DryRunStopsAfterThePlan) {
    Diverge();
    const auto before = TreeOnServer("/copy");
    Expect(0,
           "put " + Local("tree/new") + " to /copy/new (new, 3 bytes)\ndelete /copy/one\n" +
               "1 to transfer, 3 bytes, 1 to delete, 1 same\n",
           "", {"sync", "--delete", "--dry-run", Local("tree"), "/copy"});
    EXPECT_EQ(before, TreeOnServer("/copy"));
}

TEST_F(SyncTest, AsksOnATerminalBeforeItDeletes) {
    Diverge();
    const auto [refused, shown] = OnTerminal({"sync", "--delete", Local("tree"), "/copy"}, "n\n");
    EXPECT_EQ(7, refused);
    EXPECT_NE(std::string::npos, shown.find("Delete 1 item of /copy? [y/N] ")) << shown;
    EXPECT_NE(std::string::npos, shown.find("nothing was changed")) << shown;
    EXPECT_EQ("empty/\none\nsub/\n", OutputOf({"ls", "/copy"}));
    EXPECT_EQ(7, OnTerminal({"sync", "--delete", Local("tree"), "/copy"}, "ctrl-c").first);
    EXPECT_EQ("empty/\none\nsub/\n", OutputOf({"ls", "/copy"}));
    EXPECT_EQ(0, OnTerminal({"sync", "--delete", Local("tree"), "/copy"}, "y\n").first);
    EXPECT_EQ("empty/\nnew\nsub/\n", OutputOf({"ls", "/copy"}));
}

TEST_F(SyncTest, DoesNotAskWithYesAndWithoutDeletions) {
    Diverge();
    EXPECT_EQ(0, OnTerminal({"sync", Local("tree"), "/copy"}, "n\n").first);
    EXPECT_EQ("empty/\nnew\none\nsub/\n", OutputOf({"ls", "/copy"}));
    EXPECT_EQ(0, OnTerminal({"sync", "--delete", "--yes", Local("tree"), "/copy"}, "n\n").first);
    EXPECT_EQ("empty/\nnew\nsub/\n", OutputOf({"ls", "/copy"}));
}

TEST_F(SyncTest, AnUnreadableFolderDoesNotLookEmpty) {
    Diverge();
    std::filesystem::permissions(Local("tree/sub"), std::filesystem::perms::none);
    const ProcessResult result = Unprivileged({"sync", "--delete", Local("tree"), "/copy"});
    std::filesystem::permissions(Local("tree/sub"), std::filesystem::perms::owner_all);
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.output.find("1 to transfer, 3 bytes, 0 to delete, 0 same, 1 not possible\n"))
        << result.output;
    EXPECT_NE(std::string::npos,
              result.errors.find("nothing is deleted: a part of " + Local("tree") + " could not be read\n"))
        << result.errors;
    EXPECT_EQ("22", ContentOf("/copy/sub/two"));
    EXPECT_EQ("1", ContentOf("/copy/one"));
    EXPECT_EQ("333", ContentOf("/copy/new"));
}

TEST_F(SyncTest, AMissingSourceDeletesNothing) {
    Diverge();
    ExpectFailure(8, "the local file does not exist (2)", {"sync", "--delete", Local("none"), "/copy"});
    EXPECT_EQ("empty/\none\nsub/\n", OutputOf({"ls", "/copy"}));
    ExpectFailure(5, "the server has no such item (21002)", {"sync", "--down", "--delete", Local("tree"), "/none"});
    EXPECT_EQ((std::vector<std::string>{"empty", "new", "sub"}), NamesIn(Local("tree")));
}

TEST_F(SyncTest, IsForFolders) {
    ExpectFailure(2, "sync is for folders", {"sync", Write("file", "x"), "/copy"});
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("file"), "/f"}).exitCode);
    ExpectFailure(2, "sync is for folders", {"sync", "--down", Local("tree"), "/f"});
}

TEST_F(SyncTest, WhatChangedAfterThePlanIsNotDeleted) {
    Diverge();
    // The plan has seen the item; then it gets another revision, before the request that deletes it.
    Server().AddFaults({{"method", "DELETE"}, {"path", "/api/1.7/folders/copy/one"}, {"kind", "stale-revision"}});
    const ProcessResult result = Quillmark({"sync", "-q", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("not deleted: it has changed since the plan was made\n"))
        << result.errors;
    EXPECT_EQ("1", ContentOf("/copy/one"));
}

TEST_F(SyncTest, ALocalFileThatChangedAfterThePlanIsNotDeleted) {
    Diverge();
    const auto [code, shown] = OnTerminal({"sync", "--down", "--delete", Local("tree"), "/copy"}, "y\n",
                                          [this] { Write("tree/new", "changed meanwhile"); });
    EXPECT_EQ(1, code);
    EXPECT_NE(std::string::npos, shown.find("not deleted: it has changed since the plan was made")) << shown;
    EXPECT_EQ("changed meanwhile", Read(Local("tree/new")));
}

TEST_F(SyncTest, AServerFolderInWhichSomethingStaysIsNotDeleted) {
    WriteTree();
    Write("tree/old/file", "x");
    ASSERT_EQ(0, Quillmark({"sync", "-q", Local("tree"), "/copy"}).exitCode);
    std::filesystem::remove_all(Local("tree/old"));
    Server().AddFaults({{"method", "DELETE"}, {"path", "/api/1.7/folders/copy/old/file"}, {"kind", "stale-revision"}});
    const ProcessResult result = Quillmark({"sync", "-q", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("not deleted: something is still in it")) << result.errors;
    EXPECT_EQ("x", ContentOf("/copy/old/file"));
}

TEST_F(SyncTest, ALocalFolderInWhichSomethingStaysIsNotDeleted) {
    Diverge();
    Write("tree/kept/file", "x");
    std::filesystem::permissions(Local("tree/kept"),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const ProcessResult result = Unprivileged({"sync", "-q", "--down", "--delete", Local("tree"), "/copy"});
    std::filesystem::permissions(Local("tree/kept"), std::filesystem::perms::owner_all);
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("not deleted: access to the local file is denied (5)"))
        << result.errors;
    EXPECT_NE(std::string::npos, result.errors.find("not deleted: something is still in it")) << result.errors;
    EXPECT_EQ("x", Read(Local("tree/kept/file")));
}

TEST_F(SyncTest, DeletesNothingThereWhenAFileCouldNotBeSent) {
    Diverge();
    ASSERT_EQ(0, ::chmod(Local("tree/new").c_str(), 0));
    const ProcessResult result = Unprivileged({"sync", "-q", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("nothing is deleted: not everything before it has succeeded\n"))
        << result.errors;
    EXPECT_EQ("1", ContentOf("/copy/one"));
}

TEST_F(SyncTest, APlanWithSomethingThatIsNotPossibleDeletesNothingAndDoesNotAsk) {
    Diverge();
    std::filesystem::remove(Local("tree/sub/two"));
    Write("tree/sub/two/deep", "x");
    const std::string told = "nothing is deleted: not everything before it is possible\n";
    const ProcessResult dry = Quillmark({"sync", "-n", "--delete", Local("tree"), "/copy"});
    EXPECT_NE(std::string::npos, dry.output.find(", 0 to delete, ")) << dry.output;
    EXPECT_NE(std::string::npos, dry.errors.find(told)) << dry.errors;
    const auto [code, shown] = OnTerminal({"sync", "--delete", Local("tree"), "/copy"}, "n\n");
    EXPECT_EQ(1, code);
    EXPECT_EQ(std::string::npos, shown.find("[y/N]")) << shown;
    EXPECT_EQ("1", ContentOf("/copy/one"));
}

TEST_F(SyncTest, ALocalItemWhoseNameNoServerCanHaveIsDeleted) {
    WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/copy"}).exitCode);
    Write("tree/bad\xff", "x");
    Write("tree/worse\xff/f", "x");
    const ProcessResult result = Quillmark({"sync", "-q", "--down", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ((Arguments{"empty", "one", "sub"}), NamesIn(Local("tree")));
}

TEST_F(SyncTest, DeletesNothingHereWhenAFileCouldNotBeFetched) {
    WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/copy"}).exitCode);
    OutputOf({"mv", "/copy/one", "/copy/renamed"});
    Server().AddFaults(
        {{"method", "GET"}, {"path", "/api/1.7/folders/copy/renamed"}, {"kind", "reply"}, {"status", 403}});
    const ProcessResult result = Quillmark({"sync", "-q", "--down", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("nothing is deleted: not everything before it has succeeded\n"))
        << result.errors;
    EXPECT_EQ("1", Read(Local("tree/one")));
    EXPECT_EQ(0, Quillmark({"sync", "-q", "--down", "--delete", Local("tree"), "/copy"}).exitCode);
    EXPECT_EQ((Arguments{"empty", "renamed", "sub"}), NamesIn(Local("tree")));
}

TEST_F(SyncTest, LinksInTheTargetAreNotDeleted) {
    WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/copy"}).exitCode);
    Write("outside", "x");
    std::filesystem::create_symlink(Local("outside"), Local("tree/linked"));
    std::filesystem::create_symlink("none", Local("tree/nowhere"));
    const ProcessResult result = Quillmark({"sync", "-q", "--down", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("skipped, a link: " + Local("tree/linked") + "\nskipped, a link: " + Local("tree/nowhere") +
                  "\n0 files, 3 folders, 0 bytes, 4 skipped, 0 failed\n",
              Facts(result.errors));
    EXPECT_TRUE(std::filesystem::is_symlink(Local("tree/linked")));
    EXPECT_TRUE(std::filesystem::is_symlink(Local("tree/nowhere")));
    EXPECT_EQ("x", Read(Local("outside")));
}

TEST_F(SyncTest, WhatHasGoneByItselfCountsAsDeleted) {
    Diverge();
    const auto [here, shownHere] = OnTerminal({"sync", "--down", "--delete", Local("tree"), "/copy"}, "y\n",
                                              [this] { std::filesystem::remove(Local("tree/new")); });
    EXPECT_EQ(0, here) << shownHere;
    EXPECT_NE(std::string::npos, shownHere.find("1 deleted, 0 failed")) << shownHere;
    std::filesystem::remove(Local("tree/one"));
    const auto [there, shownThere] = OnTerminal({"sync", "--delete", Local("tree"), "/copy"}, "y\n", [this] {
        OutputOf({"rm", "/copy/one"});
    });
    EXPECT_EQ(0, there) << shownThere;
    EXPECT_NE(std::string::npos, shownThere.find("1 deleted, 0 failed")) << shownThere;
}

TEST_F(SyncTest, AFolderThatCannotBeEnteredIsNoFolderOfPipes) {
    WriteTree();
    ASSERT_EQ(0, ::chmod(Local("tree/sub").c_str(), 0600));
    const ProcessResult result = Unprivileged({"sync", "-q", Local("tree"), "/copy"});
    ASSERT_EQ(0, ::chmod(Local("tree/sub").c_str(), 0700));
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("failed: " + Local("tree/sub/two") +
                                                    " to /copy/sub/two: access to the local file is denied (5)"))
        << result.errors;
}

TEST_F(SyncTest, AMissingFolderAboveTheTargetIsToldByTheDryRunToo) {
    WriteTree();
    for (const Arguments& arguments : {Arguments{"sync", "--dry-run"}, Arguments{"sync"}, Arguments{"put", "-n"}}) {
        Arguments command = arguments;
        command.insert(command.end(), {Local("tree"), "/none/copy"});
        const ProcessResult result = Quillmark(command);
        EXPECT_EQ(5, result.exitCode);
        EXPECT_EQ(0u, result.errors.find("failed: /none: the server has no such item (21002)")) << result.errors;
    }
}

TEST_F(SyncTest, ATargetFolderThatCannotBeListedIsNamedAndNotTheSource) {
    Diverge();
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/copy/sub"}, {"kind", "reply"}, {"status", 403}});
    const ProcessResult result = Quillmark({"sync", "-q", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ(0u, result.errors.find("failed: /copy/sub: the server's reply is missing or unreadable (13)"))
        << result.errors;
}

TEST_F(SyncTest, QuietShowsNothingOfThePlanButWhatIsNotPossible) {
    Diverge();
    std::filesystem::remove(Local("tree/sub/two"));
    Write("tree/sub/two/deep", "x");
    const ProcessResult result = Quillmark({"sync", "-q", "--dry-run", "--delete", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("1 to transfer, 3 bytes, 0 to delete, 0 same, 1 not possible\n", result.output);
    EXPECT_EQ("nothing is deleted: not everything before it is possible\nnot possible: " + Local("tree/sub/two") +
                  ": a file stands where the folder is to go (267) [ERROR_DIRECTORY]\n",
              result.errors);
}

TEST_F(SyncTest, WhatIsKeptDespiteDeleteIsCountedWithoutAdvice) {
    WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/copy"}).exitCode);
    std::filesystem::rename(Local("tree/sub"), Local("outside"));
    std::filesystem::create_directory_symlink(Local("outside"), Local("tree/sub"));
    Write("outside/extra", "x");
    EXPECT_NE(std::string::npos, OutputOf({"sync", "--dry-run", "--down", "--delete", Local("tree"), "/copy"})
                                     .find(", 1 only in the target and kept\n"));
    EXPECT_EQ("x", Read(Local("outside/extra")));
}

TEST_F(SyncTest, TellsWhatItLeavesOutAndWhy) {
    WriteTree();
    ASSERT_EQ(0, ::mkfifo(Local("tree/pipe").c_str(), 0600));
    std::filesystem::create_directory_symlink("sub", Local("tree/link"));
    const std::string told = "skipped, a link to a folder: " + Local("tree/link") +
                             "\nskipped, a pipe, socket or device: " + Local("tree/pipe") + "\n";
    EXPECT_EQ(told, Quillmark({"sync", "--dry-run", Local("tree"), "/copy"}).errors);
    const std::string plan = Quillmark({"--json", "sync", "--dry-run", Local("tree"), "/copy"}).output;
    EXPECT_NE(std::string::npos, plan.find("{\"type\":\"plan\",\"action\":\"skip\",\"local\":\"" + Local("tree/pipe")))
        << plan;
    Expect(0,
           "make folder /copy\nput " + Local("tree/one") + " to /copy/one (new, 1 byte)\nmake folder /copy/empty\n" +
               "make folder /copy/sub\nput " + Local("tree/sub/two") + " to /copy/sub/two (new, 2 bytes)\n" +
               "2 to transfer, 3 bytes, 0 to delete, 0 same\n/copy/one\n/copy/sub/two\n",
           told + "2 files, 3 folders, 3 bytes, 2 skipped, 0 failed\n",
           {"sync", "--jobs", "1", Local("tree"), "/copy"});
}

TEST_F(SyncTest, ALinkThatLeadsNowhereIsAFailureThatSaysSo) {
    WriteTree();
    std::filesystem::create_symlink("none", Local("tree/link"));
    const ProcessResult result = Quillmark({"sync", "-q", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(
        std::string::npos,
        result.errors.find(Local("tree/link") + " to /copy/link: the local name is a link that leads nowhere (1921)"))
        << result.errors;
    EXPECT_EQ("22", ContentOf("/copy/sub/two"));
}

TEST_F(SyncTest, IsSilentAboutWhatIsTheSame) {
    Diverge();
    ASSERT_EQ(0, Quillmark({"sync", "-q", "--delete", Local("tree"), "/copy"}).exitCode);
    Expect(0, "0 to transfer, 0 bytes, 0 to delete, 2 same\n", "0 files, 3 folders, 0 bytes, 2 skipped, 0 failed\n",
           {"sync", "--delete", Local("tree"), "/copy"});
}

TEST_F(SyncTest, ExcludedItemsStayOnBothSides) {
    Diverge();
    Write("tree/a.log", "here");
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", "there"), "/copy/b.log"}).exitCode);
    Expect(0, "delete /copy/one\n0 to transfer, 0 bytes, 1 to delete, 1 same\ndeleted: /copy/one\n",
           "0 files, 3 folders, 0 bytes, 1 skipped, 1 deleted, 0 failed\n",
           {"sync", "--delete", "--exclude", "*.log", "--exclude", "new", Local("tree"), "/copy"});
    EXPECT_EQ("b.log\nempty/\nsub/\n", OutputOf({"ls", "/copy"}));
}

TEST_F(SyncTest, AFolderThatCannotBeMadeIsLeftOutAndTheRestGoesOn) {
    Write("tree/a/x", "x");
    Write("tree/b/y", "y");
    Server().AddFaults({{"method", "POST"}, {"path", "/api/1.7/folders/copy"}, {"kind", "reply"}, {"status", 403}});
    ASSERT_EQ(0, Quillmark({"mkdir", "/copy"}).exitCode);
    const ProcessResult result = Quillmark({"sync", Local("tree"), "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("1 file, 2 folders, 1 byte, 0 skipped, 1 failed")) << result.errors;
    EXPECT_EQ("/copy/\n/copy/b/\n/copy/b/y\n", OutputOf({"ls", "-R"}));
}

}  // namespace
}  // namespace quillmark::testing
