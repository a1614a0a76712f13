// quillmark put --resumable: chunks, and going on after an end on the way.
#include <csignal>

#include "integration/cli/ResumableTest.h"

namespace quillmark::testing {
namespace {

TEST_F(ResumableTest, SendsAFileInChunksAndKeepsNothing) {
    const std::string content = Noise(5 * ChunkSize - 1);
    WriteFile(content);
    const ProcessResult result = Send();
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(Summary(content.size()), WithoutTime(result.errors));
    EXPECT_EQ(5u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableTest, SendsFilesAroundTheSizeOfAChunk) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, ChunkSize - 1, ChunkSize, ChunkSize + 1}) {
        const std::string content = Noise(size);
        WriteFile(content);
        const ProcessResult result = Send();
        EXPECT_EQ(0, result.exitCode) << result.errors;
        EXPECT_EQ(Summary(size), WithoutTime(result.errors));
        EXPECT_TRUE(ContentOf("/f") == content) << size;
    }
}

TEST_F(ResumableTest, SendsWholeFolders) {
    Write("tree/one", Noise(2 * ChunkSize));
    Write("tree/sub/two", Noise(10));
    Write("tree/sub/empty", "");
    const ProcessResult result = Quillmark({"put", "--resumable", "--chunk", "64K", Local("tree"), "/copy"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("3 files, 2 folders, 131082 bytes, 0 skipped, 0 failed\n", WithoutTime(result.errors));
    EXPECT_EQ("/copy/\n/copy/one\n/copy/sub/\n/copy/sub/empty\n/copy/sub/two\n", OutputOf({"ls", "-R"}));
    EXPECT_TRUE(ContentOf("/copy/one") == Noise(2 * ChunkSize));
    EXPECT_EQ(2u, Server().RequestCount("POST", "/api/1.7/resume/upload/copy/one"));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/resume/upload/copy/sub/empty"));
}

TEST_F(ResumableTest, KeepsTheFilesTimes) {
    WriteFile("content");
    ASSERT_EQ(0, Process::Run({"touch", "-d", "2001-02-03T04:05:06.789Z", Local("file")}).exitCode);
    ASSERT_EQ(0, Send().exitCode);
    EXPECT_NE(std::string::npos, OutputOf({"stat", "/f"}).find("modified:   2001-02-03T04:05:06.789Z\n"));
}

TEST_F(ResumableTest, GoesOnWhereTheServerStands) {
    const std::string content = Noise(5 * ChunkSize);
    WriteFile(content);
    SendPart(3);
    EXPECT_EQ(1u, Records().size());
    const ProcessResult result = Send();
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(2u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableTest, GoesOnWithChunksOfAnotherSize) {
    const std::string content = Noise(5 * ChunkSize);
    WriteFile(content);
    SendPart(1);
    EXPECT_EQ(0, Quillmark({"put", "--resumable", "--chunk", "100000", Local("file"), "/f"}).exitCode);
    EXPECT_EQ(3u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableTest, GoesOnWithTheChunksItWasBegunWith) {
    WriteFile(Noise(5 * ChunkSize));
    SendPart(1);
    EXPECT_EQ(0, Quillmark({"put", "--resumable", Local("file"), "/f"}).exitCode);
    EXPECT_EQ(4u, Posts());
}

TEST_F(ResumableTest, KilledBehindAStoredChunkItSendsNoneTwice) {
    const std::string content = Noise(5 * ChunkSize);
    WriteFile(content);
    // The third chunk is stored, and its answer does not come in this process's life.
    FaultAtChunk(2, {{"kind", "delay"}, {"when", "after"}, {"ms", 2000}});
    Process process(Command(Put()), Local("out"), Local("err"), HomeEnvironment());
    ASSERT_TRUE(Await([this] {
        return Quillmark({"uploads", "state"}).output.find("\t196608\t327680\t") != std::string::npos;
    }));
    process.Signal(SIGKILL);
    ASSERT_EQ(128 + SIGKILL, process.Wait());
    ASSERT_TRUE(Await([this] { return Posts() == 3; }));
    Server().ResetStatistics();
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(2u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableTest, KilledInTheMiddleOfAChunkItSendsThatOneAgain) {
    const std::string content = Noise(LargeSize);
    Process process = StartHeldUp(content, 1500);
    process.Signal(SIGKILL);
    ASSERT_EQ(128 + SIGKILL, process.Wait());
    const ProcessResult result = Quillmark(PutLarge());
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_EQ(5u, Posts()) << "the one that broke off is not counted";
}

TEST_F(ResumableTest, KilledAtManyMomentsItEndsWithTheRightBytes) {
    constexpr int Kills = 20;
    const std::string content = Noise(100 * 4096 + 17);
    WriteFile(content);
    const Arguments put = {"put", "-q", "--resumable", "--chunk", "4K", Local("file"), "/f"};
    Server().ResetStatistics();
    for (int kill = 0; kill < Kills; ++kill) {
        Process process(Command(put), Local("out"), Local("err"), HomeEnvironment());
        // The moment is the test's input; nothing waits for it.
        std::this_thread::sleep_for(std::chrono::milliseconds(20 + 3 * kill));
        process.Signal(SIGKILL);
        process.Wait();
    }
    const ProcessResult result = Quillmark(put);
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_TRUE(ContentOf("/f") == content);
    // Each kill costs one chunk at most; a put that had ended before its kill began the next one anew.
    EXPECT_GT(Posts(), 100u);
}

TEST_F(ResumableTest, GoesOnAfterTheServerWasKilled) {
    const std::string content = Noise(LargeSize);
    Process process = StartHeldUp(content, 60'000);
    Server().Kill();
    EXPECT_EQ(3, process.Wait()) << Read(Local("err"));
    Server().Start();
    EXPECT_EQ(0, Quillmark(PutLarge()).exitCode);
    EXPECT_EQ(3u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableTest, InterruptedItKeepsWhatItSent) {
    const std::string content = Noise(LargeSize);
    Process process = StartHeldUp(content, 1000);
    process.Signal(SIGINT);
    EXPECT_EQ(7, process.Wait());
    EXPECT_EQ("0 files, 0 folders, 0 bytes, 0 skipped, 1 failed, cancelled\n", WithoutTime(Read(Local("err"))));
    EXPECT_EQ(0, Quillmark(PutLarge()).exitCode);
    EXPECT_TRUE(ContentOf("/f") == content);
}

// The last answer is lost: the server has the item already.
TEST_F(ResumableTest, AnUploadWhoseLastAnswerWasLostIsNotSentAgain) {
    const std::string content = Noise(3 * ChunkSize);
    WriteFile(content);
    FaultAtChunk(2, {{"kind", "end"}, {"at", "after-work"}});
    EXPECT_EQ(3, Send().exitCode);
    const std::string revision = RevisionOf("/f");
    Server().ResetStatistics();
    const ProcessResult result = Send();
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(Summary(content.size()), WithoutTime(result.errors));
    EXPECT_EQ(1u, Posts());
    EXPECT_LT(Server().Statistics().at("received").get<std::uint64_t>(), 10'000u);
    EXPECT_EQ(revision, RevisionOf("/f"));
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableTest, AnUploadOfOneChunkWhoseAnswerWasLostIsNotSentAgain) {
    WriteFile("small");
    FaultAtChunk(0, {{"kind", "reset"}, {"at", "after-work"}});
    EXPECT_EQ(3, Send().exitCode);
    const std::string revision = RevisionOf("/f");
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(revision, RevisionOf("/f"));
}

TEST_F(ResumableTest, ALostAnswerToAReplacementOfOneRevisionIsNoConflict) {
    WriteFile("old");
    ASSERT_EQ(0, Quillmark({"put", Local("file"), "/f"}).exitCode);
    const std::string before = RevisionOf("/f");
    const std::string content = Noise(2 * ChunkSize);
    WriteFile(content);
    FaultAtChunk(1, {{"kind", "end"}, {"at", "after-work"}});
    EXPECT_EQ(3, Send({"--revision", before}).exitCode);
    const std::string after = RevisionOf("/f");
    EXPECT_NE(before, after);
    const ProcessResult result = Send({"--revision", before});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(after, RevisionOf("/f"));
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableTest, AFailureOfTheServerIsToldAndTheUploadKept) {
    WriteFile(Noise(3 * ChunkSize));
    FaultAtChunk(1, {{"kind", "reply"}, {"status", 500}, {"body", {{"errorId", "1500"}, {"severity", "3"}}}});
    ProcessResult result = Send();
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("(21500)")) << result.errors;
    EXPECT_EQ(1u, Records().size());
    EXPECT_EQ(0, Send().exitCode);
}

TEST_F(ResumableTest, ARefusalAtTheBeginningLeavesNoUpload) {
    WriteFile("content");
    ExpectFailure(5, "(21002)", {"put", "--resumable", Local("file"), "/none/f"});
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableTest, ASessionThatEndedOnTheWayGoesOnAfterALogin) {
    const std::string content = Noise(3 * ChunkSize);
    WriteFile(content);
    FaultAtChunk(1, {{"kind", "expire-token"}});
    EXPECT_EQ(4, Send().exitCode);
    ASSERT_EQ(0, Quillmark({"login", Server().HttpUrl(), "--user", "anna"}).exitCode);
    Server().ResetStatistics();
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(2u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableTest, RefusesChunksWithoutASize) {
    WriteFile("content");
    for (const std::string size : {"0", "x", "-1", "1.5M"}) {
        ExpectFailure(2, "is not the size of a chunk", {"put", "--resumable", "--chunk=" + size, Local("file"), "/f"});
    }
}

}  // namespace
}  // namespace quillmark::testing
