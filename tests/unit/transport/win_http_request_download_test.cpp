// Replies that go into a local file.
#include "TransportTest.h"

namespace quillmark {
namespace {

constexpr const WideChar* Path = QM_W("/data/file");

class WinHttpRequestDownloadTest : public TransportTest {
protected:
    DWORD Download(std::uint64_t offset = 0, HANDLE cancelEvent = nullptr) {
        return request->GetResponse(Path, offset, cancelEvent, nullptr, false, 0);
    }

    void Reply(const std::string& contentLength, std::deque<fakes::RecordingWinHttp::Round> rounds) {
        winHttp->reply = {.status = "200", .contentLength = contentLength, .rounds = std::move(rounds)};
    }
};

TEST_F(WinHttpRequestDownloadTest, ADownloadMakesTheseCalls) {
    Open(QM_W("t0ken"));
    Reply("7", {{3, "abc"}, {4, "defg"}});
    EXPECT_EQ(request->SendRequestGetResponse(Path, 0, nullptr, nullptr, true, 0), 0u);
    EXPECT_EQ(
        winHttp->Calls(),
        (Texts{"WinHttpAddRequestHeaders(h3, \"Accept: application/octet-stream\", -1, 0x40000000)",
               "WinHttpAddRequestHeaders(h3, \"Cookie: session_token=t0ken\", -1, 0x40000000)",
               "WinHttpSendRequest(h3, null, 0, null, 0, 0, 0)", "WinHttpReceiveResponse(h3, null)",
               "WinHttpQueryHeaders(h3, 0x20000013, null, buffer, 4, null)",
               "WinHttpQueryHeaders(h3, 0x00000005, null, buffer, " + std::to_string(20 * sizeof(WideChar)) + ", null)",
               "WinHttpQueryDataAvailable(h3)", "WinHttpReadData(h3, 3)", "WinHttpQueryDataAvailable(h3)",
               "WinHttpReadData(h3, 4)", "WinHttpQueryDataAvailable(h3)"}));
    EXPECT_EQ(files->Calls(), (Texts{"CreateFileW(\"/data/file\", 0x40000000, 0, null, 2, 128, null)",
                                     "WriteFile(f1, 3)", "WriteFile(f1, 4)", "CloseHandle(f1)"}));
    EXPECT_EQ(files->Contents(Path), "abcdefg");
    EXPECT_EQ(log.Texts(101),
              (Texts{"0 bytes of post data", "Request successfully sent", "Reading content of length: 7",
                     "No bytes to read [0]", "Finished reading data", "Returning [0] downloaded 7 / 7"}));
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::GetResponse", "Finished reading data"));
}

TEST_F(WinHttpRequestDownloadTest, APreviousFileIsReplaced) {
    Open();
    files->Put(Path, "old and much longer");
    Reply("3", {{3, "new"}});
    EXPECT_EQ(Download(), 0u);
    EXPECT_EQ(files->Contents(Path), "new");
}

TEST_F(WinHttpRequestDownloadTest, AnOffsetContinuesAnExistingFile) {
    Open();
    files->Put(Path, "abcdefgh");
    Reply("3", {{3, "XYZ"}});
    EXPECT_EQ(Download(4), 0u);
    EXPECT_EQ(files->Calls(), (Texts{"CreateFileW(\"/data/file\", 0x40000000, 0, null, 3, 128, null)",
                                     "SetFilePointer(f1, 4, 0, 0)", "WriteFile(f1, 3)", "CloseHandle(f1)"}));
    EXPECT_EQ(files->Contents(Path), "abcdXYZh");
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::GetResponse", "Returning [0] downloaded 7 / 7"));
}

TEST_F(WinHttpRequestDownloadTest, AnOffsetPastFourGibibytesUsesBothHalves) {
    Open();
    files->Put(Path, "");
    files->Fail("WriteFile", 112);
    Reply("3", {{3, "XYZ"}});
    EXPECT_EQ(Download(0x1'8000'0001u), 112u);
    EXPECT_EQ(files->Calls().at(1), "SetFilePointer(f1, 2147483649, 1, 0)");
}

TEST_F(WinHttpRequestDownloadTest, AnOffsetWhoseLowHalfIsAllOnesIsNoFailure) {
    Open();
    files->Put(Path, "");
    files->Fail("WriteFile", 112);
    Reply("3", {{3, "XYZ"}});
    EXPECT_EQ(Download(0xFFFFFFFFu), 112u);
    EXPECT_EQ(files->Calls().at(1), "SetFilePointer(f1, 4294967295, 0, 0)");
}

TEST_F(WinHttpRequestDownloadTest, AnOffsetIntoAMissingFileFails) {
    Open();
    Reply("3", {{3, "XYZ"}});
    EXPECT_EQ(Download(4), 2u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::GetResponse", "CreateFile failed, error code: 2"));
    EXPECT_FALSE(files->Exists(Path));
}

TEST_F(WinHttpRequestDownloadTest, AFailedSeekIsLoggedAndReturned) {
    Open();
    files->Put(Path, "abcdefgh");
    files->Fail("SetFilePointer", 131);
    Reply("3", {{3, "XYZ"}});
    EXPECT_EQ(Download(4), 131u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::GetResponse", "SetFilePointer failed, error code: 131"));
    EXPECT_EQ(files->Contents(Path), "abcdefgh");
}

TEST_F(WinHttpRequestDownloadTest, AStatusOtherThan200LeavesTheFileAlone) {
    Open();
    files->Put(Path, "mine");
    winHttp->reply = {.status = "404", .contentLength = "2", .rounds = {{2, "{}"}}};
    EXPECT_EQ(Download(), 20404u);
    EXPECT_EQ(files->Contents(Path), "mine");
    EXPECT_EQ(files->Calls(), Texts{});
    EXPECT_EQ(request->GetHTTPStatus(), 404u);
    // The error document can still be read.
    EXPECT_EQ(request->ReadResponse(response), 0u);
    EXPECT_EQ(response.text(), "{}");
}

TEST_F(WinHttpRequestDownloadTest, OtherSuccessStatusesAreFailuresToo) {
    Open();
    winHttp->reply.status = "206";
    EXPECT_EQ(Download(), 20206u);
    EXPECT_FALSE(files->Exists(Path));
}

TEST_F(WinHttpRequestDownloadTest, AnEmptyBodyMakesAnEmptyFile) {
    Open();
    files->Put(Path, "old");
    Reply("0", {});
    EXPECT_EQ(Download(), 0u);
    EXPECT_EQ(files->Contents(Path), "");
}

TEST_F(WinHttpRequestDownloadTest, AShortBodyIsAnUnderflow) {
    Open();
    Reply("9", {{3, "abc"}, {4, "defg"}});
    EXPECT_EQ(Download(), 19016u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::GetResponse",
                            "Download appears successful but we've only read an expected 7 / 9 bytes, returning "
                            "ERROR_DOWNLOAD_UNDERFLOW"));
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::GetResponse", "Returning [0] downloaded 7 / 9"));
    EXPECT_EQ(files->Contents(Path), "abcdefg");
}

TEST_F(WinHttpRequestDownloadTest, AnUnderflowCountsTheOffset) {
    Open();
    files->Put(Path, "abcd");
    Reply("5", {{3, "XYZ"}});
    EXPECT_EQ(Download(4), 19016u);
    EXPECT_TRUE(log.Has(101, "Returning [0] downloaded 7 / 9"));
}

TEST_F(WinHttpRequestDownloadTest, AReadOfNothingEndsTheBody) {
    Open();
    Reply("5", {{3, "abc"}, {2, ""}, {2, "de"}});
    EXPECT_EQ(Download(), 19016u);
    EXPECT_EQ(files->Contents(Path), "abc");
}

TEST_F(WinHttpRequestDownloadTest, WithoutAnAnnouncedLengthThereIsNoUnderflow) {
    Open();
    winHttp->reply = {.status = "200", .contentLength = {}, .rounds = {{3, "abc"}}};
    EXPECT_EQ(Download(), 0u);
    EXPECT_TRUE(log.Has(101, "Reading content of length: 0"));
    EXPECT_EQ(files->Contents(Path), "abc");
}

TEST_F(WinHttpRequestDownloadTest, ALengthTextThatNeedsMoreRoomIsAskedForOnceMore) {
    Open();
    Reply("0000000000000000000003", {{3, "abc"}});
    EXPECT_EQ(Download(), 0u);
    EXPECT_EQ(winHttp->Count("WinHttpQueryHeaders"), 3u);
    EXPECT_TRUE(log.Has(101, "Reading content of length: 3"));
}

TEST_F(WinHttpRequestDownloadTest, ALengthThatIsNoNumberCountsAsZero) {
    Open();
    Reply("-5", {{3, "abc"}});
    EXPECT_EQ(Download(), 0u);
    EXPECT_TRUE(log.Has(101, "Reading content of length: 0"));
}

TEST_F(WinHttpRequestDownloadTest, ALengthBeyondEveryNumberIsAnUnderflow) {
    Open();
    Reply("99999999999999999999", {{3, "abc"}});
    EXPECT_EQ(Download(), 19016u);
    EXPECT_TRUE(log.Has(101, "Returning [0] downloaded 3 / 9223372036854775807"));
}

TEST_F(WinHttpRequestDownloadTest, LengthsOfMoreThanFourGibibytesAreKept) {
    Open();
    Reply("5368709120", {{3, "abc"}});
    EXPECT_EQ(Download(), 19016u);
    EXPECT_TRUE(log.Has(101, "Reading content of length: 5368709120"));
}

TEST_F(WinHttpRequestDownloadTest, ProgressIsTheFileItsOffsetAndEachRound) {
    Open();
    files->Put(Path, "12");
    Reply("7", {{3, "abc"}, {4, "defg"}});
    const auto sink = std::make_shared<RecordingSink>();
    EXPECT_EQ(request->GetResponse(Path, 2, nullptr, sink, true, 42), 0u);
    EXPECT_EQ(sink->events, (Texts{"begin /data/file 2 42", "advance abc 5/9 42", "advance defg 9/9 42"}));
}

TEST_F(WinHttpRequestDownloadTest, ProgressHasNoTotalWhenNoneIsAnnounced) {
    Open();
    winHttp->reply = {.status = "200", .contentLength = {}, .rounds = {{3, "abc"}}};
    const auto sink = std::make_shared<RecordingSink>();
    EXPECT_EQ(request->GetResponse(Path, 0, nullptr, sink, true, 1), 0u);
    EXPECT_EQ(sink->events, (Texts{"begin /data/file 0 1", "advance abc 3/0 1"}));
}

TEST_F(WinHttpRequestDownloadTest, ProgressIsNotReportedUnlessAskedFor) {
    Open();
    Reply("3", {{3, "abc"}});
    const auto sink = std::make_shared<RecordingSink>();
    EXPECT_EQ(request->GetResponse(Path, 0, nullptr, sink, false, 1), 0u);
    EXPECT_EQ(sink->events, Texts{});
}

TEST_F(WinHttpRequestDownloadTest, ACancelEventStopsAfterTheRound) {
    Open();
    Reply("7", {{3, "abc"}, {4, "defg"}});
    const Event cancel;
    cancel.Set();
    EXPECT_EQ(Download(0, cancel.Get()), 1223u);
    EXPECT_EQ(files->Contents(Path), "abc");
    EXPECT_TRUE(log.Has(101, "Returning [1223] downloaded 3 / 7"));
    EXPECT_FALSE(log.Mentions("UNDERFLOW"));
}

TEST_F(WinHttpRequestDownloadTest, PartialFileWritesGoOnWithTheRest) {
    Open();
    files->writeLimit = 2;
    Reply("5", {{5, "abcde"}});
    EXPECT_EQ(Download(), 0u);
    EXPECT_EQ(files->Contents(Path), "abcde");
    EXPECT_EQ(files->Count("WriteFile"), 3u);
}

TEST_F(WinHttpRequestDownloadTest, AFileWriteThatTakesNothingIsAnError) {
    Open();
    files->writeLimit = 0;
    Reply("5", {{5, "abcde"}});
    EXPECT_EQ(Download(), 29u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::GetResponse", "WriteFile failed, error code: 29"));
}

struct FailureRow {
    const char* function;
    DWORD error;
    int nth;
    const char* text;
};

class DownloadFailureTest : public WinHttpRequestDownloadTest, public ::testing::WithParamInterface<FailureRow> {};

TEST_P(DownloadFailureTest, IsLoggedOnceAndReturned) {
    const FailureRow& row = GetParam();
    Open();
    Reply("7", {{3, "abc"}, {4, "defg"}});
    winHttp->Fail(row.function, row.error, row.nth);
    files->Fail(row.function, row.error, row.nth);
    EXPECT_EQ(Download(), row.error);
    EXPECT_EQ(log.Texts(103), Texts{row.text});
    EXPECT_TRUE(LoggedError("WinHttpRequest::GetResponse", row.text));
}

INSTANTIATE_TEST_SUITE_P(
    EachCall, DownloadFailureTest,
    ::testing::Values(
        FailureRow{"WinHttpReceiveResponse", 12002, 1, "WinHttpReceiveResponse failed, error code: 12002"},
        FailureRow{"WinHttpQueryHeaders", 6, 1, "WinHttpQueryHeaders failed, error code: 6"},
        FailureRow{"WinHttpQueryHeaders", 12019, 2, "WinHttpQueryHeaders failed, error code: 12019"},
        FailureRow{"CreateFileW", 5, 1, "CreateFile failed, error code: 5"},
        FailureRow{"WinHttpQueryDataAvailable", 12030, 2, "WinHttpQueryDataAvailable failed, error code: 12030"},
        FailureRow{"WinHttpReadData", 12017, 2, "WinHttpReadData failed, error code: 12017"},
        FailureRow{"WriteFile", 112, 2, "WriteFile failed, error code: 112"}),
    [](const ::testing::TestParamInfo<FailureRow>& row) {
        return "Of" + std::string(row.param.function) + "Number" + std::to_string(row.param.nth);
    });

TEST_F(WinHttpRequestDownloadTest, FailedHeadersAreLoggedAndReturned) {
    Open(QM_W("t0ken"));
    for (const int nth : {1, 2}) {
        log.Clear();
        winHttp->Fail("WinHttpAddRequestHeaders", 12019, nth);
        EXPECT_EQ(request->SendRequestGetResponse(Path, 0, nullptr, nullptr, true, 0), 12019u);
        EXPECT_TRUE(LoggedError("WinHttpRequest::SendRequestGetResponse",
                                "WinHttpAddRequestHeaders failed, error code: 12019"));
    }
    EXPECT_EQ(winHttp->Count("WinHttpSendRequest"), 0u);
}

TEST_F(WinHttpRequestDownloadTest, AFailedSendIsLoggedAndReturned) {
    Open();
    winHttp->Fail("WinHttpSendRequest", 12029);
    EXPECT_EQ(request->SendRequestGetResponse(Path, 0, nullptr, nullptr, true, 0), 12029u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendRequestGetResponse", "SendRequest failed, error code: 12029"));
    EXPECT_EQ(winHttp->Count("WinHttpReceiveResponse"), 0u);
}

TEST_F(WinHttpRequestDownloadTest, ASecondLengthQueryThatFailsIsReturned) {
    Open();
    Reply("0000000000000000000003", {{3, "abc"}});
    winHttp->Fail("WinHttpQueryHeaders", 122, 3);
    EXPECT_EQ(Download(), 122u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::GetResponse", "WinHttpQueryHeaders failed, error code: 122"));
}

}  // namespace
}  // namespace quillmark
