// A local file that changes its size while it is uploaded is never stored as complete.
#include <filesystem>
#include <fstream>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

constexpr std::size_t Size = 1'000'000;

class ChangingFileTest : public ClientTest {
protected:
    void SetUp() override { StartAndLogin(); }

    // Uploads a file whose size the action changes as soon as the transfer has reached that position.
    DWORD UploadChanging(std::uint64_t position, std::function<void(const std::string& file)> change) {
        return Upload("/item", Pattern(Size), UploadAttributes(Size), nullptr,
                      OnceAt(position, [&] { change(LocalPath("to-upload")); }));
    }
};

void Append(const std::string& file, const std::string& more) {
    std::ofstream(file, std::ios::binary | std::ios::app) << more;
}

TEST_F(ChangingFileTest, FileThatShrinksToHalfIsRefusedByTheServer) {
    EXPECT_EQ(21020u, UploadChanging(1, [](const std::string& file) { std::filesystem::resize_file(file, Size / 2); }));
    EXPECT_EQ(21002u, Look("/item"));
}

TEST_F(ChangingFileTest, FileThatLosesItsLastByteIsRefusedByTheServer) {
    EXPECT_EQ(21020u, UploadChanging(1, [](const std::string& file) { std::filesystem::resize_file(file, Size - 1); }));
    EXPECT_EQ(21002u, Look("/item"));
}

TEST_F(ChangingFileTest, FileThatIsEmptiedIsRefusedByTheServer) {
    EXPECT_EQ(21020u, UploadChanging(1, [](const std::string& file) { std::filesystem::resize_file(file, 0); }));
    EXPECT_EQ(21002u, Look("/item"));
}

TEST_F(ChangingFileTest, FileThatGrowsByOneByteIsGivenUp) {
    EXPECT_EQ(1006u, UploadChanging(1, [](const std::string& file) { Append(file, "x"); }));
    EXPECT_EQ(21002u, Look("/item"));
}

TEST_F(ChangingFileTest, FileThatGrowsAfterItsLastChunkIsGivenUp) {
    EXPECT_EQ(1006u, UploadChanging(Size, [](const std::string& file) { Append(file, Pattern(100'000)); }));
    EXPECT_EQ(21002u, Look("/item"));
}

TEST_F(ChangingFileTest, ItemThatWasThereKeepsItsContent) {
    ASSERT_EQ(0u, Upload("/item", "what was there"));
    EXPECT_EQ(21020u, UploadChanging(1, [](const std::string& file) { std::filesystem::resize_file(file, Size / 2); }));
    EXPECT_EQ(1006u, UploadChanging(1, [](const std::string& file) { Append(file, "x"); }));
    EXPECT_EQ("what was there", ContentOf("/item"));
}

TEST_F(ChangingFileTest, FileOfAnotherSizeThanItsRecordIsRefusedByTheServer) {
    EXPECT_EQ(21020u, Upload("/item", "ten bytes.", UploadAttributes(9)));
    EXPECT_EQ(21020u, Upload("/item", "ten bytes.", UploadAttributes(11)));
    EXPECT_EQ(21002u, Look("/item"));
}

}  // namespace
}  // namespace quillmark::testing
