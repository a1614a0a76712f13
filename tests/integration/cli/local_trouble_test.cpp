// What happens to a download when its disk or its folder fails it.
#include <filesystem>
#include <thread>

#include "integration/cli/Await.h"
#include "integration/cli/TransferTreeTest.h"

namespace quillmark::testing {
namespace {

class LocalTroubleTest : public TransferTreeTest {
protected:
    static constexpr std::size_t Size = 10'000'000;
    void PutItem() { ASSERT_EQ(0, Quillmark({"put", "-q", Write("file", Noise(Size)), "/f"}).exitCode); }
    // The contents stand still in the middle for that long; the first GET asks for the item's record.
    void HoldUp(int milliseconds) {
        Server().AddFaults(
            nlohmann::json::array({{{"method", "GET"}, {"path", "/api/1.7/folders/f"}, {"kind", "delay"}, {"ms", 0}},
                                   {{"method", "GET"},
                                    {"path", "/api/1.7/folders/f"},
                                    {"kind", "stall"},
                                    {"after", 6'000'000},
                                    {"ms", milliseconds}}}));
    }
};

TEST_F(LocalTroubleTest, AFullDiskIsNamedAndTheOldFileStays) {
    PutItem();
    std::filesystem::create_directories(Local("disk"));
    // A disk of four MiB, in a name space of its own.
    const std::string script = "mount -t tmpfs -o size=4m tmpfs '" + Local("disk") + "' || exit 77; echo old > '" +
                               Local("disk/f") + "'; \"$@\"; result=$?; cat '" + Local("disk/f") + "'; exit $result";
    std::vector<std::string> command = {"unshare", "-rm", "bash", "-c", script, "bash"};
    const Arguments get = Command({"get", "-q", "/f", Local("disk/f")});
    command.insert(command.end(), get.begin(), get.end());
    const ProcessResult result = Process::Run(command, HomeEnvironment());
    if (result.exitCode == 77 || result.errors.starts_with("unshare: ")) {
        GTEST_SKIP() << "no disk of its own can be had here: " << result.errors;
    }
    EXPECT_EQ(8, result.exitCode) << result.errors;
    EXPECT_EQ("old\n", result.output);
    EXPECT_NE(std::string::npos, result.errors.find("the local disk is full (112)")) << result.errors;
}

TEST_F(LocalTroubleTest, AFolderThatIsRemovedMeanwhileIsNamed) {
    PutItem();
    std::filesystem::create_directories(Local("folder"));
    HoldUp(3000);
    Process process(Command({"get", "-q", "/f", Local("folder/f")}), Local("out"), Local("err"), HomeEnvironment());
    ASSERT_TRUE(Await([this] {
        std::error_code missing;
        return std::filesystem::file_size(Local("folder/f.quillmark-part"), missing) > 5'000'000 && !missing;
    }));
    std::filesystem::remove_all(Local("folder"));
    EXPECT_EQ(8, process.Wait());
    EXPECT_EQ("failed: /f to " + Local("folder/f") +
                  ": the local folder does not exist (3)\n0 files, 0 folders, 0 bytes, 0 skipped, 1 failed\n",
              Facts(Read(Local("err"))));
}

TEST_F(LocalTroubleTest, ATargetThatIsRemovedMeanwhileComesBack) {
    PutItem();
    Write("folder/f", "old");
    HoldUp(1000);
    Process process(Command({"get", "-q", "/f", Local("folder/f")}), Local("out"), Local("err"), HomeEnvironment());
    ASSERT_TRUE(Await([this] { return std::filesystem::exists(Local("folder/f.quillmark-part")); }));
    std::filesystem::remove(Local("folder/f"));
    EXPECT_EQ(0, process.Wait()) << Read(Local("err"));
    EXPECT_TRUE(Read(Local("folder/f")) == Noise(Size));
}

}  // namespace
}  // namespace quillmark::testing
