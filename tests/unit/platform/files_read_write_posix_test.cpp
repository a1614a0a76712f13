// Reading and writing what only POSIX has under a file's name: pipes, a device that is always full.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "unit/platform/BlockedThread.h"
#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;
using quillmark::test::OpenHandles;
using quillmark::test::ReadText;
using quillmark::test::Seek;
using quillmark::test::WriteText;

class ReadWritePosixTest : public FilesTestFolder {};

TEST_F(ReadWritePosixTest, RefusesMissingArguments) {
    const OpenFile file(Make("a", "abc"), GENERIC_READ | GENERIC_WRITE);
    char byte = 0;
    EXPECT_FALSE(ReadFile(file, &byte, 1, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_FALSE(WriteFile(file, &byte, 1, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_FALSE(GetFileSizeEx(file, nullptr));
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(ReadWritePosixTest, EveryPositionThatANumberHoldsIsOne) {
    const OpenFile file(Make("a", "abc"), GENERIC_READ);
    EXPECT_EQ(Seek(file, INT64_MAX, FILE_BEGIN), INT64_MAX);
    EXPECT_EQ(ReadText(file, 16), "");
}

class StreamPosixTest : public FilesTestFolder {
protected:
    // Both ends are open from the start.
    StreamPosixTest() {
        EXPECT_EQ(::mkfifo(File("pipe").c_str(), 0600), 0);
        m_other = ::open(File("pipe").c_str(), O_RDWR | O_CLOEXEC);
    }
    ~StreamPosixTest() override { ::close(m_other); }

    int m_other = -1;
};

TEST_F(ReadWritePosixTest, ReportsAFullDiskAndAFileThatGrowsTooLarge) {
    DWORD written = 7;
    const OpenFile full(QM_W("/dev/full"), GENERIC_WRITE);
    ASSERT_TRUE(full.IsOpen());
    EXPECT_FALSE(WriteFile(full, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), 112u);
    EXPECT_EQ(written, 0u);
    const OpenFile file(Path("a"), GENERIC_WRITE, CREATE_NEW);
    for (const long long at : {INT64_MAX, INT64_MAX - 100}) {
        EXPECT_EQ(Seek(file, at, FILE_BEGIN), at);
        SetLastError(0);
        EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr));
        EXPECT_EQ(GetLastError(), 223u);
    }
    EXPECT_EQ(Contents("a"), "");
}

TEST_F(StreamPosixTest, ReadsWhatThereIsFromAPipe) {
    const OpenFile pipe(Path("pipe"), GENERIC_READ);
    ASSERT_TRUE(pipe.IsOpen());
    ASSERT_EQ(::write(m_other, "abc", 3), 3);
    EXPECT_EQ(ReadText(pipe, 100), "abc");
}

TEST_F(StreamPosixTest, WritesMoreThanAPipeHoldsAsItIsRead) {
    const OpenFile pipe(Path("pipe"), GENERIC_WRITE);
    ASSERT_TRUE(pipe.IsOpen());
    const std::string text(1 << 20, 'x');
    std::thread writer([&] { EXPECT_EQ(WriteText(pipe, text), text.size()); });
    std::size_t total = 0;
    std::vector<char> buffer(65536);
    while (total < text.size()) {
        total += static_cast<std::size_t>(std::max<ssize_t>(0, ::read(m_other, buffer.data(), buffer.size())));
    }
    writer.join();
    EXPECT_EQ(total, text.size());
}

TEST_F(ReadWritePosixTest, APipeOpensWithoutItsOtherEndAndReadingWaitsForIt) {
    ASSERT_EQ(::mkfifo(File("pipe").c_str(), 0600), 0);
    EXPECT_EQ(OpenFile(Path("pipe"), GENERIC_WRITE).Error(), 21u);
    const OpenFile pipe(Path("pipe"), GENERIC_READ);
    ASSERT_TRUE(pipe.IsOpen());
    std::atomic<DWORD> thread = 0;
    std::thread reader([&] {
        thread = GetCurrentThreadId();
        EXPECT_EQ(ReadText(pipe, 100), "abc");
        EXPECT_EQ(ReadText(pipe, 100), "");
    });
    while (thread == 0) {
        std::this_thread::yield();
    }
    quillmark::test::AwaitBlockedInPoll(thread);
    const int other = ::open(File("pipe").c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(::write(other, "abc", 3), 3);
    ::close(other);
    reader.join();
}

TEST_F(StreamPosixTest, HasNeitherPositionNorSize) {
    const OpenFile pipe(Path("pipe"), GENERIC_READ);
    EXPECT_EQ(SetFilePointer(pipe, 0, nullptr, FILE_CURRENT), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 1u);
    SetLastError(0);
    EXPECT_EQ(GetFileSize(pipe, nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 1u);
}

TEST_F(StreamPosixTest, ClosingEndsAReadThatWaitsWith995) {
    OpenFile pipe(Path("pipe"), GENERIC_READ, OPEN_EXISTING, 0);
    const HANDLE handle = pipe;
    std::atomic<DWORD> thread = 0;
    DWORD error = 0;
    std::thread reader([&] {
        thread = GetCurrentThreadId();
        char byte = 0;
        DWORD got = 0;
        EXPECT_FALSE(ReadFile(handle, &byte, 1, &got, nullptr));
        error = GetLastError();
    });
    while (thread == 0) {
        std::this_thread::yield();
    }
    quillmark::test::AwaitBlockedInPoll(thread);
    pipe.Close();
    // Nobody else is kept out by a handle that is closed, whoever still uses it.
    EXPECT_TRUE(OpenFile(Path("pipe"), GENERIC_READ, OPEN_EXISTING, 0).IsOpen());
    reader.join();
    EXPECT_EQ(error, 995u);
}

TEST_F(StreamPosixTest, ClosingEndsEveryReadOfManyWhateverTheMoment) {
    const std::size_t handles = OpenHandles();
    for (int round = 0; round < 50; ++round) {
        OpenFile pipe(Path("pipe"), GENERIC_READ);
        const HANDLE handle = pipe;
        std::vector<std::thread> readers;
        for (int i = 0; i < 4; ++i) {
            readers.emplace_back([handle] {
                char byte = 0;
                DWORD got = 0;
                EXPECT_FALSE(ReadFile(handle, &byte, 1, &got, nullptr));
                // 6 when the handle was closed before this call looked it up.
                EXPECT_TRUE(GetLastError() == 995u || GetLastError() == 6u) << GetLastError();
            });
        }
        pipe.Close();
        for (std::thread& reader : readers) {
            reader.join();
        }
    }
    EXPECT_EQ(OpenHandles(), handles);
}

}  // namespace
