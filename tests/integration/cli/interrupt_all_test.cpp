// Ctrl-C once ends every command that talks to a server within a second: while it connects, in the discovery, and while
// it waits for the reply to its own first request.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

#include "integration/cancel/Connecting.h"
#include "integration/cancel/StalledServer.h"
#include "integration/cli/CliTest.h"
#include "integration/cli/LongestEnd.h"

namespace quillmark::testing {
namespace {

using Clock = std::chrono::steady_clock;

struct Interrupted {
    std::string command;  // its words, with blanks between; SERVER and FILE stand for what they say
    int whileAsking = 7;  // the exit code once it asks for its own: 0 where an interruption is the normal end
};

const Interrupted AllCommands[] = {{"login SERVER --user anna"},
                                   {"register SERVER --user anna --device d"},
                                   {"wipe-ack"},
                                   {"whoami"},
                                   {"doctor"},
                                   {"doctor SERVER"},
                                   {"version"},
                                   {"folders"},
                                   {"ls"},
                                   {"ls -R /d"},
                                   {"stat /f"},
                                   {"tree"},
                                   {"find --name x"},
                                   {"du"},
                                   {"cat /f"},
                                   {"mkdir /a"},
                                   {"mv /a /b"},
                                   {"mv --force /a /b"},
                                   {"rm /a"},
                                   {"rm -r /a"},
                                   {"touch /a"},
                                   {"lock /a"},
                                   {"unlock /a"},
                                   {"lock-state /a"},
                                   {"share /a --to ben"},
                                   {"stats text"},
                                   {"put FILE /a"},
                                   {"put --resumable FILE /a"},
                                   {"put --delta FILE FILE /a"},
                                   {"get /a FILE"},
                                   {"get --range 0-1 /a FILE"},
                                   {"sync FOLDER /a"},
                                   {"sync --down FOLDER /a"},
                                   {"delta-jobs state 0F8FAD5B-D9CB-469F-A165-70867728950E"},
                                   {"delta-jobs cancel 0F8FAD5B-D9CB-469F-A165-70867728950E"},
                                   {"delta-jobs commit 0F8FAD5B-D9CB-469F-A165-70867728950E FILE"},
                                   {"changes"},
                                   {"changes --follow 1"},
                                   {"watch", 0}};

class InterruptAllTest : public CliTest {
protected:
    // The command's words, against a server at this address, to which a session is kept.
    Arguments Prepare(const std::string& command, const std::string& url) {
        Write("home/session", "quillmark session 1\nserver " + url + "\nuser anna\ndevice d\ntoken T0KEN\n");
        Write("folder/file", "content");
        Arguments arguments;
        std::istringstream words(command);
        for (std::string word; words >> word;) {
            arguments.push_back(word == "SERVER"   ? url
                                : word == "FILE"   ? Write("file", "content")
                                : word == "FOLDER" ? Local("folder")
                                                   : word);
        }
        return Command(arguments);
    }
    // Interrupts the running command, once.
    void Interrupt(Process& process, const std::string& command, const std::string& phase, int exitCode = 7) {
        const Clock::time_point sent = Clock::now();
        process.Signal(SIGINT);
        EXPECT_EQ(exitCode, process.Wait()) << command << ", " << phase << "\n" << Read(Local("err"));
        EXPECT_LT(std::chrono::duration<double>(Clock::now() - sent).count(), LongestEnd) << command << ", " << phase;
        const bool said = Read(Local("err")).find("cancelled") != std::string::npos;
        EXPECT_EQ(exitCode == 7, said) << command << ", " << phase << "\n" << Read(Local("err"));
    }
    // Waits until somebody, or nobody, tries to connect besides those with which the hole is closed.
    static void AwaitConnecting(const test::BlackHole& hole, int idle, bool somebody) {
        const auto end = Clock::now() + std::chrono::seconds(30);
        while ((Connecting(hole.Port()) > idle) != somebody && Clock::now() < end) {
            std::this_thread::yield();
        }
    }
    Process Start(const Arguments& command) { return Process(command, Local("out"), Local("err"), HomeEnvironment()); }
    void InterruptStalled(const std::string& command, const std::string& request, int exitCode = 7) {
        StalledServer server({.request = request});
        Process process = Start(Prepare(command, server.Url()));
        ASSERT_TRUE(server.AwaitStall()) << command << ", " << request;
        Interrupt(process, command, request, exitCode);
    }
};

TEST_F(InterruptAllTest, WhileConnecting) {
    const test::BlackHole hole;
    const int idle = Connecting(hole.Port());
    const std::string url = "http://127.0.0.1:" + std::to_string(hole.Port());
    for (const Interrupted& expected : AllCommands) {
        AwaitConnecting(hole, idle, false);  // the kernel may still know the one before
        Process process = Start(Prepare(expected.command, url));
        AwaitConnecting(hole, idle, true);
        Interrupt(process, expected.command, "connecting");
    }
}

TEST_F(InterruptAllTest, InTheDiscovery) {
    for (const Interrupted& expected : AllCommands) {
        InterruptStalled(expected.command, "GET /endpoints");
        InterruptStalled(expected.command, "GET /api/1.7/init");
    }
}

TEST_F(InterruptAllTest, InTheReply) {
    for (const Interrupted& expected : AllCommands) {
        InterruptStalled(expected.command, "", expected.whileAsking);
    }
}

// What reads standard input has not asked the server yet. The pipe is held open by the test; when it is empty again the
// program waits for more.
TEST_F(InterruptAllTest, WhileReadingStandardInput) {
    const std::string url = "http://127.0.0.1:1";
    const std::string pipe = Local("pipe");
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    const int held = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    for (const std::string command : {"stats --file -", "login SERVER --user anna --password-file -"}) {
        Arguments shell = {"sh", "-c", "pipe=$1; shift; exec \"$@\" <\"$pipe\"", "sh", pipe};
        const Arguments words = Prepare(command, url);
        shell.insert(shell.end(), words.begin(), words.end());
        ASSERT_EQ(1, ::write(held, "x", 1));
        Process process = Start(shell);
        for (int waiting = 1; waiting != 0 && process.IsRunning();) {
            ASSERT_EQ(0, ::ioctl(held, FIONREAD, &waiting));
            std::this_thread::yield();
        }
        Interrupt(process, command, "standard input");
    }
    ::close(held);
}

}  // namespace
}  // namespace quillmark::testing
