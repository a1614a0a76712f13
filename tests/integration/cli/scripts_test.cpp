// The scripts that a person runs: demo.sh, what it is made of, and the installation of packages.
#include <filesystem>
#include <fstream>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class ScriptsTest : public CliTest {
protected:
    // Runs a program of the repository, with temporary files in a folder of the test's own.
    ProcessResult Script(Arguments command) const {
        std::filesystem::create_directories(Local("tmp"));
        command.front() = std::string(QUILLMARK_SOURCE_FOLDER) + "/" + command.front();
        return Process::Run(command, {{"TMPDIR", Local("tmp")}});
    }
    void MakeTrees() {
        Write("one/folder/file", "same");
        std::filesystem::create_directories(Local("one/empty"));
        ASSERT_EQ(0, Process::Run({"cp", "-a", Local("one"), Local("other")}).exitCode);
    }
    ProcessResult Compare() { return Script({"scripts/demo-tree.py", "compare", Local("one"), Local("other")}); }
};

class DemoTest : public ScriptsTest {};

TEST_F(DemoTest, HelpSaysWhatItDoes) {
    const ProcessResult result = Script({"demo.sh", "--help"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(0u, result.output.find("Builds everything and shows the main job on real files")) << result.output;
    EXPECT_NE(std::string::npos, result.output.find("./demo.sh --large"));
}

TEST_F(DemoTest, RefusesAnUnknownOption) {
    const ProcessResult result = Script({"demo.sh", "--bogus"});
    EXPECT_EQ(2, result.exitCode);
    EXPECT_EQ("", result.output);
    EXPECT_NE(std::string::npos, result.errors.find("./demo.sh --large"));
}

TEST_F(DemoTest, TreesThatAreTheSameCompareAsTheSame) {
    MakeTrees();
    const ProcessResult result = Compare();
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("1 file compared: all the same\n", result.output);
}

TEST_F(DemoTest, OneByteThatDiffersIsFound) {
    MakeTrees();
    ASSERT_EQ(0, Process::Run({"sh", "-c", "printf damp > \"$0\" && touch -r \"$1\" \"$0\"", Local("other/folder/file"),
                               Local("one/folder/file")})
                     .exitCode);
    const ProcessResult result = Compare();
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("contents differ: folder/file\n", result.errors);
    EXPECT_EQ("1 file compared: 1 difference\n", result.output);
}

TEST_F(DemoTest, ADifferentTimeIsFound) {
    MakeTrees();
    ASSERT_EQ(0, Process::Run({"touch", "-d", "2001-01-01", Local("other/folder/file")}).exitCode);
    const ProcessResult result = Compare();
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ(0u, result.errors.find("times differ: folder/file: ")) << result.errors;
}

TEST_F(DemoTest, MissingFilesAndFoldersAreFound) {
    MakeTrees();
    Write("one/only here", "");
    std::filesystem::remove(Local("other/empty"));
    const ProcessResult result = Compare();
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("only in " + Local("one") + ": only here\nfolder on one side only: empty\n", result.errors);
}

// The whole of it, on this checkout.
TEST_F(DemoTest, BringsEveryByteBackAndLeavesNothingBehind) {
    const ProcessResult result = Script({"demo.sh"});
    EXPECT_EQ(0, result.exitCode) << result.output << result.errors;
    EXPECT_TRUE(result.output.ends_with("== done: every byte came back\n")) << result.output;
    EXPECT_EQ(std::vector<std::string>{}, NamesIn(Local("tmp"))) << "files left behind";
    EXPECT_NE(0, Process::Run({"pgrep", "-f", Local("tmp")}).exitCode) << "a process is left behind";
}

class PackagesTest : public ScriptsTest {};

// How many processes of that name there are.
std::string Running(const std::string& name) {
    return Process::Run({"pgrep", "-c", "-x", name}).output;
}

TEST_F(PackagesTest, LeavesNoServiceRunningAndServicesAllowed) {
    constexpr const char* Policy = "/usr/sbin/policy-rc.d";
    const bool policy = std::filesystem::exists(Policy);
    const std::string squids = Running("squid");
    const std::string nginxes = Running("nginx");
    const ProcessResult result = Script({"scripts/packages.sh", "test"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(squids, Running("squid"));
    EXPECT_EQ(nginxes, Running("nginx"));
    EXPECT_EQ(policy, std::filesystem::exists(Policy)) << "services are as much allowed as before";
}

}  // namespace
}  // namespace quillmark::testing
