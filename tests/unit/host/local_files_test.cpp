#include "LocalFiles.h"

#include <gtest/gtest.h>

#include "ErrorText.h"
#include "unit/host/HostFolder.h"

namespace quillmark::cli {
namespace {

// A folder of the test's own, with a folder in it that files can go into.
class FileTargetTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(MakeLocalFolders(inside)); }

    test::HostFolder folder;
    WideString inside = folder.Wide("inside");
};

ExitCode ExitOfTarget(const WideString& server, const WideString& local) {
    try {
        static_cast<void>(FileTarget(server, local));
    } catch (const Failure& failure) {
        return failure.Exit();
    }
    return ExitCode::Success;
}

TEST_F(FileTargetTest, IsTheLocalPathWhereNoFolderIs) {
    EXPECT_EQ(FileTarget(QM_W("/Shared/report"), folder.Wide("other")), folder.Wide("other"));
    EXPECT_EQ(FileTarget(QM_W("/Shared/report"), folder.Write("file", "content")), folder.Wide("file"));
}

TEST_F(FileTargetTest, IsInTheFolderThatIsThere) {
    EXPECT_EQ(FileTarget(QM_W("/Shared/report"), inside), folder.Wide("inside/report"));
    EXPECT_EQ(FileTarget(QM_W("/Shared/.profile"), inside), folder.Wide("inside/.profile"));
}

TEST_F(FileTargetTest, IsNoneForANameThatNoFileHasOnAnySystem) {
    for (const WideString& server :
         {WideString(QM_W("/Shared/..")), WideString(QM_W("/Shared/.")), WideString(WideView(QM_W("/a\0b"), 4))}) {
        EXPECT_EQ(ExitOfTarget(server, inside), ExitCode::LocalFile);
        EXPECT_EQ(ExitOfTarget(server, folder.Wide("other")), ExitCode::Success);
    }
}

// A name that POSIX takes as it stands and Windows takes for a device, a stream of a file, or another file.
TEST_F(FileTargetTest, IsNoneForANameThatThisSystemWouldTakeForSomethingElse) {
    constexpr bool Windows = std::is_same_v<WideChar, wchar_t>;
    for (const WideString& server :
         {WideString(QM_W("/NUL")), WideString(QM_W("/com1.txt")), WideString(QM_W("/a:b")), WideString(QM_W("/a.")),
          WideString(QM_W("/a ")), WideString(QM_W("/a?")), WideString(QM_W("/a\\..\\b"))}) {
        EXPECT_EQ(ExitOfTarget(server, inside), Windows ? ExitCode::LocalFile : ExitCode::Success);
        EXPECT_EQ(ExitOfTarget(server, folder.Wide("other")), ExitCode::Success);
    }
}

}  // namespace
}  // namespace quillmark::cli
