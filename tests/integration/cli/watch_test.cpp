// quillmark watch: what other devices do, as it happens.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <regex>
#include <thread>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class WatchTest : public CliTest {
protected:
    void SetUp() override {
        StartAndLogin();
        LoginDevice("other");
    }
    Process Watch(const Arguments& arguments) {
        Arguments command = {ProgramPath("quillmark"), "--session", Local("home/other/session")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return Process(command, Local("out"), Local("err"), HomeEnvironment());
    }
    // The exit code of a watch that ends by itself; one that does not is interrupted in the end.
    static int EndOf(Process& process) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (process.IsRunning() && std::chrono::steady_clock::now() < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        process.Signal(SIGINT);
        return process.Wait();
    }
    // What was printed once it has so many lines.
    std::string Lines(long count) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        std::string text;
        do {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            text = Read(Local("out"));
        } while (std::count(text.begin(), text.end(), '\n') < count && std::chrono::steady_clock::now() < limit);
        return text;
    }
};

TEST_F(WatchTest, PrintsChangesWithTheLocalTimeAndEndsInOrderWhenInterrupted) {
    Process process = Watch({"watch", "--interval", "1"});
    OutputOf({"mkdir", "/a"});
    OutputOf({"mv", "/a", "/b"});
    const std::string lines = Lines(2);
    EXPECT_TRUE(std::regex_match(lines, std::regex("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\tcreate\t/a\n"
                                                   "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\tmove\t/a\t/b\n")))
        << lines;
    process.Signal(SIGINT);
    EXPECT_EQ(0, process.Wait());
    EXPECT_EQ("", Read(Local("err")));
}

TEST_F(WatchTest, PrintsOnlyWhatHappensInItsFolder) {
    OutputOf({"mkdir", "/a", "/ab", "/a/c", "/d"});
    OutputOf({"mv", "/d", "/a/d"});
    Process process = Watch({"--json", "watch", "/a/"});
    const std::string lines = std::regex_replace(Lines(3), std::regex("\"time\":\"[^\"]*Z\""), "\"time\":\"*\"");
    EXPECT_EQ(
        "{\"time\":\"*\",\"action\":\"create\",\"path\":\"/a\",\"to\":null}\n"
        "{\"time\":\"*\",\"action\":\"create\",\"path\":\"/a/c\",\"to\":null}\n"
        "{\"time\":\"*\",\"action\":\"move\",\"path\":\"/d\",\"to\":\"/a/d\"}\n",
        lines);
    process.Signal(SIGTERM);
    EXPECT_EQ(0, process.Wait());
}

TEST_F(WatchTest, EndsWithAFailureWhenTheLoginIsGone) {
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/notifs"}, {"kind", "expire-token"}});
    Process process = Watch({"--retries", "0", "watch"});  // no new login
    EXPECT_EQ(4, EndOf(process));
    EXPECT_NE(std::string::npos, Read(Local("err")).find("quillmark: cannot get the changes: "));
}

}  // namespace
}  // namespace quillmark::testing
