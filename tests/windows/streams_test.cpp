// The streams of quillmark.exe: pipes and files in place of a console.
#include "CommandLine.h"

namespace quillmark::test {
namespace {

// A pipe between the test and a program. The program's end is inheritable.
class Pipe {
public:
    enum class Theirs { Write, Read };
    explicit Pipe(Theirs theirs) {
        EXPECT_TRUE(::CreatePipe(&m_read, &m_write, nullptr, 0));
        ::SetHandleInformation(theirs == Theirs::Write ? m_write : m_read, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    }
    ~Pipe() {
        CloseRead();
        CloseWrite();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    [[nodiscard]] HANDLE Read() const { return m_read; }
    [[nodiscard]] HANDLE Write() const { return m_write; }
    void CloseRead() { Close(m_read); }
    void CloseWrite() { Close(m_write); }

    // All that comes until nobody is there any more who could write. The own end is closed first.
    [[nodiscard]] std::string ReadToEnd() {
        CloseWrite();
        std::string text;
        char buffer[4096];
        DWORD got = 0;
        while (::ReadFile(m_read, buffer, sizeof(buffer), &got, nullptr) != FALSE && got > 0) {
            text.append(buffer, got);
        }
        return text;
    }

private:
    static void Close(HANDLE& handle) {
        if (handle != nullptr) {
            ::CloseHandle(handle);
            handle = nullptr;
        }
    }

    HANDLE m_read = nullptr;
    HANDLE m_write = nullptr;
};

using StreamsTest = CommandLineTest;

TEST_F(StreamsTest, ContentsComeThroughAPipeByteForByte) {
    ASSERT_EQ(Login().exitCode, 0u);
    const std::string content = "a\nb\r\nc\x1A" + std::string(1, '\0') + "\xFF\xFE" + Pattern(300'000) + "\n\r";
    Write(L"file", content);
    ASSERT_EQ(Run({L"put", Path(L"file"), L"/f"}).exitCode, 0u);
    Pipe pipe(Pipe::Theirs::Write);
    const Program program = StartWith({nullptr, pipe.Write()}, {L"cat", L"/f"});
    EXPECT_TRUE(pipe.ReadToEnd() == content);
    EXPECT_EQ(program.Wait(), 0u);
}

TEST_F(StreamsTest, AListingWhoseReaderHasGoneEndsWithoutAWord) {
    ASSERT_EQ(Login().exitCode, 0u);
    ASSERT_EQ(Run({L"mkdir", L"/a"}).exitCode, 0u);
    Pipe pipe(Pipe::Theirs::Write);
    pipe.CloseRead();
    const Program program = StartWith({nullptr, pipe.Write()}, {L"ls", L"/"});
    EXPECT_EQ(program.Wait(), 1u);
    EXPECT_EQ(Read(L"errors"), "");
}

TEST_F(StreamsTest, ATransferGoesOnWhenNobodyReadsItsNames) {
    ASSERT_EQ(Login().exitCode, 0u);
    Write(L"file", "content");
    Pipe pipe(Pipe::Theirs::Write);
    pipe.CloseRead();
    const Program program = StartWith({nullptr, pipe.Write()}, {L"put", Path(L"file"), L"/f"});
    EXPECT_EQ(program.Wait(), 1u);
    EXPECT_EQ(Run({L"ls", L"/"}).output, "f\n");
}

TEST_F(StreamsTest, APasswordOnStandardInputMayEndInACarriageReturnToo) {
    ::SetEnvironmentVariableW(L"QUILLMARK_PASSWORD", nullptr);
    const std::string url = HttpUrl();
    for (const std::string line : {"secret\r\n", "secret\n", "secret"}) {
        Pipe pipe(Pipe::Theirs::Read);
        DWORD written = 0;
        ASSERT_TRUE(::WriteFile(pipe.Write(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr));
        pipe.CloseWrite();
        const Program program =
            StartWith({pipe.Read(), nullptr},
                      {L"--password-file", L"-", L"login", std::wstring(url.begin(), url.end()), L"--user", L"anna"});
        EXPECT_EQ(program.Wait(), 0u) << Read(L"errors");
    }
}

TEST_F(StreamsTest, APasswordsFileMayEndInACarriageReturnToo) {
    ::SetEnvironmentVariableW(L"QUILLMARK_PASSWORD", nullptr);
    Write(L"password", "secret\r\nmore\r\n");
    const std::string url = HttpUrl();
    EXPECT_EQ(
        Run({L"--password-file", Path(L"password"), L"login", std::wstring(url.begin(), url.end()), L"--user", L"anna"})
            .exitCode,
        0u);
}

TEST_F(StreamsTest, ATraceGoesToStandardErrorInPlainLines) {
    ASSERT_EQ(Login().exitCode, 0u);
    const Outcome outcome = Run({L"--trace", L"ls", L"/"});
    EXPECT_EQ(outcome.exitCode, 0u);
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(outcome.errors.find("trace: GET /api/1.7/folders/?type=all: 200, "), std::string::npos) << outcome.errors;
    EXPECT_EQ(outcome.errors.find('\r'), std::string::npos);
}

}  // namespace
}  // namespace quillmark::test
