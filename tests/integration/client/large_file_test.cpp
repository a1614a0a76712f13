// Files of more than 4 GiB, where 32 bits no longer do.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

constexpr std::uint64_t FourGiB = 0x1'0000'0000;
constexpr std::uint64_t Size = FourGiB + 100'003;
// The server keeps the content, the download is a second copy.
constexpr std::uint64_t NeededSpace = 2 * Size + 0x1000'0000;

struct Mark {
    std::uint64_t offset;
    std::array<char, 8> text;
};

// At both ends, and around the sizes at which a count of 31 or 32 bits ends.
constexpr std::array<Mark, 6> Marks{{{0, {"first.."}},
                                     {0x7FFF'FFFC, {"31 bits"}},
                                     {FourGiB - 4, {"32 bits"}},
                                     {FourGiB + 16'380, {"beyond."}},
                                     {FourGiB + 65'532, {"farther"}},
                                     {Size - 8, {"the end"}}}};

class File {
public:
    File(const std::string& path, int flags) : m_descriptor(::open(path.c_str(), flags | O_CLOEXEC, 0600)) {}
    ~File() { ::close(m_descriptor); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void MakeSparse() {
        ASSERT_EQ(0, ::ftruncate(m_descriptor, static_cast<off_t>(Size)));
        for (const Mark& mark : Marks) {
            ASSERT_EQ(8, ::pwrite(m_descriptor, mark.text.data(), 8, static_cast<off_t>(mark.offset)));
        }
    }
    std::array<char, 8> At(std::uint64_t offset) const {
        std::array<char, 8> text{};
        EXPECT_EQ(8, ::pread(m_descriptor, text.data(), 8, static_cast<off_t>(offset)));
        return text;
    }

private:
    int m_descriptor;
};

// A position that only ever grows by what was moved, up to the whole size.
class CountingSink : public IProgressSink {
public:
    void Begin(const WideString&, std::uint64_t offset, std::uint64_t) override { m_position = offset; }
    void Advance(const void*, std::uint32_t count, std::uint64_t position, std::uint64_t total,
                 std::uint64_t) override {
        m_inStep = m_inStep && position == m_position + count && total == Size;
        m_position = position;
    }
    [[nodiscard]] bool ReachedTheEndInStep() const { return m_inStep && m_position == Size; }

private:
    std::uint64_t m_position = 0;
    bool m_inStep = true;
};

class LargeFileTest : public ClientTest {
protected:
    template <typename Transfer>
    static void Measure(const char* what, const Transfer& transfer) {
        const auto start = std::chrono::steady_clock::now();
        transfer();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::printf("MEASURED %s of a file of 4 GiB and 100003 bytes: %.1f s, %.0f MB/s\n", what, seconds,
                    static_cast<double>(Size) / seconds / 1e6);
    }
};

TEST_F(LargeFileTest, GoesUpAndComesBackWhole) {
    if (std::filesystem::space(std::filesystem::temp_directory_path()).available < NeededSpace) {
        GTEST_SKIP() << "needs " << NeededSpace << " bytes in the folder for temporary files";
    }
    StartAndLogin();
    const std::string source = LocalPath("source");
    File(source, O_RDWR | O_CREAT).MakeSparse();
    const auto sink = std::make_shared<CountingSink>();
    const Attributes attributes = UploadAttributes(static_cast<std::int64_t>(Size));
    Measure("upload", [&] {
        ASSERT_EQ(0u, Client()->UploadFile(WidenUtf8(source), QM_W("/large"), attributes, nullptr, sink, 0));
    });
    EXPECT_TRUE(sink->ReachedTheEndInStep());
    EXPECT_EQ(static_cast<std::int64_t>(Size), attributes->GetSize());

    const std::string target = LocalPath("target");
    const auto back = std::make_shared<CountingSink>();
    Measure("download", [&] {
        ASSERT_EQ(0u, Client()->DownloadFile(QM_W("/large"), WidenUtf8(target), attributes, MakeAttributes(), QM_W(""),
                                             nullptr, back, 0));
    });
    EXPECT_TRUE(back->ReachedTheEndInStep());
    ASSERT_EQ(Size, std::filesystem::file_size(target));
    const File file(target, O_RDONLY);
    for (const Mark& mark : Marks) {
        EXPECT_EQ(mark.text, file.At(mark.offset)) << mark.text.data();
    }
    // Between the marks there is nothing.
    EXPECT_EQ((std::array<char, 8>{}), file.At(FourGiB - 12));
    EXPECT_EQ((std::array<char, 8>{}), file.At(FourGiB + 4));
}

}  // namespace
}  // namespace quillmark::testing
