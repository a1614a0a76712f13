// The recording seams themselves: what they answer must be what the platform would.
#include "TransportTest.h"

namespace quillmark {
namespace {

class RecordingWinHttpTest : public ::testing::Test {
protected:
    fakes::RecordingWinHttp seam;
    HINTERNET request = seam.WinHttpOpen(nullptr, 0, nullptr, nullptr, 0);
};

TEST_F(RecordingWinHttpTest, FailsTheChosenCallOnly) {
    seam.Fail("WinHttpReceiveResponse", 12002, 2);
    EXPECT_NE(seam.WinHttpReceiveResponse(request, nullptr), FALSE);
    EXPECT_EQ(seam.WinHttpReceiveResponse(request, nullptr), FALSE);
    EXPECT_EQ(::GetLastError(), 12002u);
    EXPECT_NE(seam.WinHttpReceiveResponse(request, nullptr), FALSE);
}

TEST_F(RecordingWinHttpTest, FailsTheNthCallOfAnyFunction) {
    seam.FailCall(2, 12030);
    DWORD available = 0;
    EXPECT_NE(seam.WinHttpReceiveResponse(request, nullptr), FALSE);
    EXPECT_EQ(seam.WinHttpQueryDataAvailable(request, &available), FALSE);
    EXPECT_EQ(::GetLastError(), 12030u);
}

TEST_F(RecordingWinHttpTest, TellsTheSizeOfATextFirst) {
    DWORD size = 0;
    EXPECT_EQ(seam.WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE, nullptr, nullptr, &size, nullptr), FALSE);
    EXPECT_EQ(::GetLastError(), 122u);
    EXPECT_EQ(size, 4 * sizeof(WideChar));
    WideChar text[4] = {};
    EXPECT_NE(seam.WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE, nullptr, text, &size, nullptr), FALSE);
    EXPECT_EQ(size, 3 * sizeof(WideChar));
    EXPECT_EQ(WideView(text), QM_W("200"));
}

TEST_F(RecordingWinHttpTest, HasNoLengthUnlessTheReplyNamesOne) {
    DWORD size = 0;
    EXPECT_EQ(seam.WinHttpQueryHeaders(request, WINHTTP_QUERY_CONTENT_LENGTH, nullptr, nullptr, &size, nullptr), FALSE);
    EXPECT_EQ(::GetLastError(), 12150u);
}

TEST_F(RecordingWinHttpTest, CountsOpenHandles) {
    EXPECT_EQ(seam.OpenHandles(), 1u);
    EXPECT_NE(seam.WinHttpCloseHandle(request), FALSE);
    EXPECT_EQ(seam.OpenHandles(), 0u);
}

TEST_F(RecordingWinHttpTest, HasNoOptionsToQuery) {
    DWORD size = 0;
    EXPECT_EQ(seam.WinHttpQueryOption(request, WINHTTP_OPTION_URL, nullptr, &size), FALSE);
    EXPECT_EQ(::GetLastError(), 12009u);
}

class RecordingFileSystemTest : public ::testing::Test {
protected:
    HANDLE Open(DWORD disposition) {
        return seam.CreateFileW(QM_W("/f"), GENERIC_READ, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    }

    fakes::RecordingFileSystem seam;
};

TEST_F(RecordingFileSystemTest, OpenExistingNeedsTheFile) {
    EXPECT_EQ(Open(OPEN_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), 2u);
    EXPECT_FALSE(seam.Exists(QM_W("/f")));
}

TEST_F(RecordingFileSystemTest, CreateAlwaysEmptiesTheFile) {
    seam.Put(QM_W("/f"), "old");
    EXPECT_NE(Open(CREATE_ALWAYS), INVALID_HANDLE_VALUE);
    EXPECT_EQ(seam.Contents(QM_W("/f")), "");
}

TEST_F(RecordingFileSystemTest, AChangeIsSeenThroughOpenHandles) {
    seam.Put(QM_W("/f"), "old");
    const HANDLE file = Open(OPEN_EXISTING);
    seam.Put(QM_W("/f"), "newer");
    DWORD high = 1;
    EXPECT_EQ(seam.GetFileSize(file, &high), 5u);
    EXPECT_EQ(high, 0u);
    char bytes[8] = {};
    DWORD read = 0;
    EXPECT_NE(seam.ReadFile(file, bytes, 8, &read, nullptr), FALSE);
    EXPECT_EQ(std::string(bytes, read), "newer");
}

TEST_F(RecordingFileSystemTest, ZerosFollowUpToTheSize) {
    seam.Put(QM_W("/f"), "ab", 4);
    const HANDLE file = Open(OPEN_EXISTING);
    char bytes[8] = {};
    DWORD read = 0;
    EXPECT_NE(seam.ReadFile(file, bytes, 8, &read, nullptr), FALSE);
    EXPECT_EQ(std::string(bytes, read), std::string("ab\0\0", 4));
}

TEST_F(RecordingFileSystemTest, WritesAtThePosition) {
    seam.Put(QM_W("/f"), "abc");
    const HANDLE file = Open(OPEN_EXISTING);
    LONG high = 0;
    EXPECT_EQ(seam.SetFilePointer(file, 2, &high, FILE_BEGIN), 2u);
    DWORD written = 0;
    EXPECT_NE(seam.WriteFile(file, "XY", 2, &written, nullptr), FALSE);
    EXPECT_EQ(seam.Contents(QM_W("/f")), "abXY");
}

}  // namespace
}  // namespace quillmark
