// quillmark uploads: what is not finished.
#include "integration/cli/ResumableTest.h"

namespace quillmark::testing {
namespace {

class UploadsTest : public ResumableTest {
protected:
    void SetUp() override {
        ResumableTest::SetUp();
        WriteFile(Noise(5 * ChunkSize));
    }
    // The identifier at the beginning of the one line.
    [[nodiscard]] std::string Id() const { return OutputOf({"uploads"}).substr(0, 36); }
};

TEST_F(UploadsTest, ListsNothingWhenNothingWaits) {
    EXPECT_EQ("", OutputOf({"uploads"}));
    EXPECT_EQ("", OutputOf({"uploads", "state"}));
}

TEST_F(UploadsTest, ListsIdentifierSizeAndPaths) {
    SendPart(2);
    const std::string line = OutputOf({"uploads"});
    EXPECT_EQ("\t327680\t/f\t" + std::filesystem::canonical(Local("file")).string() + "\n", line.substr(36));
    EXPECT_EQ(std::string::npos, line.substr(0, 36).find_first_not_of("0123456789ABCDEF-")) << line;
}

TEST_F(UploadsTest, StateAsksTheServer) {
    SendPart(2);
    const std::string line =
        Id() + "\t131072\t327680\twaiting\t/f\t" + std::filesystem::canonical(Local("file")).string() + "\n";
    EXPECT_EQ(line, OutputOf({"uploads", "state"}));
    EXPECT_EQ(line, OutputOf({"uploads", "state", "/f"}));
    EXPECT_EQ(line, OutputOf({"uploads", "state", Id()}));
}

TEST_F(UploadsTest, CancelGivesUpHereAndThere) {
    SendPart(2);
    std::filesystem::copy(Local("home/uploads"), Local("kept"));
    EXPECT_EQ("", OutputOf({"uploads", "cancel", "/f"}));
    EXPECT_EQ("", OutputOf({"uploads"}));
    std::filesystem::copy(Local("kept"), Local("home/uploads"),
                          std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing);
    EXPECT_NE(std::string::npos, OutputOf({"uploads", "state"}).find("\t0\t327680\tunknown\t/f\t"));
    EXPECT_EQ("", OutputOf({"uploads", "cancel", Id()})) << "what the server does not know is given up as well";
    EXPECT_EQ("", OutputOf({"uploads"}));
}

TEST_F(UploadsTest, CompleteRefusesWhatIsNotAllThere) {
    SendPart(2);
    const ProcessResult result = Quillmark({"--retries", "5", "uploads", "complete", "/f", "/g"});
    EXPECT_EQ(6, result.exitCode);
    EXPECT_EQ(
        "quillmark: cannot complete the upload to /f as /g: the server does not have all of it (21202) "
        "[SERVER_ERROR_CHUNK_OUT_OF_STEP]. 'quillmark put --resumable' sends the rest.\n",
        result.errors)
        << "at once: nothing is repeated";
    EXPECT_EQ(1u, Records().size());
}

TEST_F(UploadsTest, NamesThatNothingWaitsForAreNotFound) {
    SendPart(2);
    for (const Arguments& arguments : {Arguments{"state", "/g"}, Arguments{"cancel", "/g"},
                                       Arguments{"complete", "00000000-0000-0000-0000-000000000001", "/g"}}) {
        Arguments command = {"uploads"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ExpectFailure(5, "this host knows no unfinished upload", command);
    }
}

TEST_F(UploadsTest, CompleteWantsOneUpload) {
    SendPart(2);
    Write("other", Noise(3 * ChunkSize));
    FaultAtChunk(1, {{"kind", "end"}, {"at", "before-head"}});
    ASSERT_EQ(3, Quillmark({"put", "--retries", "0", "--resumable", "--chunk", "64K", Local("other"), "/f"}).exitCode);
    ExpectFailure(2, "several uploads go to '/f'", {"uploads", "complete", "/f", "/g"});
}

TEST_F(UploadsTest, NeedsALogin) {
    std::filesystem::remove(SessionFile());
    ExpectFailure(4, "nobody is logged in", {"uploads"});
}

}  // namespace
}  // namespace quillmark::testing
