// quillmark put --delta, put --async-delta, delta-jobs, get --delta.
#include <chrono>
#include <csignal>
#include <filesystem>
#include <regex>
#include <thread>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

// Bytes that do not repeat in any short distance.
std::string Noise(std::size_t size, std::uint32_t seed = 1) {
    std::string bytes(size, '\0');
    std::uint32_t state = seed;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

class DeltaCommandTest : public CliTest {
protected:
    static constexpr std::size_t Size = 3'000'000;

    void SetUp() override {
        StartAndLogin();
        before = Noise(Size);
        after = before;
        after.replace(1'000'000, 3, "new");
        after += "and more at the end";
        Write("old", before);
        Write("new", after);
        ASSERT_EQ(0, Quillmark({"put", Local("old"), "/f"}).exitCode);
        Server().ResetStatistics();
    }
    [[nodiscard]] std::uint64_t BytesReceived() { return Server().Statistics().at("received").get<std::uint64_t>(); }
    [[nodiscard]] std::uint64_t BytesSent() { return Server().Statistics().at("sent").get<std::uint64_t>(); }
    // Starts a job and gives back its identifier.
    std::string StartJob() {
        const ProcessResult result =
            Quillmark({"put", "--async-delta", Local("old"), "--no-commit", Local("new"), "/f"});
        EXPECT_EQ(0, result.exitCode) << result.errors;
        EXPECT_EQ(37u, result.output.size()) << result.output;
        return result.output.substr(0, 36);
    }
    // Asks until the job has been worked on.
    std::string StateOf(const std::string& job) {
        std::string state;
        do {
            state = OutputOf({"delta-jobs", "state", job});
        } while (state == job + "\tin-progress\n");
        return state;
    }

    std::string before;
    std::string after;
};

TEST_F(DeltaCommandTest, PutSendsOnlyWhatDiffersAndSaysHowMuch) {
    const ProcessResult result = Quillmark({"put", "--delta", Local("old"), Local("new"), "/f"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("/f\n", result.output);
    EXPECT_EQ(0u, result.errors.find("delta: ")) << result.errors;
    EXPECT_NE(std::string::npos, result.errors.find(" bytes for a file of 3000019 bytes\n")) << result.errors;
    EXPECT_LT(BytesReceived(), 20'000u);
    EXPECT_TRUE(ContentOf("/f") == after);
}

TEST_F(DeltaCommandTest, PutAsksForTheOptimisationOnRequest) {
    EXPECT_EQ(0, Quillmark({"put", "-q", "--optimise", "--delta", Local("old"), Local("new"), "/f"}).exitCode);
    EXPECT_TRUE(ContentOf("/f") == after);
}

TEST_F(DeltaCommandTest, PutGivesTheItemTheFilesTimes) {
    ASSERT_EQ(0, Process::Run({"touch", "-d", "2001-02-03T04:05:06.789Z", Local("new")}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", "--delta", Local("old"), Local("new"), "/f"}).exitCode);
    EXPECT_NE(std::string::npos, OutputOf({"stat", "/f"}).find("modified:   2001-02-03T04:05:06.789Z\n"));
}

TEST_F(DeltaCommandTest, PutRefusesAnOldFileOfAnotherSize) {
    Write("old", before + "x");
    ExpectFailure(6, "is not what the server has: it has 3000001 bytes, /f has 3000000",
                  {"put", "--delta", Local("old"), Local("new"), "/f"});
    EXPECT_TRUE(ContentOf("/f") == before);
}

TEST_F(DeltaCommandTest, PutRefusesAStaleRevision) {
    const std::string stale = RevisionOf("/f");
    ASSERT_EQ(0, Quillmark({"put", Write("theirs", "their content"), "/f"}).exitCode);
    ExpectFailure(6, "(21077)", {"put", "--revision", stale, "--delta", Local("old"), Local("new"), "/f"});
    EXPECT_EQ("their content", ContentOf("/f"));
}

TEST_F(DeltaCommandTest, PutReportsMissingFilesAndItems) {
    ExpectFailure(8, "the local file does not exist (2)", {"put", "--delta", Local("none"), Local("new"), "/f"});
    ExpectFailure(8, "the local file does not exist (2)", {"put", "--delta", Local("old"), Local("none"), "/f"});
    ExpectFailure(5, "(21002)", {"put", "--delta", Local("old"), Local("new"), "/none"});
    OutputOf({"mkdir", "/folder"});
    ExpectFailure(6, "/folder: it is a folder", {"put", "--delta", Local("old"), Local("new"), "/folder"});
}

TEST_F(DeltaCommandTest, AsyncPutWaitsAndCommits) {
    const ProcessResult result = Quillmark({"put", "--async-delta", Local("old"), Local("new"), "/f"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("/f\n", result.output);
    EXPECT_NE(std::string::npos, result.errors.find(" bytes for a file of 3000019 bytes\n")) << result.errors;
    EXPECT_LT(BytesReceived(), 20'000u);
    EXPECT_TRUE(ContentOf("/f") == after);
}

// The commit's path has the job's identifier, which nobody knows before: the second request below it that changes
// something is the commit, the first one starts the job.
TEST_F(DeltaCommandTest, AsyncPutWhoseCommitsAnswerWasLostHasSucceeded) {
    Server().AddFaults(
        {{{"method", "POST"}, {"path", "/api/1.7/asdelta/"}, {"match", "prefix"}, {"kind", "delay"}},
         {{"method", "POST"}, {"path", "/api/1.7/asdelta/"}, {"match", "prefix"}, {"kind", "end"}, {"at", "in-body"}}});
    const ProcessResult result =
        Quillmark({"--retries", "2", "put", "--async-delta", Local("old"), Local("new"), "/f"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_TRUE(ContentOf("/f") == after);
}

TEST_F(DeltaCommandTest, ACancellationWhoseAnswerWasLostHasSucceeded) {
    const std::string job = StartJob();
    StateOf(job);
    Server().AddFaults({{"method", "DELETE"}, {"path", "/api/1.7/asdelta/" + job}, {"kind", "end"}, {"at", "in-body"}});
    const ProcessResult result = Quillmark({"--retries", "2", "delta-jobs", "cancel", job});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_EQ(job + "\tunknown\n", StateOf(job));
}

TEST_F(DeltaCommandTest, CtrlCWhileTheServerIsAtWorkNamesTheJob) {
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/asdelta/status"}, {"kind", "stall"}, {"ms", 600'000}});
    Process process(Command({"put", "--async-delta", Local("old"), Local("new"), "/f"}), Local("out"), Local("err"),
                    HomeEnvironment());
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (Server().UnusedFaults() != 0 && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    process.Signal(SIGINT);
    EXPECT_EQ(7, process.Wait());
    const std::string errors = Read(Local("err"));
    const std::regex named(
        "The server keeps the job ([0-9A-F-]{36}): 'quillmark delta-jobs' commits or cancels it\\.\n");
    std::smatch job;
    ASSERT_TRUE(std::regex_search(errors, job, named)) << errors;
    EXPECT_EQ("", OutputOf({"delta-jobs", "cancel", job[1]}));
}

TEST_F(DeltaCommandTest, AJobWaitsForItsCommit) {
    const std::string job = StartJob();
    EXPECT_EQ(job + "\tpending-commit\n", StateOf(job));
    EXPECT_TRUE(ContentOf("/f") == before);
    EXPECT_EQ("", OutputOf({"delta-jobs", "commit", job, Local("new")}));
    EXPECT_TRUE(ContentOf("/f") == after);
    EXPECT_EQ(job + "\tunknown\n", StateOf(job));
}

TEST_F(DeltaCommandTest, ACommitWhoseAnswerWasLostHasSucceeded) {
    const std::string job = StartJob();
    StateOf(job);
    Server().AddFaults({{"method", "POST"}, {"path", "/api/1.7/asdelta/" + job}, {"kind", "end"}, {"at", "in-body"}});
    const ProcessResult result = Quillmark({"--retries", "2", "delta-jobs", "commit", job, Local("new")});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/asdelta/" + job));
    EXPECT_TRUE(ContentOf("/f") == after);
}

TEST_F(DeltaCommandTest, ACommitThatDidNotHappenIsRepeated) {
    const std::string job = StartJob();
    StateOf(job);
    Server().AddFaults({{"method", "POST"},
                        {"path", "/api/1.7/asdelta/" + job},
                        {"kind", "reply"},
                        {"status", 502},
                        {"body", "busy"}});
    const ProcessResult result = Quillmark({"--retries", "2", "delta-jobs", "commit", job, Local("new")});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_TRUE(ContentOf("/f") == after);
}

TEST_F(DeltaCommandTest, ACancelledJobLeavesTheItem) {
    const std::string job = StartJob();
    EXPECT_EQ("", OutputOf({"delta-jobs", "cancel", job}));
    EXPECT_EQ(job + "\tunknown\n", StateOf(job));
    ExpectFailure(5, "(21002)", {"delta-jobs", "commit", job, Local("new")});
    ExpectFailure(5, "(21002)", {"delta-jobs", "cancel", job});
    EXPECT_TRUE(ContentOf("/f") == before);
}

TEST_F(DeltaCommandTest, StatesOfSeveralJobsComeInTheOrderOfTheArguments) {
    const std::string job = StartJob();
    const std::string none = "00000000-0000-0000-0000-00000000ABCD";
    StateOf(job);
    EXPECT_EQ(none + "\tunknown\n" + job + "\tpending-commit\n", OutputOf({"delta-jobs", "state", none, job}));
}

TEST_F(DeltaCommandTest, ACommitOfAChangedItemIsRefused) {
    const std::string job = StartJob();
    StateOf(job);
    ASSERT_EQ(0, Quillmark({"put", Write("theirs", "their content"), "/f"}).exitCode);
    ExpectFailure(6, "(21077)", {"delta-jobs", "commit", job, Local("new")});
    EXPECT_EQ("their content", ContentOf("/f"));
}

TEST_F(DeltaCommandTest, ACommitWithAFileOfAnotherSizeIsRefused) {
    const std::string job = StartJob();
    StateOf(job);
    ExpectFailure(8, "(21020)", {"delta-jobs", "commit", job, Local("old")});
}

TEST_F(DeltaCommandTest, WhatIsNoIdentifierIsRefused) {
    ExpectFailure(2, "is not a job's identifier", {"delta-jobs", "state", "job"});
    ExpectFailure(2, "is not a job's identifier", {"delta-jobs", "cancel", "job"});
    ExpectFailure(2, "is not a job's identifier", {"delta-jobs", "commit", "job", Local("new")});
}

TEST_F(DeltaCommandTest, GetFetchesOnlyWhatDiffers) {
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("new"), "/f"}).exitCode);
    Server().ResetStatistics();
    const ProcessResult result = Quillmark({"get", "--delta", Local("old"), "/f", Local("back")});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(Local("back") + "\n", result.output);
    EXPECT_NE(std::string::npos, result.errors.find(" bytes for a file of 3000019 bytes\n")) << result.errors;
    EXPECT_LT(BytesSent(), 20'000u);
    EXPECT_TRUE(Read(Local("back")) == after);
    EXPECT_TRUE(Read(Local("old")) == before);
}

TEST_F(DeltaCommandTest, GetMayReplaceItsBaseAndRestoresTheTimes) {
    ASSERT_EQ(0, Process::Run({"touch", "-d", "2001-02-03T04:05:06.789Z", Local("new")}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", "-q", Local("new"), "/f"}).exitCode);
    ASSERT_EQ(0, Quillmark({"get", "-q", "--delta", Local("old"), "/f", Local("old")}).exitCode);
    EXPECT_TRUE(Read(Local("old")) == after);
    EXPECT_EQ("2001-02-03 04:05:06.789000000 +0000\n",
              Process::Run({"stat", "-c", "%y", Local("old")}, {{"TZ", "UTC"}}).output);
}

TEST_F(DeltaCommandTest, GetTakesAnEmptyBase) {
    Write("empty", "");
    EXPECT_EQ(0, Quillmark({"get", "-q", "--delta", Local("empty"), "/f", Local("back")}).exitCode);
    EXPECT_TRUE(Read(Local("back")) == before);
}

TEST_F(DeltaCommandTest, GetLeavesTheTargetWhenTheAnswerIsNoDelta) {
    const std::string target = Write("folder/f", "as it was");
    Server().AddFaults({{"method", "POST"},
                        {"path", "/api/1.7/delta/f"},
                        {"kind", "reply"},
                        {"status", 200},
                        {"content_type", "application/octet-stream"},
                        {"body", "not what was asked for"}});
    ExpectFailure(9, "(13)", {"get", "--delta", Local("old"), "/f", target});
    EXPECT_EQ("as it was", Read(target));
    EXPECT_EQ(std::vector<std::string>{"f"}, NamesIn(Local("folder")));
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(DeltaCommandTest, GetReportsMissingFilesAndItems) {
    ExpectFailure(8, "the local file does not exist (2)", {"get", "--delta", Local("none"), "/f", Local("back")});
    ExpectFailure(5, "(21002)", {"get", "--delta", Local("old"), "/none", Local("back")});
    ExpectFailure(8, "the local folder does not exist (3)",
                  {"get", "--delta", Local("old"), "/f", Local("no/folder/back")});
}

TEST_F(DeltaCommandTest, LeavesNoTemporaryFiles) {
    std::filesystem::create_directories(Local("tmp"));
    const Process::Environment environment = {{"TMPDIR", Local("tmp")}};
    ASSERT_EQ(0, Quillmark({"put", "-q", "--delta", Local("old"), Local("new"), "/f"}, environment).exitCode);
    ASSERT_EQ(0, Quillmark({"get", "-q", "--delta", Local("old"), "/f", Local("back")}, environment).exitCode);
    ASSERT_EQ(5, Quillmark({"put", "--delta", Local("old"), Local("new"), "/none"}, environment).exitCode);
    EXPECT_TRUE(NamesIn(Local("tmp")).empty());
}

TEST_F(DeltaCommandTest, AnOlderServerIsNotAskedForAJob) {
    StartServer({"--no-sync", "--api", "1.6"});
    ASSERT_EQ(0, Quillmark({"login", Server().HttpUrl(), "--user", "anna"}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", Local("old"), "/f"}).exitCode);
    ExpectFailure(2, "(87)", {"put", "--async-delta", Local("old"), Local("new"), "/f"});
}

}  // namespace
}  // namespace quillmark::testing
