#include "transport/LocalFile.h"

#include "TransportTest.h"

namespace quillmark {
namespace {

class LocalFileTest : public TransportTest {
protected:
    LocalFileTest() { files->Put(QM_W("/f"), "contents"); }
};

TEST_F(LocalFileTest, OpeningForReadingSharesEverything) {
    LocalFile file;
    EXPECT_EQ(file.OpenForReading(QM_W("/f")), 0u);
    EXPECT_EQ(files->Calls(), Texts{"CreateFileW(\"/f\", 0x80000000, 7, null, 3, 128, null)"});
}

TEST_F(LocalFileTest, IsClosedOnceByCloseOrAtItsEnd) {
    {
        LocalFile file;
        EXPECT_EQ(file.OpenForReading(QM_W("/f")), 0u);
        file.Close();
        file.Close();
    }
    EXPECT_EQ(files->Count("CloseHandle"), 1u);
}

TEST_F(LocalFileTest, AFileThatDidNotOpenIsNotClosed) {
    {
        LocalFile file;
        EXPECT_EQ(file.OpenForReading(QM_W("/missing")), 2u);
    }
    EXPECT_EQ(files->Count("CloseHandle"), 0u);
}

TEST_F(LocalFileTest, OpeningAnewClosesTheFirst) {
    LocalFile file;
    EXPECT_EQ(file.OpenForReading(QM_W("/f")), 0u);
    EXPECT_EQ(file.OpenForReading(QM_W("/f")), 0u);
    EXPECT_EQ(files->OpenFiles(), 1u);
}

TEST_F(LocalFileTest, ASizeWhoseLowHalfIsAllOnesIsASize) {
    files->Put(QM_W("/f"), "", 0x1'FFFF'FFFFu);
    LocalFile file;
    ASSERT_EQ(file.OpenForReading(QM_W("/f")), 0u);
    std::uint64_t size = 0;
    // What an earlier call left does not count.
    ::SetLastError(5);
    EXPECT_EQ(file.Size(size), 0u);
    EXPECT_EQ(size, 0x1'FFFF'FFFFu);
}

TEST_F(LocalFileTest, APositionWhoseLowHalfIsAllOnesIsAPosition) {
    LocalFile file;
    ASSERT_EQ(file.OpenForReading(QM_W("/f")), 0u);
    ::SetLastError(5);
    EXPECT_EQ(file.SeekForWriting(0x1'FFFF'FFFFu), 0u);
    EXPECT_EQ(files->Calls().back(), "SetFilePointer(f1, 4294967295, 1, 0)");
}

TEST_F(LocalFileTest, AFailedSizeIsItsCodeAndLeavesTheValue) {
    LocalFile file;
    ASSERT_EQ(file.OpenForReading(QM_W("/f")), 0u);
    files->Fail("GetFileSize", 6);
    std::uint64_t size = 77;
    EXPECT_EQ(file.Size(size), 6u);
    EXPECT_EQ(size, 77u);
}

TEST_F(LocalFileTest, ReadsFromWhereItWasSought) {
    LocalFile file;
    ASSERT_EQ(file.OpenForReading(QM_W("/f")), 0u);
    ASSERT_EQ(file.SeekForReading(3), 0u);
    char bytes[4] = {};
    DWORD read = 0;
    EXPECT_EQ(file.Read(bytes, 4, read), 0u);
    EXPECT_EQ(std::string(bytes, read), "tent");
    EXPECT_EQ(file.Read(bytes, 4, read), 0u);
    EXPECT_EQ(std::string(bytes, read), "s");
    EXPECT_EQ(file.Read(bytes, 4, read), 0u);
    EXPECT_EQ(read, 0u);
}

}  // namespace
}  // namespace quillmark
