// quillmark put and get.
#include <sys/stat.h>

#include <filesystem>

#include "integration/cancel/StalledServer.h"
#include "integration/cli/CliTest.h"
#include "integration/cli/Facts.h"

namespace quillmark::testing {
namespace {

class TransferCommandTest : public CliTest {
protected:
    void SetUp() override { StartAndLogin(); }

    void Expect(int exitCode, const std::string& output, const std::string& errors, const Arguments& arguments) {
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(exitCode, result.exitCode);
        EXPECT_EQ(output, result.output);
        EXPECT_EQ(errors, Facts(result.errors));
    }
    // A file, a folder with a file, an empty folder.
    std::string WriteTree() {
        Write("tree/one", "1");
        Write("tree/sub/two", "22");
        std::filesystem::create_directories(Local("tree/empty"));
        return Local("tree");
    }
};

TEST_F(TransferCommandTest, PutSendsAFileToThePathItself) {
    Expect(0, "/copy\n", "1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n", {"put", Write("file", "hello"), "/copy"});
    EXPECT_EQ("copy\n", OutputOf({"ls"}));
}

TEST_F(TransferCommandTest, PutSendsAFileIntoAFolderWithATrailingSlash) {
    OutputOf({"mkdir", "/a"});
    Expect(0, "/a/file\n", "1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n", {"put", Write("file", "hello"), "/a/"});
}

TEST_F(TransferCommandTest, PutAndGetMoveATreeWithEmptyFolders) {
    Expect(0, "", "2 files, 3 folders, 3 bytes, 0 skipped, 0 failed\n", {"put", "--quiet", WriteTree(), "/copy"});
    EXPECT_EQ("/copy/\n/copy/empty/\n/copy/one\n/copy/sub/\n/copy/sub/two\n", OutputOf({"ls", "-R"}));
    Expect(0, "", "2 files, 3 folders, 3 bytes, 0 skipped, 0 failed\n", {"get", "-q", "/copy", Local("back")});
    EXPECT_EQ((std::vector<std::string>{"empty", "one", "sub"}), NamesIn(Local("back")));
    EXPECT_EQ("1", Read(Local("back/one")));
    EXPECT_EQ("22", Read(Local("back/sub/two")));
    EXPECT_TRUE(std::filesystem::is_directory(Local("back/empty")));
}

TEST_F(TransferCommandTest, PutPutsATreeIntoAFolderWithATrailingSlash) {
    OutputOf({"mkdir", "/a"});
    EXPECT_EQ(0, Quillmark({"put", "-q", WriteTree() + "/", "/a/"}).exitCode);
    EXPECT_EQ("empty/\none\nsub/\n", OutputOf({"ls", "/a/tree"}));
}

TEST_F(TransferCommandTest, PutOfDotSendsTheContents) {
    OutputOf({"mkdir", "/a"});
    EXPECT_EQ(0, Quillmark({"put", "-q", WriteTree() + "/.", "/a/"}).exitCode);
    EXPECT_EQ("empty/\none\nsub/\n", OutputOf({"ls", "/a"}));
}

TEST_F(TransferCommandTest, PutReplacesAFile) {
    EXPECT_EQ(0, Quillmark({"put", Write("file", "old"), "/f"}).exitCode);
    EXPECT_EQ(0, Quillmark({"put", Write("file", "newer"), "/f"}).exitCode);
    EXPECT_EQ(0, Quillmark({"get", "/f", Local("back")}).exitCode);
    EXPECT_EQ("newer", Read(Local("back")));
}

TEST_F(TransferCommandTest, PutReportsAMissingLocalFile) {
    Expect(8, "",
           "failed: " + Local("none") +
               " to /none: the local file does not exist (2)\n0 files, 0 folders, 0 bytes, 0 skipped, 1 failed\n",
           {"put", Local("none"), "/"});
}

TEST_F(TransferCommandTest, PutReportsAFolderInTheFilesWay) {
    OutputOf({"mkdir", "/a"});
    Expect(6, "",
           "failed: " + Local("file") +
               " to /a: a folder stands there (21004)\n"
               "0 files, 0 folders, 0 bytes, 0 skipped, 1 failed\n",
           {"put", Write("file", "hello"), "/a"});
}

TEST_F(TransferCommandTest, PutSaysHowAFileGoesIntoTheFolderInItsWay) {
    OutputOf({"mkdir", "/a"});
    const ProcessResult result = Quillmark({"put", Write("file", "hello"), "/a"});
    EXPECT_NE(std::string::npos, result.errors.find("\n        To put it into that folder, write '/a/'.\n"))
        << result.errors;
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("file"), "/f"}).exitCode);
    const ProcessResult below = Quillmark({"put", Local("file"), "/f/x"});
    EXPECT_EQ(6, below.exitCode);
    EXPECT_EQ(std::string::npos, below.errors.find("into that folder")) << below.errors;
}

TEST_F(TransferCommandTest, PutReportsAFileInTheFoldersWay) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", "hello"), "/f"}).exitCode);
    Expect(
        6, "",
        "failed: /f: a file stands where a folder is meant (267)\n0 files, 0 folders, 0 bytes, 0 skipped, 1 failed\n",
        {"put", WriteTree(), "/f"});
}

TEST_F(TransferCommandTest, PutNamesWhatIsNoTextAndSendsTheRest) {
    const std::string tree = WriteTree();
    Write(
        "tree/b\xff"
        "d",
        "bad");
    Expect(1, "",
           "failed: " + tree +
               "/b\xEF\xBF\xBD"
               "d to /copy/b\xEF\xBF\xBD"
               "d: the name is not valid text and cannot be sent to a server (1113)\n"
               "2 files, 3 folders, 3 bytes, 0 skipped, 1 failed\n",
           {"put", "-q", tree, "/copy"});
    EXPECT_EQ("empty/\none\nsub/\n", OutputOf({"ls", "/copy"}));
    const ProcessResult named = Quillmark({"put",
                                           tree + "/b\xff"
                                                  "d",
                                           "/"});
    EXPECT_EQ(8, named.exitCode);
    EXPECT_NE(std::string::npos, named.errors.find("(1113)")) << named.errors;
    Expect(0, "/good\n", "1 file, 0 folders, 3 bytes, 0 skipped, 0 failed\n",
           {"put",
            tree + "/b\xff"
                   "d",
            "/good"});
}

TEST_F(TransferCommandTest, PutFollowsLinksToFilesAndSkipsLinksToFolders) {
    const std::string tree = WriteTree();
    std::filesystem::create_symlink("one", tree + "/link");
    std::filesystem::create_symlink("sub", tree + "/folder-link");
    std::filesystem::create_symlink("nowhere", tree + "/dangling");
    const ProcessResult result = Quillmark({"put", "-q", tree, "/copy"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("skipped, a link to a folder: " + tree + "/folder-link\n"));
    EXPECT_NE(std::string::npos,
              Facts(result.errors)
                  .find("failed: " + tree +
                        "/dangling to /copy/dangling: the local name is a link that leads nowhere (1921)\n"));
    EXPECT_EQ("empty/\nlink\none\nsub/\n", OutputOf({"ls", "/copy"}));
}

TEST_F(TransferCommandTest, PutWaitsForNoPipe) {
    const std::string tree = WriteTree();
    ASSERT_EQ(0, ::mkfifo((tree + "/pipe").c_str(), 0600));
    Expect(0, "",
           "skipped, a pipe, socket or device: " + tree + "/pipe\n2 files, 3 folders, 3 bytes, 1 skipped, 0 failed\n",
           {"put", "-q", tree, "/copy"});
    EXPECT_EQ(8, Quillmark({"put", tree + "/pipe", "/pipe"}).exitCode);
}

TEST_F(TransferCommandTest, PutNamesAFileThatItMayNotReadAndSendsTheRest) {
    const std::string tree = WriteTree();
    ASSERT_EQ(0, ::chmod((tree + "/one").c_str(), 0));
    std::vector<std::string> command;
    if (::geteuid() == 0) {  // whom no permission stops
        command = {"setpriv", "--bounding-set", "-all", "--inh-caps", "-all", "--reuid", "0", "--"};
    }
    const Arguments put = Command({"put", "-q", tree, "/copy"});
    command.insert(command.end(), put.begin(), put.end());
    const ProcessResult result = Process::Run(command, HomeEnvironment());
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("failed: " + tree + "/one to /copy/one: access to the local file is denied (5)\n" +
                  "1 file, 3 folders, 2 bytes, 0 skipped, 1 failed\n",
              Facts(result.errors));
}

TEST_F(TransferCommandTest, GetRestoresTimesToTheMillisecond) {
    const std::string file = Write("file", "hello");
    ASSERT_EQ(0, Process::Run({"touch", "-d", "2001-02-03T04:05:06.789Z", file}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", file, "/f"}).exitCode);
    Expect(0, Local("back") + "\n", "1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n", {"get", "/f", Local("back")});
    struct stat status = {};
    ASSERT_EQ(0, ::stat(Local("back").c_str(), &status));
    EXPECT_EQ(981173106, status.st_mtim.tv_sec);
    EXPECT_EQ(789000000, status.st_mtim.tv_nsec);
}

TEST_F(TransferCommandTest, GetPutsAFileIntoAFolder) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", "hello"), "/f"}).exitCode);
    std::filesystem::create_directories(Local("folder"));
    Expect(0, Local("folder/f") + "\n", "1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n",
           {"get", "/f", Local("folder") + "/"});
    std::filesystem::remove(Local("folder/f"));
    Expect(0, Local("folder/f") + "\n", "1 file, 0 folders, 5 bytes, 0 skipped, 0 failed\n",
           {"get", "/f", Local("folder")});
}

TEST_F(TransferCommandTest, GetReportsAMissingItem) {
    Expect(5, "",
           "failed: /none: the server has no such item (21002)\n0 files, 0 folders, 0 bytes, 0 skipped, 1 failed\n",
           {"get", "/none", Local("back")});
}

TEST_F(TransferCommandTest, GetReportsAMissingLocalFolder) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", "hello"), "/f"}).exitCode);
    Expect(8, "",
           "failed: /f to " + Local("no/folder") +
               ": the local folder does not exist (3)\n0 files, 0 folders, 0 bytes, 0 skipped, 1 failed\n",
           {"get", "/f", Local("no/folder")});
}

TEST_F(TransferCommandTest, GetTakesNamesOf255Bytes) {
    for (const std::string& name : {std::string(255, 'x'), [] {
                                        std::string wide;
                                        for (int count = 0; count < 63; ++count) {
                                            wide += "\xF0\x9F\x9A\x80";
                                        }
                                        return wide;
                                    }()}) {
        ASSERT_EQ(0, Quillmark({"put", Write(name, "long"), "/" + name}).exitCode);
        EXPECT_EQ(0, Quillmark({"get", "/" + name, Local("back") + name.substr(0, 4)}).exitCode);
        std::filesystem::create_directories(Local("folder"));
        EXPECT_EQ(0, Quillmark({"get", "/" + name, Local("folder") + "/"}).exitCode);
        EXPECT_EQ("long", Read(Local("folder/" + name)));
    }
    EXPECT_EQ(2u, NamesIn(Local("folder")).size()) << "and nothing else";
}

TEST_F(TransferCommandTest, GetKeepsTheRightsOfTheFileThatItReplaces) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", "new"), "/f"}).exitCode);
    for (const mode_t rights : {0600, 0755, 0640}) {
        ASSERT_EQ(0, ::chmod(Write("back", "old").c_str(), rights));
        ASSERT_EQ(0, Quillmark({"get", "/f", Local("back")}).exitCode);
        struct stat status = {};
        ASSERT_EQ(0, ::stat(Local("back").c_str(), &status));
        EXPECT_EQ(rights, status.st_mode & 07777);
        EXPECT_EQ("new", Read(Local("back")));
    }
}

TEST_F(TransferCommandTest, AFileThatMayOnlyBeReadIsNotReplacedAndLeavesNothingInTheWayOfTheNextGet) {
    for (const std::size_t size : {std::size_t{10}, std::size_t{5'000'000}}) {
        ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", std::string(size, 'n')), "/f"}).exitCode);
        ASSERT_EQ(0, ::chmod(Write("folder/f", "old").c_str(), 0400));
        EXPECT_EQ(8, Unprivileged({"get", "-q", "/f", Local("folder/f")}).exitCode);
        EXPECT_EQ("old", Read(Local("folder/f")));
        ASSERT_EQ(0, ::chmod(Local("folder/f").c_str(), 0600));
        const ProcessResult again = Unprivileged({"get", "-q", "/f", Local("folder/f")});
        EXPECT_EQ(0, again.exitCode) << again.errors;
        EXPECT_EQ(size, Read(Local("folder/f")).size());
        EXPECT_EQ(Arguments{"f"}, NamesIn(Local("folder")));
    }
}

TEST_F(TransferCommandTest, TheDryRunOfAFolderBelowAFileTellsWhatWouldPreventIt) {
    OutputOf({"mkdir", "/a"});
    const std::string file = Write("file", "x");
    for (const Arguments& arguments :
         {Arguments{"get", "-n", "/a", file + "/x/y"}, Arguments{"get", "/a", file + "/x/y"},
          Arguments{"sync", "-n", "--down", file + "/x/y", "/a"}}) {
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(6, result.exitCode) << result.output;
        EXPECT_EQ(0u, result.errors.find("failed: " + file + ": a file stands where a folder is meant (267)"))
            << result.errors;
    }
}

TEST_F(TransferCommandTest, TheDryRunOfAFileTellsWhatWouldPreventIt) {
    OutputOf({"mkdir", "/a"});
    const std::string file = Write("file", "hello");
    ASSERT_EQ(0, Quillmark({"put", "-q", file, "/f"}).exitCode);
    const auto refused = [this](const std::string& why, const std::string& from, const std::string& to, bool up) {
        const ProcessResult result = Quillmark({up ? "put" : "get", "-n", from, to});
        EXPECT_EQ(1, result.exitCode);
        EXPECT_EQ("0 to transfer, 0 bytes, 0 to delete, 0 same, 1 not possible\n", result.output);
        EXPECT_EQ(0u, result.errors.find("not possible: " + to + ": " + why)) << result.errors;
    };
    refused("a folder stands where the file is to go (267)", file, "/a", true);
    refused("the server has no such item (21002)", file, "/none/f", true);
    refused("a file stands where a folder is meant (267)", file, "/f/g", true);
    refused("the local folder does not exist (3)", "/f", Local("none/f"), false);
    refused("a file stands where a folder is meant (267)", "/f", file + "/f", false);
    ASSERT_EQ(0, ::mkfifo(Local("pipe").c_str(), 0600));
    refused("a pipe, socket or device stands where it is to go (183)", "/f", Local("pipe"), false);
    EXPECT_EQ("would put " + file + " to /f (again, 5 bytes)\n1 to transfer, 5 bytes, 0 to delete, 0 same\n",
              OutputOf({"put", "-n", file, "/f"}));
}

TEST_F(TransferCommandTest, AFileThatChangesWhileItIsSentIsSentAgain) {
    const std::string file = Write("file", std::string(3'000'000, 'o'));
    Server().AddFaults(
        {{"method", "POST"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"when", "after"}, {"ms", 1500}});
    Process process(Command({"put", file, "/f"}), Local("out"), Local("err"), HomeEnvironment());
    while (Server().UnusedFaults() != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    Write("file", std::string(3'000'000, 'n'));
    EXPECT_EQ(0, process.Wait()) << Read(Local("err"));
    EXPECT_EQ(std::string(3'000'000, 'n'), ContentOf("/f"));
}

TEST_F(TransferCommandTest, GetLeavesTheOldFileWhenTheConnectionBreaks) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", std::string(100'000, 'n')), "/f"}).exitCode);
    const std::string target = Write("folder/f", "old");
    // The first GET asks for the item's record.
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 1}});
    Server().AddFaults(
        {{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "end"}, {"at", "in-body"}, {"after", 1000}});
    const ProcessResult result = Quillmark({"get", "--retries", "0", "/f", target});
    EXPECT_EQ(3, result.exitCode) << result.errors;
    EXPECT_EQ("old", Read(target));
    EXPECT_EQ(std::vector<std::string>{"f"}, NamesIn(Local("folder")));
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(TransferCommandTest, GetRefusesNamesThatLeadOutOfItsFolder) {
    const auto item = [](const std::string& name) {
        return R"({"name":")" + name +
               R"(","directory":false,"revision":"7","creation_time":"2026-01-02T03:04:05.678Z",)"
               R"("modification_time":"2026-01-02T03:04:05.678Z","size":7,"attributes":128,"permissions":"WRITE",)"
               R"("folder_permissions":"WRITE"})";
    };
    const std::string folder =
        R"({"name":"folder","directory":true,"revision":"7","creation_time":"2026-01-02T03:04:05.678Z",)"
        R"("modification_time":"2026-01-02T03:04:05.678Z","attributes":16,"permissions":"WRITE",)"
        R"("folder_permissions":"WRITE","contents":[)" +
        item("..") + "," + item("a/b") + "," + item("good") + "]}";
    test::RawServer server([&folder](test::Peer& peer) {
        for (std::string head = peer.ReadHead(); !head.empty(); head = peer.ReadHead()) {
            if (head.starts_with("GET /endpoints ")) {
                peer.Send(JsonReply(R"({"qm":{"sync":{"1.7":{"path":"/api/1.7","tos":0}}}})"));
            } else if (head.starts_with("GET /api/1.7/init ")) {
                peer.Send(JsonReply(R"({"device_token_auth":false})"));
            } else {
                peer.Send(JsonReply(head.find("octet-stream") != std::string::npos ? "content" : folder));
            }
        }
    });
    Write("home/session", "quillmark session 1\nserver http://127.0.0.1:" + std::to_string(server.Port()) +
                              "\nuser anna\ndevice d\ntoken T0KEN\n");
    const ProcessResult result = Quillmark({"get", "/folder", Local("deep/back")});
    EXPECT_EQ(1, result.exitCode) << result.errors;
    EXPECT_NE(std::string::npos, result.errors.find("failed: /folder/.. to " + Local("deep/back/..") +
                                                    ": it cannot be a local name (123)"))
        << result.errors;
    EXPECT_NE(std::string::npos, result.errors.find("failed: /folder/a/b to " + Local("deep/back/a/b") +
                                                    ": it cannot be a local name (123)"))
        << result.errors;
    EXPECT_EQ(std::vector<std::string>{"back"}, NamesIn(Local("deep")));
    EXPECT_EQ(std::vector<std::string>{"good"}, NamesIn(Local("deep/back")));
}

}  // namespace
}  // namespace quillmark::testing
