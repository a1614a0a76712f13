// put and get of folders: what is skipped, excluded, deleted, planned; several files at a time; methods by size.
#include "integration/cli/TransferTreeTest.h"

namespace quillmark::testing {
namespace {

constexpr std::size_t Mib = 1024 * 1024;

TEST_F(TransferTreeTest, WhatIsTheSameIsNotSentAgain) {
    const std::string tree = WriteTree();
    Expect(0, "", "2 files, 3 folders, 3 bytes, 0 skipped, 0 failed\n", {"put", "-q", tree, "/copy"});
    Server().ResetStatistics();
    Expect(0, "", "0 files, 3 folders, 0 bytes, 2 skipped, 0 failed\n", {"put", tree, "/copy"});
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/folders/copy/one"));
    Write("tree/one", "changed");
    Expect(0, "/copy/one\n", "1 file, 3 folders, 7 bytes, 1 skipped, 0 failed\n", {"put", tree, "/copy"});
    EXPECT_EQ("changed", ContentOf("/copy/one"));
}

TEST_F(TransferTreeTest, WhatIsHereAlreadyIsNotFetchedAgain) {
    ASSERT_EQ(0, Quillmark({"put", "-q", WriteTree(), "/copy"}).exitCode);
    Expect(0, "", "2 files, 3 folders, 3 bytes, 0 skipped, 0 failed\n", {"get", "-q", "/copy", Local("back")});
    Expect(0, "", "0 files, 3 folders, 0 bytes, 2 skipped, 0 failed\n", {"get", "/copy", Local("back")});
    Write("back/sub/two", "2?");  // as long as it was, and newer
    Expect(0, Local("back/sub/two") + "\n", "1 file, 3 folders, 2 bytes, 1 skipped, 0 failed\n",
           {"get", "/copy", Local("back")});
    EXPECT_EQ("22", Read(Local("back/sub/two")));
}

TEST_F(TransferTreeTest, AnotherTimeAloneIsAChange) {
    const std::string tree = WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", tree, "/copy"}).exitCode);
    Age(tree + "/one", 3600);
    Expect(0, "/copy/one\n", "1 file, 3 folders, 1 byte, 1 skipped, 0 failed\n", {"put", tree, "/copy"});
    Expect(0, "", "0 files, 3 folders, 0 bytes, 2 skipped, 0 failed\n", {"put", tree, "/copy"});
}

TEST_F(TransferTreeTest, AlwaysSendsAll) {
    const std::string tree = WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", tree, "/copy"}).exitCode);
    Expect(0, "", "2 files, 3 folders, 3 bytes, 0 skipped, 0 failed\n", {"put", "-q", "--always", tree, "/copy"});
    ASSERT_EQ(0, Quillmark({"get", "-q", "/copy", Local("back")}).exitCode);
    Expect(0, "", "2 files, 3 folders, 3 bytes, 0 skipped, 0 failed\n",
           {"get", "-q", "--always", "/copy", Local("back")});
}

TEST_F(TransferTreeTest, AFileThatIsNamedIsAlwaysSent) {
    const std::string file = Write("f", "hello");
    for (int round = 0; round < 2; ++round) {
        Expect(0, "/f\n", "1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n", {"put", file, "/f"});
        Expect(0, Local("back") + "\n", "1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n",
               {"get", "/f", Local("back")});
    }
}

TEST_F(TransferTreeTest, ExcludeLeavesItemsOut) {
    const std::string tree = WriteTree();
    Write("tree/a.tmp", "x");
    Write("tree/sub/b.tmp", "x");
    Write("tree/build/deep/c", "x");
    Write("tree/top", "x");
    Write("tree/sub/top", "kept");
    EXPECT_EQ(0,
              Quillmark({"put", "-q", "--exclude", "*.tmp", "--exclude", "build/", "--exclude", "/top", tree, "/copy"})
                  .exitCode);
    EXPECT_EQ("/copy/\n/copy/empty/\n/copy/one\n/copy/sub/\n/copy/sub/top\n/copy/sub/two\n", OutputOf({"ls", "-R"}));
    EXPECT_EQ(0, Quillmark({"get", "-q", "--exclude", "sub/t*", "/copy", Local("back")}).exitCode);
    EXPECT_EQ((std::map<std::string, std::string>{{"empty/", ""}, {"one", "1"}, {"sub/", ""}}), TreeAt(Local("back")));
}

TEST_F(TransferTreeTest, AWrongPatternIsRefusedBeforeTheServerIsAsked) {
    Server().ResetStatistics();
    ExpectFailure(2, "'!x'", {"put", "--exclude", "!x", WriteTree(), "/copy"});
    EXPECT_EQ(0u, Server().ConnectionCount());
}

TEST_F(TransferTreeTest, DeleteRemovesWhatTheSourceHasNot) {
    const std::string tree = WriteTree();
    Write("tree/old/deep/x", "x");
    Write("tree/kept.log", "x");
    ASSERT_EQ(0, Quillmark({"put", "-q", tree, "/copy"}).exitCode);
    std::filesystem::remove_all(tree + "/old");
    std::filesystem::remove(tree + "/kept.log");
    std::filesystem::remove(tree + "/one");
    Expect(0, "deleted: /copy/old/deep/x\ndeleted: /copy/old/deep\ndeleted: /copy/old\ndeleted: /copy/one\n",
           "0 files, 3 folders, 0 bytes, 1 skipped, 4 deleted, 0 failed\n",
           {"put", "--delete", "--exclude", "*.log", tree, "/copy"});
    EXPECT_EQ("empty/\nkept.log\nsub/\n", OutputOf({"ls", "/copy"}));
}

TEST_F(TransferTreeTest, WithoutDeleteNothingIsRemoved) {
    const std::string tree = WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", tree, "/copy"}).exitCode);
    std::filesystem::remove(tree + "/one");
    ASSERT_EQ(0, Quillmark({"put", "-q", tree, "/copy"}).exitCode);
    EXPECT_EQ("empty/\none\nsub/\n", OutputOf({"ls", "/copy"}));
}

TEST_F(TransferTreeTest, DeleteRemovesLocalFilesTheSameWay) {
    ASSERT_EQ(0, Quillmark({"put", "-q", WriteTree(), "/copy"}).exitCode);
    Write("back/extra", "x");
    Write("back/old/deep/x", "x");
    Write("back/kept.log", "x");
    Write("back/f.quillmark-part", "the beginning of something");
    Write("back/f.quillmark-part-of.new", "left by a program that was killed");
    std::filesystem::create_symlink("/", Local("back/link"));
    Expect(0, "",
           "skipped, a link to a folder: " + Local("back/link") +
               "\n"
               "2 files, 3 folders, 3 bytes, 1 skipped, 4 deleted, 0 failed\n",
           {"get", "-q", "--delete", "--exclude", "*.log", "/copy", Local("back")});
    EXPECT_EQ((std::vector<std::string>{"empty", "f.quillmark-part", "f.quillmark-part-of.new", "kept.log", "link",
                                        "one", "sub"}),
              NamesIn(Local("back")));
}

TEST_F(TransferTreeTest, DeleteIsForFolders) {
    ExpectFailure(2, "--delete is for folders", {"put", "--delete", Write("f", "x"), "/f"});
}

TEST_F(TransferTreeTest, NothingIsDeletedWhenTheSourceCouldNotBeReadInFull) {
    const std::string tree = WriteTree();
    Write("tree/sub/secret/x", "x");
    Write("tree/old", "x");
    ASSERT_EQ(0, Quillmark({"put", "-q", tree, "/copy"}).exitCode);
    std::filesystem::remove(tree + "/old");
    std::filesystem::permissions(tree + "/sub/secret", std::filesystem::perms::none);
    const ProcessResult result = Unprivileged({"put", "-q", "--delete", tree, "/copy"});
    std::filesystem::permissions(tree + "/sub/secret", std::filesystem::perms::owner_all);
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("failed: " + tree + "/sub/secret to /copy/sub/secret: access to the local file is denied (5)\n" +
                  "nothing is deleted: a part of " + tree + " could not be read\n" +
                  "0 files, 4 folders, 0 bytes, 2 skipped, 1 failed\n",
              Facts(result.errors));
    EXPECT_EQ("x", ContentOf("/copy/old"));
    EXPECT_EQ("x", ContentOf("/copy/sub/secret/x"));
}

TEST_F(TransferTreeTest, NothingLocalIsDeletedWhenTheServerCannotBeListedInFull) {
    ASSERT_EQ(0, Quillmark({"put", "-q", WriteTree(), "/copy"}).exitCode);
    ASSERT_EQ(0, Quillmark({"get", "-q", "/copy", Local("back")}).exitCode);
    Write("back/extra", "x");
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/copy/sub"}, {"kind", "reply"}, {"status", 403}});
    const ProcessResult result = Quillmark({"get", "-q", "--delete", "/copy", Local("back")});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("nothing is deleted: a part of /copy could not be read\n"))
        << result.errors;
    EXPECT_EQ("x", Read(Local("back/extra")));
    EXPECT_EQ("22", Read(Local("back/sub/two")));
}

TEST_F(TransferTreeTest, NothingLocalIsDeletedWhenAFolderIsAnsweredWithAnErrorThatLooksLikeASuccess) {
    ASSERT_EQ(0, Quillmark({"put", "-q", WriteTree(), "/copy"}).exitCode);
    ASSERT_EQ(0, Quillmark({"get", "-q", "/copy", Local("back")}).exitCode);
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/copy/sub"}, {"kind", "error-document"}});
    const ProcessResult result = Quillmark({"get", "-q", "--delete", "/copy", Local("back")});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("the server's reply is missing or unreadable (13)"))
        << result.errors;
    EXPECT_EQ("22", Read(Local("back/sub/two")));
}

TEST_F(TransferTreeTest, DryRunPrintsThePlanAndChangesNothing) {
    const std::string tree = WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", tree, "/copy"}).exitCode);
    Write("tree/one", "longer");
    Write("tree/new/three", "333");
    std::filesystem::remove(tree + "/sub/two");
    const auto before = TreeOnServer("/copy");
    Expect(0,
           "would put " + tree + "/one to /copy/one (changed, 6 bytes)\n" +
               "would make folder /copy/new\n"
               "would put " +
               tree + "/new/three to /copy/new/three (new, 3 bytes)\n" +
               "would delete /copy/sub/two\n"
               "2 to transfer, 9 bytes, 1 to delete, 0 same\n",
           "", {"put", "--dry-run", "--delete", tree, "/copy"});
    EXPECT_EQ(before, TreeOnServer("/copy"));
    Write("back/extra", "x");
    Expect(0,
           "would make folder " + Local("back/empty") + "\nwould make folder " + Local("back/sub") +
               "\nwould get /copy/sub/two to " + Local("back/sub/two") +
               " (new, 2 bytes)\n1 to transfer, 2 bytes, 0 to delete, 0 same, 1 only in the target and kept (see "
               "--delete)\n",
           "", {"get", "-n", "--exclude", "one", "/copy", Local("back")});
    EXPECT_EQ((std::vector<std::string>{"extra"}), NamesIn(Local("back")));
}

TEST_F(TransferTreeTest, DryRunPrintsObjectsForPrograms) {
    const std::string tree = WriteTree();
    ASSERT_EQ(0, Quillmark({"put", "-q", "--exclude", "one", tree, "/copy"}).exitCode);
    std::filesystem::remove(tree + "/sub/two");
    std::filesystem::create_directory(tree + "/new");
    Expect(0,
           R"({"type":"plan","action":"put","local":")" + tree +
               R"(/one","server":"/copy/one","folder":false,"bytes":1})" +
               "\n"
               R"({"type":"plan","action":"make-folder","local":")" +
               tree + R"(/new","server":"/copy/new","folder":true,"bytes":0})" +
               "\n"
               R"({"type":"plan","action":"delete","local":")" +
               tree + R"(/sub/two","server":"/copy/sub/two","folder":false,"bytes":2})" +
               "\n"
               R"({"type":"plan-summary","files":1,"bytes":1,"delete":1,"same":0,"notPossible":0,"onlyInTarget":0})"
               "\n",
           "", {"--json", "put", "--dry-run", "--delete", tree, "/copy"});
}

TEST_F(TransferTreeTest, DryRunOfOneFile) {
    Expect(0, "would put " + Local("f") + " to /f (new, 5 bytes)\n1 to transfer, 5 bytes, 0 to delete, 0 same\n", "",
           {"put", "-n", Write("f", "hello"), "/f"});
    EXPECT_EQ("", OutputOf({"ls"}));
}

TEST_F(TransferTreeTest, AFileAndAFolderOfOneNameFailAndTheRestGoesOn) {
    const std::string tree = WriteTree();
    OutputOf({"mkdir", "/copy", "/copy/one", "/copy/one/inside"});
    ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", "x"), "/copy/sub"}).exitCode);
    Expect(1, "",
           "failed: " + tree + "/one to /copy/one: a folder stands where the file is to go (267)\n" +
               "failed: " + tree + "/sub to /copy/sub: a file stands where the folder is to go (267)\n" +
               "0 files, 2 folders, 0 bytes, 0 skipped, 2 failed\n",
           {"put", "-q", "--delete", tree, "/copy"});
    EXPECT_EQ("/copy/\n/copy/empty/\n/copy/one/\n/copy/sub\n/copy/one/inside/\n", OutputOf({"ls", "-R"}));
}

TEST_F(TransferTreeTest, ManyFilesAtATimeArriveWhole) {
    for (int index = 0; index < 200; ++index) {
        Write("tree/f" + std::to_string(index % 7) + "/" + std::to_string(index),
              Noise(static_cast<std::size_t>(index) * 997, static_cast<std::uint32_t>(index)));
    }
    const ProcessResult up = Quillmark({"put", "--jobs", "8", Local("tree"), "/copy"});
    EXPECT_EQ(0, up.exitCode) << up.errors;
    EXPECT_EQ(200u, SortedLines(up.output).size());
    EXPECT_EQ("200 files, 8 folders, 19840300 bytes, 0 skipped, 0 failed\n", Facts(up.errors));
    const ProcessResult down = Quillmark({"get", "-j", "8", "/copy", Local("back")});
    EXPECT_EQ(0, down.exitCode) << down.errors;
    EXPECT_EQ("200 files, 8 folders, 19840300 bytes, 0 skipped, 0 failed\n", Facts(down.errors));
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeAt(Local("back")));
}

TEST_F(TransferTreeTest, SeveralResumableUploadsAtATimeArriveWhole) {
    for (int index = 0; index < 12; ++index) {
        Write("tree/" + std::to_string(index), Noise(300'000, static_cast<std::uint32_t>(index)));
    }
    Expect(0, "", "12 files, 1 folder, 3600000 bytes, 0 skipped, 0 failed\n",
           {"put", "-q", "--resumable", "--chunk", "64K", "--jobs", "6", Local("tree"), "/copy"});
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeOnServer("/copy"));
    EXPECT_EQ("", OutputOf({"uploads"}));
}

TEST_F(TransferTreeTest, OneJobTellsTheFilesInTheirOrder) {
    Write("tree/b", "b");
    Write("tree/a", "a");
    Write("tree/0/z", "z");
    Expect(0, "/copy/a\n/copy/b\n/copy/0/z\n", "3 files, 2 folders, 3 bytes, 0 skipped, 0 failed\n",
           {"put", "--jobs", "1", Local("tree"), "/copy"});
}

TEST_F(TransferTreeTest, JobsHaveALimit) {
    ExpectFailure(2, "--jobs", {"put", "--jobs", "33", Local("tree"), "/copy"});
    ExpectFailure(2, "--jobs", {"get", "--jobs", "0", "/copy", Local("tree")});
}

TEST_F(TransferTreeTest, LargeFilesGoInChunksWhereTheFolderTakesThem) {
    Write("tree/large", std::string(16 * Mib, 'x'));
    Write("tree/small", std::string(16 * Mib - 1, 'x'));
    OutputOf({"mkdir", "/top"});
    Expect(0, "", "2 files, 1 folder, 33554431 bytes, 0 skipped, 0 failed\n",
           {"put", "-q", Local("tree"), "/top/copy"});
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/resume/upload/top/copy/large"));
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/folders/top/copy/large"));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/folders/top/copy/small"));
    EXPECT_EQ(std::string(16 * Mib, 'x'), ContentOf("/top/copy/large"));
}

TEST_F(TransferTreeTest, ADeltaIsSentAgainstTheBase) {
    const std::string old = Noise(2 * Mib);
    WriteAged("tree/f", old, 7200);
    OutputOf({"mkdir", "/top"});
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/top/copy"}).exitCode);
    ASSERT_EQ(0, Process::Run({"cp", "-a", Local("tree"), Local("base")}).exitCode);
    Write("tree/f", old.substr(0, Mib) + "changed" + old.substr(Mib));
    Server().ResetStatistics();
    Expect(0, "/top/copy/f\n", "1 file, 1 folder, 2097159 bytes, 0 skipped, 0 failed\n",
           {"put", "--base", Local("base"), Local("tree"), "/top/copy"});
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/delta/top/copy/f"));
    EXPECT_LT(Server().Statistics()["received"].get<std::uint64_t>(), 200'000u);
    EXPECT_EQ(Read(Local("tree/f")), ContentOf("/top/copy/f"));
}

TEST_F(TransferTreeTest, AnOlderLocalFileMakesADownloadADelta) {
    const std::string old = Noise(2 * Mib);
    WriteAged("tree/f", old, 7200);
    OutputOf({"mkdir", "/top"});
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/top/copy"}).exitCode);
    ASSERT_EQ(0, Quillmark({"get", "-q", "/top/copy", Local("back")}).exitCode);
    Write("tree/f", old.substr(0, Mib) + "changed" + old.substr(Mib));
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/top/copy"}).exitCode);
    Server().ResetStatistics();
    Expect(0, "", "1 file, 1 folder, 2097159 bytes, 0 skipped, 0 failed\n", {"get", "-q", "/top/copy", Local("back")});
    EXPECT_LT(Server().Statistics()["sent"].get<std::uint64_t>(), 200'000u);
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeAt(Local("back")));
    Expect(0, "", "0 files, 1 folder, 0 bytes, 1 skipped, 0 failed\n", {"get", "-q", "/top/copy", Local("back")});
}

TEST_F(TransferTreeTest, ADeltaThatIsOfNoUseIsReplacedByTheWholeFile) {
    WriteAged("tree/f", Noise(2 * Mib, 1), 7200);
    OutputOf({"mkdir", "/top"});
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("tree"), "/top/copy"}).exitCode);
    Write("back/f", Noise(2 * Mib, 2));
    Server().AddFaults({{"method", "POST"},
                        {"path", "/api/1.7/delta/top/copy/f"},
                        {"kind", "reply"},
                        {"status", 200},
                        {"content_type", "application/octet-stream"},
                        {"body", "no delta"}});
    Expect(0, "", "1 file, 1 folder, 2097152 bytes, 0 skipped, 0 failed\n", {"get", "-q", "/top/copy", Local("back")});
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeAt(Local("back")));
}

class LimitedFolderTest : public TransferTreeTest {
protected:
    void SetUp() override { StartAndLogin({"--no-sync", "--mapping", "Small;limit=1000;no-resumable;no-delta"}); }
};

TEST_F(LimitedFolderTest, AFileBeyondTheLimitFailsBeforeAByteIsSent) {
    Write("tree/fits", std::string(1000, 'x'));
    Write("tree/large", std::string(1001, 'x'));
    Expect(
        1, "/Small/copy/fits\n",
        "failed: " + Local("tree/large") +
            " to /Small/copy/large: it has 1001 bytes, and this folder of the server takes files of up to 1000 (223)\n"
            "1 file, 1 folder, 1000 bytes, 0 skipped, 1 failed\n",
        {"put", Local("tree"), "/Small/copy"});
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/folders/Small/copy/large"));
    ExpectFailure(8, "takes files of up to 1000", {"put", Local("tree/large"), "/Small/x"});
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/folders/Small/x"));
}

TEST_F(LimitedFolderTest, LargeFilesGoWholeWhereTheFolderDoesNotOfferMore) {
    Write("tree/large", std::string(17 * Mib, 'x'));
    Expect(0, "", "1 file, 1 folder, 17825792 bytes, 0 skipped, 0 failed\n", {"put", "-q", Local("tree"), "/other"});
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/folders/other/large"));
}

}  // namespace
}  // namespace quillmark::testing
