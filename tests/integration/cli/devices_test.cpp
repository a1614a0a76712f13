// Two devices of one user: quillmark changes, lock, unlock, lock-state.
#include <chrono>
#include <csignal>
#include <thread>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class DevicesTest : public CliTest {
protected:
    void SetUp() override {
        StartAndLogin();
        LoginDevice("other");
    }
    std::string ChangesOf(const std::string& device) {
        const ProcessResult result = QuillmarkAs(device, {"changes"});
        EXPECT_EQ(0, result.exitCode) << result.errors;
        return result.output;
    }
    void ExpectRefusal(const Arguments& arguments) {
        const ProcessResult result = QuillmarkAs("other", arguments);
        EXPECT_EQ(6, result.exitCode) << result.errors;
        EXPECT_NE(std::string::npos, result.errors.find("another user or device has locked the item (21030)"))
            << result.errors;
    }
};

TEST_F(DevicesTest, ChangesTellsWhatTheOtherOneDid) {
    const std::string file = Write("file", "content");
    OutputOf({"mkdir", "/folder"});
    ASSERT_EQ(0, Quillmark({"put", file, "/folder/a"}).exitCode);
    OutputOf({"mv", "/folder/a", "/folder/b"});
    OutputOf({"mv", "/folder/b", "/c"});
    OutputOf({"touch", "/c"});
    OutputOf({"rm", "/c"});
    EXPECT_EQ(
        "create\t/folder\n"
        "upload\t/folder/a\n"
        "move\t/folder/a\t/folder/b\n"
        "move\t/folder/b\t/c\n"
        "update\t/c\t/c\n"
        "delete\t/c\n",
        ChangesOf("other"));
    EXPECT_EQ("", ChangesOf("other")) << "each is told once";
    EXPECT_EQ("", OutputOf({"changes"})) << "and its own to nobody";
}

TEST_F(DevicesTest, ChangesWritesNamesSoThatLinesStayLines) {
    OutputOf({"mkdir", "/a\tb\nc\\d"});
    EXPECT_EQ("create\t/a\\tb\\nc\\\\d\n", ChangesOf("other"));
}

TEST_F(DevicesTest, ChangesFollowsUntilItIsInterrupted) {
    Process process({ProgramPath("quillmark"), "--session", Local("home/other/session"), "changes", "--follow", "1"},
                    Local("out"), Local("err"), HomeEnvironment());
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    const auto await = [&](const std::string& text) {
        while (Read(Local("out")) != text && std::chrono::steady_clock::now() < limit) {
            std::this_thread::yield();
        }
        EXPECT_EQ(text, Read(Local("out")));
    };
    OutputOf({"mkdir", "/one"});
    await("create\t/one\n");
    OutputOf({"mkdir", "/two"});
    await("create\t/one\ncreate\t/two\n");
    process.Signal(SIGINT);
    EXPECT_EQ(7, process.Wait());
}

TEST_F(DevicesTest, ALockKeepsTheOtherOneOut) {
    const std::string file = Write("file", "content");
    ASSERT_EQ(0, Quillmark({"put", file, "/f"}).exitCode);
    EXPECT_EQ("unlocked\n", OutputOf({"lock-state", "/f"}));
    EXPECT_EQ("", OutputOf({"lock", "/f"}));
    EXPECT_EQ("locked\n", OutputOf({"lock-state", "/f"}));
    ExpectRefusal({"put", file, "/f"});
    ExpectRefusal({"put", "--resumable", file, "/f"});
    ExpectRefusal({"rm", "/f"});
    ExpectRefusal({"mv", "/f", "/g"});
    ExpectRefusal({"touch", "/f"});
    ExpectRefusal({"lock", "/f"});
    ExpectRefusal({"unlock", "/f"});
    EXPECT_EQ(0, Quillmark({"put", file, "/f"}).exitCode);
    EXPECT_EQ("", OutputOf({"lock", "--seconds", "600", "/f"})) << "taken for longer";
    EXPECT_EQ("", OutputOf({"unlock", "/f"}));
    EXPECT_EQ("unlocked\n", OutputOf({"lock-state", "/f"}));
    EXPECT_EQ(0, QuillmarkAs("other", {"rm", "/f"}).exitCode);
}

TEST_F(DevicesTest, ALockEndsByItself) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", "content"), "/f"}).exitCode);
    EXPECT_EQ("", OutputOf({"lock", "--seconds", "1", "/f"}));
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    int exitCode = 0;
    do {
        exitCode = QuillmarkAs("other", {"touch", "/f"}).exitCode;
    } while (exitCode != 0 && std::chrono::steady_clock::now() < limit);
    EXPECT_EQ(0, exitCode);
}

TEST_F(DevicesTest, LocksOfWhatIsNotThereAreNotFound) {
    ExpectFailure(5, "(21002)", {"lock", "/none"});
    ExpectFailure(5, "(21002)", {"unlock", "/none"});
    ExpectFailure(5, "(21002)", {"lock-state", "/none"});
}

TEST_F(DevicesTest, UnlockOfSeveralGoesOnAfterAFailure) {
    const std::string file = Write("file", "content");
    ASSERT_EQ(0, Quillmark({"put", file, "/f"}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", file, "/g"}).exitCode);
    OutputOf({"lock", "/g"});
    ExpectFailure(1, "cannot unlock /f", {"unlock", "/f", "/g"});
    EXPECT_EQ("unlocked\n", OutputOf({"lock-state", "/g"}));
}

}  // namespace
}  // namespace quillmark::testing
