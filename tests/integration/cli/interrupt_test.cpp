// Ctrl-C in the middle of a transfer.
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

#include "integration/cancel/StalledServer.h"
#include "integration/cli/CliTest.h"
#include "integration/cli/Facts.h"
#include "integration/cli/LongestEnd.h"

namespace quillmark::testing {
namespace {

using Clock = std::chrono::steady_clock;

class InterruptTest : public CliTest {
protected:
    // A server that stops in the middle of the one request, and a session for it.
    void Start(Stall stall) {
        m_server = std::make_unique<StalledServer>(std::move(stall));
        Write("home/session",
              "quillmark session 1\nserver " + m_server->Url() + "\nuser anna\ndevice d\ntoken T0KEN\n");
    }
    // Runs the command until it is held up, interrupts it there; the exit code.
    int InterruptWhenHeldUp(const Arguments& arguments, int signal = SIGINT) {
        Process process(Command(arguments), Local("out"), Local("err"), HomeEnvironment());
        EXPECT_TRUE(m_server->AwaitStall());
        const Clock::time_point sent = Clock::now();
        process.Signal(signal);
        const int exitCode = process.Wait();
        EXPECT_LT(std::chrono::duration<double>(Clock::now() - sent).count(), LongestEnd);
        return exitCode;
    }

private:
    std::unique_ptr<StalledServer> m_server;
};

TEST_F(InterruptTest, EndsAListing) {
    Start({.request = "GET /api/1.7/folders/"});
    EXPECT_EQ(7, InterruptWhenHeldUp({"ls"}));
    EXPECT_EQ("quillmark: cancelled\n", Read(Local("err")));
}

TEST_F(InterruptTest, EndsAnUploadWithAWordOfIt) {
    Start({.request = "POST /api/1.7/folders/item", .readsRequest = false});
    const std::string file = Write("file", std::string(30'000'000, 'x'));
    EXPECT_EQ(7, InterruptWhenHeldUp({"put", file, "/item"}));
    EXPECT_EQ(
        "1 file is left; the same command goes on where it stopped\n"
        "0 files, 0 folders, 0 bytes, 0 skipped, 0 failed, cancelled\n",
        Facts(Read(Local("err"))));
}

TEST_F(InterruptTest, SaysWhatOfSeveralItemsIsLeft) {
    Start({.request = "DELETE /api/1.7/folders/b"});
    EXPECT_EQ(7, InterruptWhenHeldUp({"rm", "-r", "/a", "/b", "/c"}));
    EXPECT_EQ("quillmark: cancelled after 1 of 3; repeat the command for /b, /c\n", Read(Local("err")));
}

// Every command that does the same to several items says it in the same way.
TEST_F(InterruptTest, EveryCommandOverSeveralPathsSaysWhatIsLeft) {
    for (const Arguments& command : std::vector<Arguments>{{"mkdir"}, {"touch"}, {"lock"}, {"unlock"}, {"rm", "-r"}}) {
        Start({.request = "", .count = 1});
        Arguments arguments = command;
        arguments.insert(arguments.end(), {"/a", "/b"});
        EXPECT_EQ(7, InterruptWhenHeldUp(arguments)) << command.front();
        EXPECT_EQ("quillmark: cancelled after 0 of 2; repeat the command for /a, /b\n", Read(Local("err")))
            << command.front();
    }
}

TEST_F(InterruptTest, SaysWhichJobsAreLeft) {
    const std::string first = "0F8FAD5B-D9CB-469F-A165-70867728950E";
    const std::string second = "1F8FAD5B-D9CB-469F-A165-70867728950E";
    Start({.request = ""});
    EXPECT_EQ(7, InterruptWhenHeldUp({"delta-jobs", "cancel", first, second}));
    EXPECT_EQ("quillmark: cancelled after 0 of 2; repeat the command for " + first + ", " + second + "\n",
              Read(Local("err")));
}

TEST_F(InterruptTest, SaysHowToFindOutWhetherAMoveHappened) {
    Start({.request = "POST /api/1.7/folders/a"});
    EXPECT_EQ(7, InterruptWhenHeldUp({"mv", "/a", "/b"}));
    EXPECT_EQ("quillmark: cancelled; whether /a was moved, 'quillmark ls' shows\n", Read(Local("err")));
}

TEST_F(InterruptTest, EndsThePauseBeforeARepetition) {
    StartAndLogin();
    Server().AddFaults({{"method", "GET"},
                        {"path", "/api/1.7/folders/"},
                        {"kind", "reply"},
                        {"status", 503},
                        {"body", "busy"},
                        {"count", 100}});
    // The pauses grow: behind the fifth line is one of four seconds or more.
    Process process(Command({"--retries", "50", "ls"}), Local("out"), Local("err"), HomeEnvironment());
    const Clock::time_point limit = Clock::now() + std::chrono::minutes(1);
    while (Read(Local("err")).find("(5 of 50)") == std::string::npos && Clock::now() < limit) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const Clock::time_point sent = Clock::now();
    process.Signal(SIGINT);
    EXPECT_EQ(7, process.Wait());
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - sent).count(), LongestEnd);
    EXPECT_TRUE(Read(Local("err")).ends_with("quillmark: cancelled\n")) << Read(Local("err"));
}

TEST_F(InterruptTest, ARequestToTerminateCountsAsWell) {
    Start({.request = "GET /api/1.7/folders/"});
    EXPECT_EQ(7, InterruptWhenHeldUp({"ls"}, SIGTERM));
}

// What waits for nothing that can be cancelled, as for a pipe that nobody opens, the second Ctrl-C ends.
TEST_F(InterruptTest, TheSecondOneLeavesAtOnce) {
    StartAndLogin();
    const std::string pipe = Local("pipe");
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    Process process(Command({"stats", "--file", pipe}), Local("out"), Local("err"), HomeEnvironment());
    // Equal signals that wait to be taken become one: the second one goes out as long as the program runs. Before it
    // catches them the first one would end it with another code.
    const std::string status = "/proc/" + std::to_string(process.Id()) + "/status";
    const Clock::time_point limit = Clock::now() + std::chrono::minutes(1);
    while (Read(status).find("SigBlk:\t0000000000004002") == std::string::npos && Clock::now() < limit) {
        std::this_thread::yield();
    }
    const Clock::time_point sent = Clock::now();
    while (process.IsRunning() && Clock::now() - sent < std::chrono::seconds(30)) {
        process.Signal(SIGINT);
        std::this_thread::yield();
    }
    EXPECT_EQ(7, process.Wait());
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - sent).count(), LongestEnd);
}

}  // namespace
}  // namespace quillmark::testing
