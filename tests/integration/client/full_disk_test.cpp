// Local files that cannot be written: the operation ends with a clear code, the process goes on.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

class FullDiskTest : public ClientTest {
protected:
    void SetUp() override {
        StartAndLogin();
        ASSERT_EQ(0u, Upload("/item", Pattern(4'000'000)));
        ASSERT_EQ(0u, Upload("/small", "fits"));
    }

    DWORD Download(const char16_t* serverPath, const std::string& localPath) {
        return Client()->DownloadFile(serverPath, WidenUtf8(localPath), nullptr, MakeAttributes(), QM_W(""), nullptr,
                                      nullptr, 0);
    }
};

// Bounds the size of every file that this process writes; going past it is an error instead of a signal.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

// A file system of one megabyte that only this thread sees, and that ends with its namespace.
bool MountSmallDisk(const std::string& folder) {
    return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=1m") == 0;
}

TEST_F(FullDiskTest, DownloadToAFullDiskGives112AndLeavesTheClientWorking) {
    const std::string disk = LocalPath("disk");
    std::filesystem::create_directory(disk);
    if (!MountSmallDisk(disk)) {
        GTEST_SKIP() << "a file system cannot be mounted here: " << std::strerror(errno);
    }
    EXPECT_EQ(112u, Download(QM_W("/item"), disk + "/item"));
    std::filesystem::remove(disk + "/item");
    EXPECT_EQ(0u, Download(QM_W("/small"), disk + "/small"));
    EXPECT_EQ("fits", ReadFileAt(disk + "/small"));
    ::umount2(disk.c_str(), MNT_DETACH);
}

TEST_F(FullDiskTest, DownloadPastTheLimitOfAFilesSizeGivesACodeAndLeavesTheClientWorking) {
    {
        const FileSizeLimit limit(1'000'000);
        EXPECT_EQ(223u, Download(QM_W("/item"), LocalPath("item")));
        EXPECT_EQ(0u, Download(QM_W("/small"), LocalPath("small")));
    }
    EXPECT_EQ(0u, Download(QM_W("/item"), LocalPath("item")));
    EXPECT_TRUE(ReadFileAt(LocalPath("item")) == Pattern(4'000'000));
}

TEST_F(FullDiskTest, DownloadIntoAMissingFolderGives3) {
    EXPECT_EQ(3u, Download(QM_W("/small"), LocalPath("missing/small")));
}

TEST_F(FullDiskTest, DownloadOntoAFolderGives5) {
    std::filesystem::create_directory(LocalPath("folder"));
    EXPECT_EQ(5u, Download(QM_W("/small"), LocalPath("folder")));
}

TEST_F(FullDiskTest, UploadOfAMissingFileGives2) {
    EXPECT_EQ(2u, Client()->UploadFile(WidenUtf8(LocalPath("missing")), QM_W("/missing"), UploadAttributes(1), nullptr,
                                       nullptr, 0));
}

}  // namespace
}  // namespace quillmark::testing
