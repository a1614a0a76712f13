// Streamed multipart bodies that fail, are cancelled or are refused.
#include "UploadTest.h"

namespace quillmark {
namespace {

class WinHttpRequestMultipartFailuresTest : public UploadTest {};

TEST_F(WinHttpRequestMultipartFailuresTest, ASetCancelEventEndsBeforeTheFileIsOpened) {
    Open();
    files->Put(Path, "hello");
    const Event cancel;
    cancel.Set();
    EXPECT_EQ(SendRange(0, 5, nullptr, cancel.Get()), 1223u);
    EXPECT_EQ(files->Calls(), Texts{});
    EXPECT_EQ(winHttp->Count("WinHttpWriteData"), 3u);
}

TEST_F(WinHttpRequestMultipartFailuresTest, ACancelEventEndsTheLoopAfterTheChunk) {
    Open();
    files->Put(Path, std::string(40000, 'x'));
    const Event cancel;
    files->OnCall([&](const std::string& call) {
        if (call.starts_with("ReadFile")) {
            cancel.Set();
        }
    });
    EXPECT_EQ(SendRange(0, 40000, nullptr, cancel.Get()), 1223u);
    EXPECT_EQ(winHttp->Calls(),
              (Texts{"WinHttpWriteData(h3, 60)", "WinHttpWriteData(h3, 75)", "WinHttpWriteData(h3, 42)",
                     "WinHttpWriteData(h3, 16384)", "WinHttpWriteData(h3, 2)"}));
}

TEST_F(WinHttpRequestMultipartFailuresTest, ACancelEventThatComesWithTheLastChunkCounts) {
    Open();
    files->Put(Path, "hello");
    const Event cancel;
    winHttp->OnCall([&](const std::string& call) {
        if (call == "WinHttpWriteData(h3, 2)") {
            cancel.Set();
        }
    });
    EXPECT_EQ(SendRange(0, 5, nullptr, cancel.Get()), 1223u);
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFailedWriteOfTheHeadEndsThePart) {
    Open();
    files->Put(Path, "hello");
    for (const int nth : {1, 2, 3}) {
        log.Clear();
        winHttp->ClearCalls();
        winHttp->Fail("WinHttpWriteData", 12030, nth);
        EXPECT_EQ(SendRange(0, 5), 12030u);
        EXPECT_EQ(log.Texts(103), Texts{"WinHttpWriteData failed, error=12030"});
        EXPECT_EQ(winHttp->Calls().size(), static_cast<std::size_t>(nth));
    }
    EXPECT_EQ(files->Calls(), Texts{});
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFailedWriteOfAChunkStopsAndTheLineBreakIsStillTried) {
    Open();
    files->Put(Path, std::string(40000, 'x'));
    winHttp->Fail("WinHttpWriteData", 12030, 5);
    EXPECT_EQ(SendWhole(), 12030u);
    EXPECT_EQ(winHttp->Calls(),
              (Texts{"WinHttpWriteData(h3, 60)", "WinHttpWriteData(h3, 75)", "WinHttpWriteData(h3, 42)",
                     "WinHttpWriteData(h3, 16384)", "WinHttpWriteData(h3, 16384)", "WinHttpWriteData(h3, 2)"}));
    EXPECT_EQ(log.Texts(103), Texts{"WinHttpWriteData failed, error=12030"});
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendMultipartFile", "WinHttpWriteData failed, error=12030"));
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFailedLineBreakIsAFailure) {
    Open();
    files->Put(Path, "hello");
    winHttp->Fail("WinHttpWriteData", 12030, 5);
    EXPECT_EQ(SendWhole(), 12030u);
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFileThatCannotBeOpenedIsLoggedAndReturnedByBothForms) {
    Open();
    std::uint64_t size = 0;
    const std::string text = "CreateFile for path: /data/my file\xC3\xA9.txt failed, error code: 2";
    EXPECT_EQ(SendWhole(&size), 2u);
    EXPECT_EQ(SendWhole(), 2u);
    EXPECT_EQ(SendRange(0, 5, &size), 2u);
    EXPECT_EQ(SendRange(0, 5), 2u);
    EXPECT_EQ(log.Texts(103), (Texts{text, text, text, text}));
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendMultipartFile", text));
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFileWithoutASizeIsLoggedAndReturned) {
    Open();
    files->Put(Path, "hello");
    std::uint64_t size = 0;
    for (const int nth : {1, 2}) {
        files->Fail("GetFileSize", 1, nth);
        EXPECT_EQ(SendWhole(&size), 1u);
    }
    files->Fail("GetFileSize", 1);
    EXPECT_EQ(SendRange(0, 5), 1u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendMultipartFile", "GetFileSize failed, error code: 1"));
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFailedSeekIsLoggedAndReturned) {
    Open();
    files->Put(Path, "hello");
    files->Fail("SetFilePointerEx", 131);
    EXPECT_EQ(SendRange(0, 5), 131u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendMultipartFile", "SetFilePointerEx failed, error code: 131"));
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFailedReadLeavesTheBodyShort) {
    Open();
    files->Put(Path, std::string(20000, 'x'));
    files->Fail("ReadFile", 1117, 2);
    EXPECT_EQ(SendWhole(), 0u);
    EXPECT_EQ(SentRange().size(), 16384u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendMultipartFile", "ReadFile failed, error code: 1117"));
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFileNameWithALoneSurrogateIsRefusedBeforeAnythingIsSent) {
    Open();
    files->Put(Path, "hello");
    const WideChar name[] = {QM_W('a'), 0xDC80, 0};
    std::uint64_t size = 0;
    EXPECT_EQ(request->SendMultipartFile("file", Path, name, 0, 5, nullptr, &size, nullptr, 0), 1113u);
    EXPECT_EQ(request->SendMultipartFile("file", Path, name, 0, 5, nullptr, nullptr, nullptr, 0), 1113u);
    EXPECT_EQ(winHttp->Calls(), Texts{});
    EXPECT_EQ(files->Calls(), Texts{});
    const std::string text = "The file name [a\xEF\xBF\xBD] cannot be sent, error code: 1113";
    EXPECT_EQ(log.Texts(103), (Texts{text, text}));
}

TEST_F(WinHttpRequestMultipartFailuresTest, AFileNameTooLongForItsLineIsRefusedBeforeAnythingIsSent) {
    Open();
    files->Put(Path, "hello");
    std::uint64_t size = 0;
    // The line has 58 bytes beside the name: 38 + 4 + 13 + 3.
    const std::basic_string<WideChar> longest(8191 - 58, QM_W('n'));
    EXPECT_EQ(request->SendMultipartFile("file", Path, longest, 0, 5, nullptr, &size, nullptr, 0), 0u);
    EXPECT_EQ(size, 60u + 8191 + 43 + 5 + 2);
    const std::basic_string<WideChar> tooLong(8192 - 58, QM_W('n'));
    EXPECT_EQ(request->SendMultipartFile("file", Path, tooLong, 0, 5, nullptr, &size, nullptr, 0), 206u);
    EXPECT_EQ(request->SendMultipartFile("file", Path, tooLong, 0, 5, nullptr, nullptr, nullptr, 0), 206u);
    EXPECT_EQ(winHttp->Calls(), Texts{});
}

}  // namespace
}  // namespace quillmark
