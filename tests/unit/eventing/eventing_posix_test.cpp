// What the log is to this system: a file with permissions, and standard error.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "quillmark/Eventing.h"
#include "unit/eventing/LogFolder.h"

namespace quillmark {
namespace {

constexpr EventDescriptor Error{103, 0, 16, 2, 0, 2, 0x8000000000000000u};

class EventingPosixTest : public ::testing::Test {
protected:
    std::uint64_t Open() {
        const std::uint64_t context = Eventing::OpenLog(m_folder.Path("log").c_str(), 4);
        EXPECT_NE(context, 0u);
        return context;
    }
    static void Write(std::uint64_t context, const char* text) {
        Eventing::WriteMessage(context, &Error, "Source", 1, "Function", "%s", text);
    }

    LogFolder m_folder;
};

TEST_F(EventingPosixTest, MakesAFileThatItsOwnerAloneMayRead) {
    const mode_t mask = ::umask(0);
    Eventing::CloseLog(Open());
    ::umask(mask);
    struct stat status {};
    ASSERT_EQ(::stat(m_folder.Path("log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(EventingPosixTest, WritesToStandardErrorAndLeavesItOpen) {
    const int saved = ::dup(STDERR_FILENO);
    const int file = ::open(m_folder.Path("stderr").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ::dup2(file, STDERR_FILENO);
    const std::uint64_t context = Eventing::OpenLog("-", 4);
    Write(context, "text");
    Eventing::CloseLog(context);
    const bool open = ::fcntl(STDERR_FILENO, F_GETFD) >= 0;
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    ::close(file);

    EXPECT_NE(context, 0u);
    EXPECT_TRUE(open);
    const std::vector<std::string> lines = m_folder.Lines("stderr");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].ends_with("Z error 103 Source:1 Function text")) << lines[0];
}

TEST_F(EventingPosixTest, StaysOutOfTheStandardStreamsNumbers) {
    const int saved = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    const std::uint64_t context = Open();
    const bool taken = ::fcntl(STDIN_FILENO, F_GETFD) >= 0;
    if (saved >= 0) {
        ::dup2(saved, STDIN_FILENO);
        ::close(saved);
    }
    Write(context, "text");
    Eventing::CloseLog(context);
    EXPECT_FALSE(taken);
    EXPECT_EQ(m_folder.Lines("log").size(), 1u);
}

TEST_F(EventingPosixTest, IsNotInheritedByOtherPrograms) {
    const std::uint64_t context = Open();
    const pid_t child = ::fork();
    if (child == 0) {
        const std::string command =
            "for f in /proc/$$/fd/*; do readlink $f; done | grep -qx '" + m_folder.Path("log") + "' && exit 1; exit 0";
        ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    Eventing::CloseLog(context);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(EventingPosixTest, AppendsWholeRecordsFromSeveralProcesses) {
    std::vector<pid_t> children;
    for (const char letter : {'a', 'b'}) {
        const pid_t child = ::fork();
        if (child == 0) {
            const std::uint64_t context = Open();
            for (int i = 0; i < 200; ++i) {
                Write(context, std::string(100, letter).c_str());
            }
            ::_exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        ::waitpid(child, nullptr, 0);
    }
    const std::vector<std::string> lines = m_folder.Lines("log");
    EXPECT_EQ(lines.size(), 400u);
    for (const std::string& line : lines) {
        ASSERT_TRUE(line.ends_with(" Function " + std::string(100, line.back()))) << line;
    }
}

TEST_F(EventingPosixTest, LosesRecordsSilentlyWhenTheDiskIsFull) {
    const std::uint64_t context = Eventing::OpenLog("/dev/full", 4);
    ASSERT_NE(context, 0u);
    errno = 42;
    Write(context, "lost");
    EXPECT_EQ(errno, 42);
    Eventing::CloseLog(context);
}

TEST_F(EventingPosixTest, WritesThroughAFileThatWasMovedAway) {
    const std::uint64_t context = Open();
    std::filesystem::rename(m_folder.Path("log"), m_folder.Path("moved"));
    Write(context, "text");
    Eventing::CloseLog(context);
    EXPECT_EQ(m_folder.Lines("moved").size(), 1u);
}

}  // namespace
}  // namespace quillmark
