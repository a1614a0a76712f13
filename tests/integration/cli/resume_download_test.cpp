// Downloads that end early: what is kept, what goes on, and what never comes together. Interrupted transfers of trees.
#include <csignal>
#include <fstream>
#include <thread>

#include "integration/cli/LongestEnd.h"
#include "integration/cli/TransferTreeTest.h"

namespace quillmark::testing {
namespace {

using Clock = std::chrono::steady_clock;

class ResumeDownloadTest : public TransferTreeTest {
protected:
    static constexpr std::size_t Size = 6'000'000;
    static constexpr const char* Item = "/api/1.7/folders/f";

    // The item /f with these contents.
    void PutItem(std::uint32_t seed = 1, std::size_t size = Size) {
        ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", Noise(size, seed)), "/f"}).exitCode);
    }
    // The second GET of the item, which fetches its contents, meets this fault.
    void FaultAtContents(nlohmann::json fault) {
        fault["method"] = "GET";
        fault["path"] = Item;
        Server().AddFaults(
            nlohmann::json::array({{{"method", "GET"}, {"path", Item}, {"kind", "delay"}, {"ms", 0}}, fault}));
    }
    [[nodiscard]] std::string Target() const { return Local("folder/f"); }
    [[nodiscard]] std::string Part() const { return Target() + ".quillmark-part"; }
    [[nodiscard]] Arguments Get(const Arguments& more = {}) const {
        Arguments arguments = {"get", "-q", "/f", Target()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    // Starts the download, which stands still in the middle, and waits until so much of it is there.
    Process StartHeldUp() {
        Write("folder/f", "old");
        FaultAtContents({{"kind", "stall"}, {"after", 3'000'000}, {"ms", 60'000}});
        Process process(Command(Get()), Local("out"), Local("err"), HomeEnvironment());
        EXPECT_TRUE(Await([this] {
            std::error_code missing;
            return std::filesystem::exists(Part()) && std::filesystem::file_size(Part(), missing) >= 2'000'000;
        }));
        return process;
    }
    static bool Await(const std::function<bool()>& holds) {
        const auto limit = Clock::now() + std::chrono::minutes(1);
        while (!holds()) {
            if (Clock::now() > limit) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }
    // The bytes that the server sends for a command.
    std::uint64_t SentFor(const Arguments& arguments) {
        Server().ResetStatistics();
        EXPECT_EQ(0, Quillmark(arguments).exitCode);
        return Server().Statistics()["sent"].get<std::uint64_t>();
    }
    void ExpectComplete(std::uint32_t seed = 1) {
        EXPECT_TRUE(Read(Target()) == Noise(Size, seed));
        EXPECT_EQ(std::vector<std::string>{"f"}, NamesIn(Local("folder")));
    }
};

TEST_F(ResumeDownloadTest, ALostConnectionGoesOnWithinTheCommand) {
    PutItem();
    Write("folder/f", "old");
    FaultAtContents({{"kind", "end"}, {"at", "in-body"}, {"after", 4'000'000}});
    Server().ResetStatistics();
    const ProcessResult result = Quillmark({"get", "--retries", "5", "/f", Target()});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_NE(std::string::npos, result.errors.find("trying again")) << result.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_LT(Server().Statistics()["sent"].get<std::uint64_t>(), Size - 4'000'000 + 100'000)
        << "what is booked, after the one that was cut off, is the rest";
    ExpectComplete();
}

TEST_F(ResumeDownloadTest, WhatHasComeIsKeptAndTheNextGetGoesOn) {
    PutItem();
    Write("folder/f", "old");
    FaultAtContents({{"kind", "end"}, {"at", "in-body"}, {"after", 4'000'000}});
    const ProcessResult result = Quillmark(Get({"--retries", "0"}));
    EXPECT_EQ(3, result.exitCode);
    EXPECT_NE(std::string::npos,
              result.errors.find("4000000 bytes of it are kept; the same command goes on from there"))
        << result.errors;
    EXPECT_EQ("old", Read(Target()));
    EXPECT_EQ((std::vector<std::string>{"f", "f.quillmark-part", "f.quillmark-part-of"}), NamesIn(Local("folder")));
    const std::uint64_t sent = SentFor(Get());
    EXPECT_GE(sent, Size - 4'000'000);
    EXPECT_LT(sent, Size - 4'000'000 + 100'000);
    ExpectComplete();
}

TEST_F(ResumeDownloadTest, ProgressRenewsTheAttempts) {
    PutItem();
    Write("folder/f", "old");
    nlohmann::json rules = nlohmann::json::array({{{"method", "GET"}, {"path", Item}, {"kind", "delay"}, {"ms", 0}}});
    for (int cut = 0; cut < 4; ++cut) {
        rules.push_back({{"method", "GET"}, {"path", Item}, {"kind", "end"}, {"at", "in-body"}, {"after", 1'000'000}});
    }
    Server().AddFaults(rules);
    EXPECT_EQ(0, Quillmark(Get({"--retries", "1"})).exitCode);
    EXPECT_EQ(0u, Server().UnusedFaults());
    ExpectComplete();
}

TEST_F(ResumeDownloadTest, CtrlCKeepsThePartAndTheNextGetGoesOn) {
    PutItem();
    Process process = StartHeldUp();
    const Clock::time_point sent = Clock::now();
    process.Signal(SIGINT);
    EXPECT_EQ(7, process.Wait());
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - sent).count(), LongestEnd);
    EXPECT_EQ(
        "1 file is left; the same command goes on where it stopped\n"
        "0 files, 0 folders, 0 bytes, 0 skipped, 0 failed, cancelled\n",
        Facts(Read(Local("err"))));
    EXPECT_EQ("old", Read(Target()));
    EXPECT_LT(SentFor(Get()), Size - 2'000'000 + 100'000);
    ExpectComplete();
}

TEST_F(ResumeDownloadTest, AKilledProgramsPartIsGoneOnWith) {
    PutItem();
    Process process = StartHeldUp();
    process.Signal(SIGKILL);
    process.Wait();
    EXPECT_EQ("old", Read(Target()));
    EXPECT_LT(SentFor(Get()), Size - 2'000'000 + 100'000);
    ExpectComplete();
}

TEST_F(ResumeDownloadTest, APartOfAnotherRevisionIsNeverUsed) {
    PutItem(1);
    Process process = StartHeldUp();
    process.Signal(SIGKILL);
    process.Wait();
    PutItem(2);
    EXPECT_GT(SentFor(Get()), Size);
    ExpectComplete(2);
}

TEST_F(ResumeDownloadTest, AnItemThatChangesBetweenTwoPiecesIsFetchedAnew) {
    PutItem(1);
    Write("folder/f", "old");
    FaultAtContents({{"kind", "end"}, {"at", "in-body"}, {"after", 4'000'000}});
    // The request for the rest meets another revision of the item, whose contents are the same.
    Server().AddFaults({{"method", "GET"}, {"path", Item}, {"kind", "stale-revision"}});
    Server().ResetStatistics();
    EXPECT_EQ(0, Quillmark(Get({"--retries", "5"})).exitCode);
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_GT(Server().Statistics()["sent"].get<std::uint64_t>(), Size) << "from its beginning";
    ExpectComplete(1);
}

TEST_F(ResumeDownloadTest, ADamagedRecordBeginsAnew) {
    PutItem();
    Write("folder/f", "old");
    Write("folder/f.quillmark-part", Noise(3'000'000, 9));
    Write("folder/f.quillmark-part-of", "quillmark part 1\nserver");
    EXPECT_EQ(0, Quillmark(Get()).exitCode);
    ExpectComplete();
}

TEST_F(ResumeDownloadTest, APartThatIsWholeOnlyNeedsItsName) {
    PutItem();
    Process process = StartHeldUp();
    process.Signal(SIGKILL);
    process.Wait();
    std::ofstream(Part(), std::ios::binary) << Noise(Size, 1);
    EXPECT_LT(SentFor(Get()), 100'000u);
    ExpectComplete();
}

TEST_F(ResumeDownloadTest, SmallFilesLeaveNothingBehind) {
    PutItem(1, 1'000'000);
    Write("folder/f", "old");
    FaultAtContents({{"kind", "end"}, {"at", "in-body"}, {"after", 500'000}});
    EXPECT_EQ(3, Quillmark(Get({"--retries", "0"})).exitCode);
    EXPECT_EQ(std::vector<std::string>{"f"}, NamesIn(Local("folder")));
    EXPECT_EQ("old", Read(Target()));
}

TEST_F(ResumeDownloadTest, ALostConnectionInTheMiddleOfATreeIsNoFailure) {
    for (int index = 0; index < 20; ++index) {
        Write("tree/" + std::to_string(index), Noise(50'000, static_cast<std::uint32_t>(index)));
    }
    Server().AddFaults(nlohmann::json::array(
        {{{"method", "POST"},
          {"path", "/api/1.7/folders/copy/3"},
          {"kind", "reset"},
          {"at", "in-request"},
          {"after", 100}},
         {{"method", "POST"}, {"path", "/api/1.7/folders/copy/7"}, {"kind", "end"}, {"at", "after-work"}},
         {{"method", "POST"}, {"path", "/api/1.7/folders/copy/9"}, {"kind", "reply"}, {"status", 503}}}));
    const ProcessResult up = Quillmark({"put", "--retries", "5", Local("tree"), "/copy"});
    EXPECT_EQ(0, up.exitCode) << up.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_NE(std::string::npos, up.errors.find("trying again")) << up.errors;
    EXPECT_NE(std::string::npos, up.errors.find("20 files, 1 folder, 1000000 bytes, 0 skipped, 0 failed")) << up.errors;
    Server().AddFaults(nlohmann::json::array(
        {{{"method", "GET"}, {"path", "/api/1.7/folders/copy/3"}, {"kind", "end"}, {"at", "in-body"}, {"after", 100}},
         {{"method", "GET"}, {"path", "/api/1.7/folders/copy/7"}, {"kind", "reply"}, {"status", 503}}}));
    EXPECT_EQ(0, Quillmark({"get", "-q", "--retries", "5", "/copy", Local("back")}).exitCode);
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeAt(Local("back")));
}

TEST_F(ResumeDownloadTest, CtrlCEndsAllJobsAndTheSameCommandGoesOn) {
    nlohmann::json rules = nlohmann::json::array();
    for (int index = 0; index < 20; ++index) {
        const std::string name = std::to_string(10 + index);
        const std::size_t size = index < 8 ? 200'000 : 2'000'000;  // more than arrives together with a request's head
        Write("tree/" + name, Noise(size, static_cast<std::uint32_t>(index)));
        if (index >= 8) {
            rules.push_back({{"method", "POST"},
                             {"path", "/api/1.7/folders/copy/" + name},
                             {"kind", "stall"},
                             {"direction", "request"},
                             {"after", 1'000'000},
                             {"ms", 60'000}});
        }
    }
    Server().AddFaults(rules);
    Process process(Command({"put", "--jobs", "4", Local("tree"), "/copy"}), Local("out"), Local("err"),
                    HomeEnvironment());
    EXPECT_TRUE(Await([this] { return Server().UnusedFaults() == 8; })) << "four are held up";
    const Clock::time_point sent = Clock::now();
    process.Signal(SIGINT);
    EXPECT_EQ(7, process.Wait());
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - sent).count(), LongestEnd);
    const std::string errors = Read(Local("err"));
    EXPECT_NE(std::string::npos, errors.find("the same command goes on where it stopped\n")) << errors;
    EXPECT_NE(std::string::npos, errors.find("8 files, 1 folder, 1600000 bytes, 0 skipped, 0 failed")) << errors;
    EXPECT_EQ(8u, Server().UnusedFaults()) << "nothing new began";
    Server().Kill();
    Server().Start();
    Expect(0, "", "12 files, 1 folder, 24000000 bytes, 8 skipped, 0 failed\n", {"put", "-q", Local("tree"), "/copy"});
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeOnServer("/copy"));
}

}  // namespace
}  // namespace quillmark::testing
