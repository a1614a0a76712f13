// Streamed multipart bodies.
#include "UploadTest.h"

namespace quillmark {
namespace {

class WinHttpRequestMultipartTest : public UploadTest {};

TEST_F(WinHttpRequestMultipartTest, AWholeUploadMakesTheseBytes) {
    Open(QM_W("t0ken"), QM_W("POST"));
    files->Put(Path, "hello");
    const std::string boundary = Boundary();
    ASSERT_EQ(boundary.size(), 56u);
    winHttp->ClearCalls();

    request->AddMultipartFormField(std::string("operation"), std::string("create"));
    // 2 + 56 + 2, then 38 + 9 + 5, then 6 + 2
    EXPECT_EQ(request->GetPostDataLength(), 120u);
    std::uint64_t part = 0;
    ASSERT_EQ(SendWhole(&part), 0u);
    // 60, then 38 + 4 + 13 + 17 + 3 = 75, then 43 (one too many), then 5 + 2
    EXPECT_EQ(part, 185u);
    EXPECT_EQ(request->GetMultipartEndLength(), 64u);
    ASSERT_EQ(request->StartRequest(120 + part + 64), 0u);
    ASSERT_EQ(request->SendPostData(), 0u);
    ASSERT_EQ(SendWhole(), 0u);
    request->EndMultipart();
    EXPECT_EQ(request->GetPostDataLength(), 62u);
    ASSERT_EQ(request->SendPostData(), 0u);
    ASSERT_EQ(request->ReceiveResponse(response), 0u);

    EXPECT_EQ(winHttp->Body(), "--" + boundary +
                                   "\r\n"
                                   "Content-Disposition: form-data; name=\"operation\"\r\n"
                                   "\r\n"
                                   "create\r\n"
                                   "--" +
                                   boundary +
                                   "\r\n"
                                   "Content-Disposition: form-data; name=\"file\"; filename=\"my+file%C3%A9.txt\"\r\n"
                                   "Content-Type: application/octet-stream\r\n"
                                   "\r\n"
                                   "hello\r\n"
                                   "--" +
                                   boundary + "--\r\n");
    // Announced are three bytes more than these.
    EXPECT_EQ(winHttp->Body().size(), 366u);
    EXPECT_EQ(
        winHttp->Calls(),
        (Texts{"WinHttpAddRequestHeaders(h3, \"Cookie: session_token=t0ken\", -1, 0x40000000)",
               "WinHttpSendRequest(h3, \"Content-Length: 369\r\n\", -1, null, 0, 369, 0)", "WinHttpWriteData(h3, 120)",
               "WinHttpWriteData(h3, 60)", "WinHttpWriteData(h3, 75)", "WinHttpWriteData(h3, 42)",
               "WinHttpWriteData(h3, 5)", "WinHttpWriteData(h3, 2)", "WinHttpWriteData(h3, 62)",
               "WinHttpReceiveResponse(h3, null)", "WinHttpQueryHeaders(h3, 0x00000013, null, null, 0, null)",
               "WinHttpQueryHeaders(h3, 0x00000013, null, buffer, 8, null)", "WinHttpQueryDataAvailable(h3)"}));
}

TEST_F(WinHttpRequestMultipartTest, ABodyOfTheClosingLineAloneIsAnnouncedTwoBytesLonger) {
    Open();
    const std::string boundary = Boundary();
    request->EndMultipart();
    ASSERT_EQ(request->SendPostData(), 0u);
    EXPECT_EQ(winHttp->Body(), "--" + boundary + "--\r\n");
    EXPECT_EQ(request->GetMultipartEndLength(), winHttp->Body().size() + 2);
}

TEST_F(WinHttpRequestMultipartTest, EndLengthIsThatOfALineBreakAndTheClosingLine) {
    Open();
    EXPECT_EQ(request->GetMultipartEndLength(), ("\r\n--" + Boundary() + "--\r\n").size());
}

TEST_F(WinHttpRequestMultipartTest, HeadersAskForJsonAndNameTheBoundaryWithABareLineFeed) {
    Open();
    const std::string boundary = Boundary();
    EXPECT_EQ(winHttp->Calls(), (Texts{"WinHttpAddRequestHeaders(h3, \"Accept: application/json\", -1, 0x60000000)",
                                       "WinHttpAddRequestHeaders(h3, \"Content-Type: multipart/form-data; boundary=\"" +
                                           boundary + "\"\n\", -1, 0xa0000000)"}));
}

TEST_F(WinHttpRequestMultipartTest, HeadersMayAskForOctets) {
    Open();
    ASSERT_EQ(request->AddMultipartHeaders(false), 0u);
    EXPECT_EQ(winHttp->Calls().at(0),
              "WinHttpAddRequestHeaders(h3, \"Accept: application/octet-stream\", -1, 0x60000000)");
}

TEST_F(WinHttpRequestMultipartTest, FailedHeadersReturnTheirCode) {
    Open();
    winHttp->Fail("WinHttpAddRequestHeaders", 12019);
    EXPECT_EQ(request->AddMultipartHeaders(true), 12019u);
    winHttp->Fail("WinHttpAddRequestHeaders", 12018, 2);
    EXPECT_EQ(request->AddMultipartHeaders(true), 12018u);
    EXPECT_TRUE(
        LoggedError("WinHttpRequest::AddMultipartHeaders", "WinHttpAddRequestHeaders failed, error code: 12018"));
}

TEST_F(WinHttpRequestMultipartTest, TwoRequestsCarryTheSameBoundary) {
    Open();
    const std::string first = Boundary();
    request = WinHttpFactory().CreateRequest(session);
    ASSERT_EQ(request->Initialise(QM_W("/y"), QM_W("POST"), connection, nullptr, 0, false), 0u);
    EXPECT_EQ(Boundary(), first);
}

TEST_F(WinHttpRequestMultipartTest, WideFieldsAreSentAsUtf8) {
    Open();
    const std::string boundary = Boundary();
    request->AddMultipartFormField(WideString(QM_W("na\u00efve")), WideString(QM_W("\u00e9t\u00e9")));
    ASSERT_EQ(request->SendPostData(), 0u);
    EXPECT_EQ(winHttp->Body(), "--" + boundary +
                                   "\r\nContent-Disposition: form-data; name=\"na\xC3\xAFve\"\r\n\r\n"
                                   "\xC3\xA9t\xC3\xA9\r\n");
}

TEST_F(WinHttpRequestMultipartTest, ASizeRequestSendsNothingAndIsLogged) {
    Open();
    files->Put(Path, "hello");
    std::uint64_t size = 0;
    EXPECT_EQ(SendRange(1, 3, &size), 0u);
    EXPECT_EQ(size, 60u + 75 + 43 + 3 + 2);
    EXPECT_EQ(winHttp->Calls(), Texts{});
    EXPECT_EQ(files->Calls(), (Texts{"CreateFileW(\"/data/my file\xC3\xA9.txt\", 0x80000000, 7, null, 3, 128, null)",
                                     "GetFileSize(f1)", "CloseHandle(f1)"}));
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::SendMultipartFile",
                                  "Size request for [/data/my file\xC3\xA9.txt], returned: 183 bytes"));
}

TEST_F(WinHttpRequestMultipartTest, AWholeFileIsOpenedOnceForItsSizeAndOnceForItsBytes) {
    Open();
    files->Put(Path, "hello");
    ASSERT_EQ(SendWhole(), 0u);
    const std::string create = "CreateFileW(\"/data/my file\xC3\xA9.txt\", 0x80000000, 7, null, 3, 128, null)";
    EXPECT_EQ(files->Calls(),
              (Texts{create, "GetFileSize(f1)", "CloseHandle(f1)", create, "GetFileSize(f2)",
                     "SetFilePointerEx(f2, 0, 0)", "ReadFile(f2, 5)", "GetFileSize(f2)", "CloseHandle(f2)"}));
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::SendMultipartFile", "Data request for '/data/my file\xC3\xA9.txt'"));
}

TEST_F(WinHttpRequestMultipartTest, ARangeSendsItsBytes) {
    Open();
    files->Put(Path, "hello");
    EXPECT_EQ(SendRange(1, 3), 0u);
    EXPECT_EQ(SentRange(), "ell");
    EXPECT_TRUE(winHttp->Body().ends_with("ell\r\n"));
}

TEST_F(WinHttpRequestMultipartTest, ARangePastTheEndIsCutInBothForms) {
    Open();
    files->Put(Path, "hello");
    std::uint64_t size = 0;
    EXPECT_EQ(SendRange(3, 100, &size), 0u);
    EXPECT_EQ(size, 60u + 75 + 43 + 2 + 2);
    EXPECT_EQ(SendRange(3, 100), 0u);
    EXPECT_EQ(SentRange(), "lo");
}

TEST_F(WinHttpRequestMultipartTest, ARangeWhoseEndOverflowsIsCut) {
    Open();
    files->Put(Path, "hello");
    EXPECT_EQ(SendRange(1, 18446744073709551615u), 0u);
    EXPECT_EQ(SentRange(), "ello");
}

TEST_F(WinHttpRequestMultipartTest, ARangeBehindTheEndIsEmpty) {
    Open();
    files->Put(Path, "hello");
    std::uint64_t size = 0;
    EXPECT_EQ(SendRange(6, 5, &size), 0u);
    EXPECT_EQ(size, 60u + 75 + 43 + 0 + 2);
    EXPECT_EQ(SendRange(6, 5), 0u);
    EXPECT_EQ(SentRange(), "");
}

TEST_F(WinHttpRequestMultipartTest, AnEmptyRangeStillHasItsHeadAndLineBreak) {
    Open();
    files->Put(Path, "");
    EXPECT_EQ(SendWhole(), 0u);
    EXPECT_EQ(winHttp->Calls(), (Texts{"WinHttpWriteData(h3, 60)", "WinHttpWriteData(h3, 75)",
                                       "WinHttpWriteData(h3, 42)", "WinHttpWriteData(h3, 2)"}));
    EXPECT_EQ(files->Count("ReadFile"), 0u);
}

TEST_F(WinHttpRequestMultipartTest, ALongFileGoesInChunksOf16384BytesWithOneWriteEach) {
    Open();
    const auto writesOf = [this](std::size_t size) {
        files->Put(Path, std::string(size, 'x'));
        winHttp->ClearCalls();
        EXPECT_EQ(SendWhole(), 0u);
        Texts lengths;
        for (const std::string& call : winHttp->Calls()) {
            lengths.push_back(call.substr(call.find(", ") + 2));
        }
        return lengths;
    };
    EXPECT_EQ(writesOf(16383), (Texts{"60)", "75)", "42)", "16383)", "2)"}));
    EXPECT_EQ(writesOf(16384), (Texts{"60)", "75)", "42)", "16384)", "2)"}));
    EXPECT_EQ(writesOf(16385), (Texts{"60)", "75)", "42)", "16384)", "1)", "2)"}));
    EXPECT_EQ(writesOf(40000), (Texts{"60)", "75)", "42)", "16384)", "16384)", "7232)", "2)"}));
}

TEST_F(WinHttpRequestMultipartTest, SizesOfMoreThanFourGibibytesAreCounted) {
    Open();
    std::uint64_t size = 0;
    for (const std::uint64_t length : {2147483648u, 4294967295u}) {
        files->Put(Path, "", length);
        EXPECT_EQ(SendWhole(&size), 0u);
        EXPECT_EQ(size, 180 + length);
    }
    files->Put(Path, "", 5368709120u);
    EXPECT_EQ(SendWhole(&size), 0u);
    EXPECT_EQ(size, 5368709300u);
    EXPECT_EQ(SendRange(4294967296u, 16384, &size), 0u);
    EXPECT_EQ(size, 180u + 16384);
    EXPECT_EQ(SendRange(5368709119u, 16384, &size), 0u);
    EXPECT_EQ(size, 181u);
}

TEST_F(WinHttpRequestMultipartTest, ARangeBehindFourGibibytesIsSoughtWith64Bits) {
    Open();
    files->Put(Path, "", 5368709120u);
    EXPECT_EQ(SendRange(4294967297u, 10), 0u);
    EXPECT_EQ(files->Calls().at(2), "SetFilePointerEx(f1, 4294967297, 0)");
}

TEST_F(WinHttpRequestMultipartTest, ShortReadsGoOn) {
    Open();
    files->Put(Path, "hello");
    files->readLimit = 2;
    EXPECT_EQ(SendWhole(), 0u);
    EXPECT_EQ(SentRange(), "hello");
}

TEST_F(WinHttpRequestMultipartTest, PartialWritesOfAChunkGoOnWithItsRest) {
    Open();
    files->Put(Path, "hello world");
    winHttp->writeLimit = 4;
    const auto sink = std::make_shared<RecordingSink>();
    EXPECT_EQ(SendRange(0, 11, nullptr, nullptr, sink), 0u);
    EXPECT_EQ(SentRange(), "hello world");
    EXPECT_EQ(files->Count("ReadFile"), 1u);
    EXPECT_EQ(sink->events.size(), 2u);
}

TEST_F(WinHttpRequestMultipartTest, AWriteThatTakesNothingIsAnError) {
    Open();
    files->Put(Path, "hello");
    winHttp->writeLimit = 0;
    EXPECT_EQ(SendWhole(), 29u);
}

TEST_F(WinHttpRequestMultipartTest, ProgressIsTheFileItsOffsetAndEachChunk) {
    Open();
    files->Put(Path, "0123456789");
    files->readLimit = 3;
    const auto sink = std::make_shared<RecordingSink>();
    EXPECT_EQ(SendRange(2, 5, nullptr, nullptr, sink), 0u);
    EXPECT_EQ(sink->events, (Texts{"begin /data/my file\xC3\xA9.txt 2 7", "advance 234 5/10 7", "advance 56 7/10 7"}));
}

TEST_F(WinHttpRequestMultipartTest, ASizeRequestReportsNoProgress) {
    Open();
    files->Put(Path, "hello");
    const auto sink = std::make_shared<RecordingSink>();
    std::uint64_t size = 0;
    EXPECT_EQ(SendRange(0, 5, &size, nullptr, sink), 0u);
    EXPECT_EQ(sink->events, Texts{});
}

}  // namespace
}  // namespace quillmark
