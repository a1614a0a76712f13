// quillmark put --resumable of a file that is not what it was, and of an item that is not what it was.
#include "integration/cli/ResumableTest.h"

namespace quillmark::testing {
namespace {

class ResumableChangeTest : public ResumableTest {
protected:
    // Writes the file anew, with the times that it had.
    void RewriteUnnoticed(const std::string& content) const {
        const auto time = std::filesystem::last_write_time(Local("file"));
        WriteFile(content);
        std::filesystem::last_write_time(Local("file"), time);
    }
    // A record is kept aside and put back later.
    void SaveRecords() const { std::filesystem::copy(Local("home/uploads"), Local("kept")); }
    void RestoreRecords() const {
        std::filesystem::copy(
            Local("kept"), Local("home/uploads"),
            std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing);
    }
};

TEST_F(ResumableChangeTest, AFileOfAnotherSizeIsBegunAnew) {
    WriteFile(Noise(5 * ChunkSize));
    SendPart(3);
    const std::string content = Noise(5 * ChunkSize + 1, 9);
    RewriteUnnoticed(content);
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(6u, Posts());
    EXPECT_EQ(1u, Server().RequestCount("DELETE", Resource)) << "the old upload is given up";
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableChangeTest, AFileOfAnotherTimeIsBegunAnew) {
    const std::string content = Noise(5 * ChunkSize);
    WriteFile(content);
    SendPart(3);
    ASSERT_EQ(0, Process::Run({"touch", "-d", "2001-02-03T04:05:06.789Z", Local("file")}).exitCode);
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(5u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableChangeTest, OneOtherByteWithTheOldTimesIsNoticed) {
    std::string content = Noise(5 * ChunkSize);
    WriteFile(content);
    SendPart(3);
    content[ChunkSize + 7] = static_cast<char>(content[ChunkSize + 7] ^ 1);
    RewriteUnnoticed(content);
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(5u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_TRUE(Records().empty());
}

// All of it is stored, and what was sent last is what changed.
TEST_F(ResumableChangeTest, AChangeBehindALostLastAnswerIsSent) {
    WriteFile("content one");
    FaultAtChunk(0, {{"kind", "end"}, {"at", "after-work"}});
    ASSERT_EQ(3, Send().exitCode);
    RewriteUnnoticed("content two");
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ("content two", ContentOf("/f"));
}

TEST_F(ResumableChangeTest, AFileThatChangesWhileItIsSentIsBegunAnew) {
    WriteFile(Noise(5 * ChunkSize));
    FaultAtChunk(2, {{"kind", "delay"}, {"ms", 1000}});
    Process process(Command(Put()), Local("out"), Local("err"), HomeEnvironment());
    ASSERT_TRUE(Await([this] { return Server().UnusedFaults() == 0; }));
    const std::string content = Noise(4 * ChunkSize, 5);
    WriteFile(content);
    EXPECT_EQ(0, process.Wait()) << Read(Local("err"));
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableChangeTest, AnUploadThatTheServerForgotIsBegunAnewUnderAnotherIdentifier) {
    const std::string content = Noise(3 * ChunkSize);
    WriteFile(content);
    SendPart(2);
    SaveRecords();
    const std::string before = OutputOf({"uploads"}).substr(0, 36);
    OutputOf({"uploads", "cancel", "/f"});
    RestoreRecords();
    SendPart(1);
    EXPECT_NE(before, OutputOf({"uploads"}).substr(0, 36));
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_TRUE(ContentOf("/f") == content);
}

TEST_F(ResumableChangeTest, TheSameFileToAnotherPathIsAnotherUpload) {
    WriteFile(Noise(3 * ChunkSize));
    SendPart(1);
    EXPECT_EQ(0, Quillmark({"put", "--resumable", Local("file"), "/g"}).exitCode);
    EXPECT_EQ(1u, Records().size());
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(2u, Posts());
}

TEST_F(ResumableChangeTest, ACompletionWhoseAnswerWasLostHasSucceeded) {
    WriteFile("old");
    ASSERT_EQ(0, Quillmark({"put", Local("file"), "/f"}).exitCode);
    const std::string revision = RevisionOf("/f");
    const std::string content = Noise(3 * ChunkSize);
    WriteFile(content);
    SendPart(2, {"--revision", revision});
    ASSERT_EQ(0, Quillmark({"put", Write("theirs", "their content"), "/f"}).exitCode);
    ASSERT_EQ(6, Send({"--revision", revision}).exitCode);

    Server().AddFaults({{"method", "POST"}, {"path", "/api/1.7/resume/upload/f"}, {"kind", "end"}, {"at", "in-body"}});
    const ProcessResult completed = Quillmark({"--retries", "2", "uploads", "complete", "/f", "/ours"});
    EXPECT_EQ(0, completed.exitCode) << completed.errors;
    EXPECT_EQ("/ours\n", completed.output);
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_TRUE(ContentOf("/ours") == content);
    EXPECT_EQ("", OutputOf({"uploads"}));
}

// Another device replaces the item while the upload waits.
TEST_F(ResumableChangeTest, AConflictAtTheEndKeepsTheBytesForAnotherName) {
    WriteFile("old");
    ASSERT_EQ(0, Quillmark({"put", Local("file"), "/f"}).exitCode);
    const std::string revision = RevisionOf("/f");
    const std::string content = Noise(3 * ChunkSize);
    WriteFile(content);
    SendPart(2, {"--revision", revision});
    LoginDevice("other");
    ASSERT_EQ(0, QuillmarkAs("other", {"put", Write("theirs", "their content"), "/f"}).exitCode);

    const ProcessResult refused = Send({"--revision", revision});
    EXPECT_EQ(6, refused.exitCode);
    EXPECT_EQ("failed: " + Local("file") +
                  " to /f: the item was changed on the server meanwhile (21077)\n"
                  "0 files, 0 folders, 0 bytes, 0 skipped, 1 failed\n",
              Facts(refused.errors));
    EXPECT_NE(std::string::npos,
              refused.errors.find("The server has all of it: 'quillmark uploads complete /f NEWPATH' stores it "
                                  "under another name.\n"))
        << refused.errors;
    EXPECT_NE(std::string::npos, OutputOf({"uploads", "state"}).find("\t196608\t196608\tconflict\t/f\t"));
    Server().ResetStatistics();
    EXPECT_EQ(6, Send({"--revision", revision}).exitCode);
    EXPECT_EQ(0u, Posts()) << "nothing is sent or completed in the other's place";
    EXPECT_EQ("their content", ContentOf("/f"));

    EXPECT_EQ("/mine\n", OutputOf({"uploads", "complete", "/f", "/mine"}));
    EXPECT_TRUE(ContentOf("/mine") == content);
    EXPECT_EQ("their content", ContentOf("/f"));
    EXPECT_TRUE(Records().empty());
}

// The refusal itself is lost: the next attempt must not take the other's place.
TEST_F(ResumableChangeTest, AConflictWhoseAnswerWasLostIsOneAllTheSame) {
    WriteFile("old");
    ASSERT_EQ(0, Quillmark({"put", Local("file"), "/f"}).exitCode);
    const std::string revision = RevisionOf("/f");
    WriteFile(Noise(3 * ChunkSize));
    SendPart(2, {"--revision", revision});
    LoginDevice("other");
    ASSERT_EQ(0, QuillmarkAs("other", {"put", Write("theirs", "their content"), "/f"}).exitCode);
    FaultAtChunk(0, {{"kind", "end"}, {"at", "after-work"}});
    EXPECT_EQ(3, Send({"--revision", revision}).exitCode);
    EXPECT_EQ(6, Send({"--revision", revision}).exitCode);
    EXPECT_EQ("their content", ContentOf("/f"));
}

TEST_F(ResumableChangeTest, WithoutARevisionAConflictIsOverwrittenByANewUpload) {
    WriteFile("old");
    ASSERT_EQ(0, Quillmark({"put", Local("file"), "/f"}).exitCode);
    const std::string revision = RevisionOf("/f");
    const std::string content = Noise(2 * ChunkSize);
    WriteFile(content);
    SendPart(1, {"--revision", revision});
    ASSERT_EQ(0, Quillmark({"put", Write("theirs", "their content"), "/f"}).exitCode);
    ASSERT_EQ(6, Send({"--revision", revision}).exitCode);
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_TRUE(ContentOf("/f") == content);
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableChangeTest, AStaleRevisionIsRefusedAtTheFirstChunk) {
    WriteFile(Noise(3 * ChunkSize));
    ASSERT_EQ(0, Send().exitCode);
    const ProcessResult refused = Send({"--revision", "999999"});
    EXPECT_EQ(6, refused.exitCode);
    EXPECT_EQ(std::string::npos, refused.errors.find("uploads complete")) << refused.errors;
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableChangeTest, AFolderHasNoRevisionToAskFor) {
    Write("tree/one", "1");
    ExpectFailure(2, "--revision is for one file", {"put", "--revision", "1", Local("tree"), "/t"});
}

TEST_F(ResumableChangeTest, ADamagedRecordCountsAsNone) {
    const std::string content = Noise(3 * ChunkSize);
    WriteFile(content);
    SendPart(2);
    Write("home/uploads/" + Records().front(), "quillmark upload 1\n");
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ(3u, Posts());
    EXPECT_TRUE(ContentOf("/f") == content);
}

}  // namespace
}  // namespace quillmark::testing
