// The chunks of a resumable upload. Their registry is a folder of the test's own.
#include "unit/client/ClientTest.h"
#include "unit/client/SettingsFolder.h"

namespace quillmark::test {
namespace {

class ResumableUpload : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        client->SetSessionToken(QM_W("sent"));
        factory->SetLengths({100, 20000, 30});
        factory->ClearCalls();
        attributes->SetCreationTime(CAttributeTime::Parse("2015-03-01T10:20:30.123Z"));
        attributes->SetLastWriteTime(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        attributes->SetFileAttributes(0x20);
        attributes->SetSize(1000);
        attributes->SetRevision("r1");
    }
    DWORD Run(bool first = false) {
        return client->ResumableUpload(QM_W("/home/ann/a"), QM_W("/Shared/a b"), attributes, Id, offset, length, first,
                                       cancelEvent, nullptr, 7);
    }
    [[nodiscard]] Lines Headers() const { return CallsOf("AddHeader"); }
    [[nodiscard]] bool HasHeader(const std::string& header) const {
        for (const std::string& call : Headers()) {
            if (call.find(", " + header + ")") != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    static constexpr GUID Id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
    SettingsFolder settings;
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    std::int64_t offset = 200;
    std::int64_t length = 300;
    HANDLE cancelEvent = nullptr;
};

TEST_F(ResumableUpload, MakesItsCallsInThisOrder) {
    factory->Reply(200, "not read");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()",
                     "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/resume/upload/Shared/a%20b?resume_id="
                     "0F8FAD5B-D9CB-469F-A165-70867728950E\", \"POST\", c3, null, 0x00000000, false)",
                     "AddHeader(r3, \"qm_file_size\", \"1000\")",
                     "AddHeader(r3, \"qm_file_creation_time\", \"2015-03-01T10:20:30.123Z\")",
                     "AddHeader(r3, \"qm_file_modification_time\", \"2016-02-29T23:59:59.999Z\")",
                     "AddHeader(r3, \"qm_attributes\", \"32\")",
                     "AddHeader(r3, \"qm_revision\", \"r1\")",
                     "AddHeader(r3, \"qm_offset\", \"200\")",
                     "AddHeader(r3, \"qm_block_size\", \"300\")",
                     "SendMultipartFile(r3, file, \"/home/ann/a\", \"/Shared/a b\", 200, 300, measure, no sink 7)",
                     "AddMultipartHeaders(r3, true)",
                     "GetMultipartEndLength(r3)",
                     "StartRequest(r3, 20030)",
                     "SendMultipartFile(r3, file, \"/home/ann/a\", \"/Shared/a b\", 200, 300, send, no sink 7)",
                     "EndMultipart(r3)",
                     "SendPostData(r3)",
                     "ReceiveResponse(r3)",
                     "GetHTTPStatus(r3)"}));
    EXPECT_EQ(offset, 200);
    EXPECT_EQ(length, 300);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(ResumableUpload, LogsItsSteps) {
    EXPECT_EQ(Run(), 0u);
    for (const char* text : {"Uploading 300-byte chunk of [/home/ann/a] from 200 with GUID "
                             "[0F8FAD5B-D9CB-469F-A165-70867728950E]",
                             "Chunk uploaded successfully: /home/ann/a"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::ResumableUpload", text)) << text;
    }
    for (const char* text : {"Sending begin marker", "Sending end marker", "Sending expiry", "Past end of file"}) {
        EXPECT_FALSE(log.Mentions(text)) << text;
    }
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::ResumableUpload", "Exited [status=0]"));
}

TEST_F(ResumableUpload, AChunkPastTheEndIsShortenedAndTheLast) {
    offset = 900;
    factory->Reply(200, R"({"revision":"r2"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(length, 100);
    EXPECT_TRUE(HasHeader("\"qm_block_size\", \"100\""));
    EXPECT_TRUE(HasHeader("\"qm_finish\", \"true\""));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("SendMultipartFile(r3, file, \"/home/ann/a\", \"/Shared/a b\", "
                                                      "900, 100, send, no sink 7)"));
    for (const char* text : {"Past end of file: 900 + 300 > 1000", "New length: 100", "Sending end marker"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::ResumableUpload", text)) << text;
    }
}

TEST_F(ResumableUpload, AChunkToTheEndIsTheLastAndBringsTheRecord) {
    offset = 700;
    factory->Reply(200, R"({"name":"a b","revision":"r2"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(Headers().back(), "(r3, \"qm_finish\", \"true\")");
    EXPECT_FALSE(HasHeader("\"qm_start\", \"true\""));
    EXPECT_EQ(attributes->GetRevision(), "r2");
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::ResumableUpload", "Extracted attributes from upload reply"));
    EXPECT_FALSE(log.Mentions("Past end of file"));
}

TEST_F(ResumableUpload, TheFirstChunkIsMarked) {
    offset = 0;
    EXPECT_EQ(Run(true), 0u);
    EXPECT_EQ(Headers().back(), "(r3, \"qm_start\", \"true\")");
    EXPECT_FALSE(HasHeader("\"qm_finish\", \"true\""));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::ResumableUpload", "Sending begin marker"));
}

TEST_F(ResumableUpload, OneChunkMayBeTheFirstAndTheLast) {
    offset = 0;
    length = 1000;
    EXPECT_EQ(Run(true), 0u);
    const Lines headers = Headers();
    ASSERT_GE(headers.size(), 2u);
    EXPECT_EQ(headers[headers.size() - 2], "(r3, \"qm_start\", \"true\")");
    EXPECT_EQ(headers[headers.size() - 1], "(r3, \"qm_finish\", \"true\")");
}

TEST_F(ResumableUpload, AnEmptyFileIsOneChunk) {
    attributes->SetSize(0);
    offset = 0;
    length = 0;
    EXPECT_EQ(Run(true), 0u);
    EXPECT_TRUE(HasHeader("\"qm_finish\", \"true\""));
    EXPECT_TRUE(HasHeader("\"qm_block_size\", \"0\""));
}

TEST_F(ResumableUpload, OffsetsAndLengthsBeyond32BitsAreKept) {
    attributes->SetSize(21474836480);
    offset = 8589934592;
    length = 5368709120;
    factory->SetLengths({0, 5368709164, 30});
    EXPECT_EQ(Run(), 0u);
    EXPECT_TRUE(HasHeader("\"qm_file_size\", \"21474836480\""));
    EXPECT_TRUE(HasHeader("\"qm_offset\", \"8589934592\""));
    EXPECT_TRUE(HasHeader("\"qm_block_size\", \"5368709120\""));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("StartRequest(r3, 5368709194)"));
}

TEST_F(ResumableUpload, ALengthThatWouldOverflowIsClippedToo) {
    length = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(length, 800);
}

TEST_F(ResumableUpload, AnEmptyRevisionSendsNoHeader) {
    attributes->SetRevision("");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(Headers().size(), 6u);
    EXPECT_FALSE(log.Mentions("qm_revision"));
}

TEST_F(ResumableUpload, TheExpiryIsTheSettingsHoursFromNow) {
    settings.Write("\"UploadExpiry\"=dword:0000000c\n");
    const std::int64_t twelveHours = 12 * 36000000000;
    const std::int64_t before = CAttributeTime::Now().Ticks() + twelveHours;
    EXPECT_EQ(Run(), 0u);
    const std::int64_t after = CAttributeTime::Now().Ticks() + twelveHours;
    const std::string header = Headers().back();
    const std::string prefix = "(r3, \"qm_expiry\", \"";
    ASSERT_THAT(header, ::testing::StartsWith(prefix));
    const std::string text = header.substr(prefix.size(), 24);
    const std::int64_t expiry = CAttributeTime::Parse(text).Ticks();
    EXPECT_GT(expiry, before - 10000);  // printed to the millisecond
    EXPECT_LE(expiry, after);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::ResumableUpload", "Sending expiry: " + text));
}

TEST_F(ResumableUpload, ItsMarksGoOutAndAreLoggedInTheirOrder) {
    settings.Write("\"UploadExpiry\"=dword:ffffffff\n");
    offset = 0;
    length = 1000;
    EXPECT_EQ(Run(true), 0u);
    EXPECT_EQ(
        Headers(),
        (Lines{"(r3, \"qm_file_size\", \"1000\")", "(r3, \"qm_file_creation_time\", \"2015-03-01T10:20:30.123Z\")",
               "(r3, \"qm_file_modification_time\", \"2016-02-29T23:59:59.999Z\")", "(r3, \"qm_attributes\", \"32\")",
               "(r3, \"qm_revision\", \"r1\")", "(r3, \"qm_offset\", \"0\")", "(r3, \"qm_block_size\", \"1000\")",
               "(r3, \"qm_start\", \"true\")", "(r3, \"qm_finish\", \"true\")",
               "(r3, \"qm_expiry\", \"9999-12-31T23:59:59.999Z\")"}));
    Lines sending;
    for (const std::string& text : log.Texts(Information)) {
        if (text.starts_with("Sending ")) {
            sending.push_back(text);
        }
    }
    EXPECT_EQ(sending,
              (Lines{"Sending begin marker", "Sending end marker", "Sending expiry: 9999-12-31T23:59:59.999Z"}));
}

TEST_F(ResumableUpload, TheExpiryIsReadOncePerProcess) {
    EXPECT_EQ(Run(), 0u);
    settings.Write("\"UploadExpiry\"=dword:0000000c\n");
    EXPECT_EQ(Run(), 0u);
    EXPECT_FALSE(log.Mentions("Sending expiry"));
}

TEST_F(ResumableUpload, AnExpiryBeyondTheCalendarIsItsLastDay) {
    settings.Write("\"UploadExpiry\"=dword:ffffffff\n");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(Headers().back(), "(r3, \"qm_expiry\", \"9999-12-31T23:59:59.999Z\")");
}

TEST_F(ResumableUpload, AHeaderThatTheTransportRefusesIsItsCodeBeforeAnythingIsSent) {
    for (int header = 1; header <= 7; ++header) {
        factory->Fail("AddHeader", 87, header);
        EXPECT_EQ(Run(), 87u);
    }
    EXPECT_EQ(factory->Count("AddHeader"), 1u + 2u + 3u + 4u + 5u + 6u + 7u);
    EXPECT_EQ(factory->Count("SendMultipartFile"), 0u);
    EXPECT_EQ(factory->Count("StartRequest"), 0u);
}

TEST_F(ResumableUpload, AChunkWithoutAPlaceInTheFileIs87WithoutARequest) {
    offset = -1;
    EXPECT_EQ(Run(), 87u);
    offset = 1001;
    EXPECT_EQ(Run(), 87u);
    offset = 0;
    length = -1;
    EXPECT_EQ(Run(), 87u);
    length = 1;
    attributes->ClearSize();
    EXPECT_EQ(Run(), 87u);
    attributes = nullptr;
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(ResumableUpload, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->ResumableUpload(QM_W("f"), lone, attributes, Id, offset, length, true, nullptr, nullptr, 0),
              1113u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(ResumableUpload, ASetCancelEventIs1223WithoutSendingAByte) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), 1223u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::ResumableUpload", "Upload canceled"));
    EXPECT_EQ(factory->Count("AddHeader"), 0u);
}

TEST_F(ResumableUpload, AnEventSetWhenTheReplyIsThereIs1223WithoutTheLine) {
    Event cancel;
    cancelEvent = cancel.Handle();
    factory->OnCall([&](const std::string& call) {
        if (call == "ReceiveResponse(r3)") {
            cancel.Set();
        }
    });
    EXPECT_EQ(Run(), 1223u);
    factory->OnCall({});
    EXPECT_FALSE(log.Mentions("Upload canceled"));
    EXPECT_EQ(factory->Count("GetHTTPStatus"), 0u);
}

TEST_F(ResumableUpload, AFailingStepIsItsCodeAndTheLastOne) {
    const std::tuple<const char*, int, const char*> steps[] = {
        {"SendMultipartFile", 1, "SendMultipartFile failed, error code: 12030"},
        {"AddMultipartHeaders", 1, "AddMultipartHeaders failed, error code: 12030"},
        {"StartRequest", 1, "StartRequest failed, error code: 12030"},
        {"SendMultipartFile", 2, "SendMultipartFile failed, error code: 12030"},
        {"SendPostData", 1, "httpRequest->SendPostData, error code: 12030"},
        {"ReceiveResponse", 1, "ReceiveResponse failed, error code: 12030"}};
    for (const auto& [step, nth, text] : steps) {
        factory->ClearCalls();
        log.Clear();
        factory->Fail(step, 12030, nth);
        EXPECT_EQ(Run(), 12030u) << step << nth;
        EXPECT_THAT(factory->Calls().back(), ::testing::StartsWith(step)) << step << nth;
        EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::ResumableUpload", text)) << text;
    }
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
}

TEST_F(ResumableUpload, ALastChunkWithoutOneItemIs13) {
    offset = 700;
    for (const char* reply : {"[]", "[{},{}]", "no JSON"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), 13u) << reply;
    }
    factory->Reply(200);
    EXPECT_EQ(Run(), 13u);
    EXPECT_EQ(log.Count(Error, "Failed to extract attributes from response"), 4u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(ResumableUpload, ARefusalWithoutABodyIs12152) {
    factory->Reply(500);
    EXPECT_EQ(Run(), 12152u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::ResumableUpload", "GetHTTPStatus shows failure, code: 500"));
    EXPECT_FALSE(log.Mentions("GetErrorCode shows"));
}

TEST_F(ResumableUpload, ARefusalIsTheServersCodeAndLoggedWithItsSeverity) {
    factory->Reply(507, R"({"errorId":"17","severity":"2","document_info":{"revision":"r9"}})");
    EXPECT_EQ(Run(), 20017u);
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::ResumableUpload", "GetErrorCode shows status 20017 severity: 2"));
    EXPECT_EQ(attributes->GetRevision(), "r1");
    EXPECT_EQ(offset, 200);
}

TEST_F(ResumableUpload, AChunkOutOfStepCorrectsTheOffset) {
    factory->Reply(409, R"({"errorId":"1202","severity":"1"})");
    factory->Reply(200, R"({"bytes_received":"5368709120","is_locked":"false"})");
    EXPECT_EQ(Run(), 21202u);
    EXPECT_EQ(offset, 5368709120);
    EXPECT_EQ(length, 300);
    const Lines calls = factory->Calls();
    ASSERT_EQ(calls.size(), 27u);
    EXPECT_EQ(calls[20], "Close(r3)");
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetResumableUploadMetadata",
                        "Metadata request for [/Shared/a b] Guid:[0F8FAD5B-D9CB-469F-A165-70867728950E]"));
    EXPECT_EQ(calls[24],
              "Request::Initialise(r4, \"/qm/resume/upload/Shared/a%20b?resume_id="
              "0F8FAD5B-D9CB-469F-A165-70867728950E\", \"GET\", c4, null, 0x00000000, false)");
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::ResumableUpload", "GetErrorCode shows status 21202 severity: 1"));
}

TEST_F(ResumableUpload, AChunkOutOfStepKeepsTheOffsetWhenTheServersCannotBeHad) {
    for (const char* metadata : {"{}", R"({"bytes_received":500})", "no JSON"}) {
        factory->Reply(409, R"({"errorId":"1202"})");
        factory->Reply(200, metadata);
        EXPECT_EQ(Run(), 21202u) << metadata;
    }
    factory->Reply(409, R"({"errorId":"1202"})");
    factory->Reply(404);
    EXPECT_EQ(Run(), 21202u);
    EXPECT_EQ(offset, 200);
}

TEST_F(ResumableUpload, ARevisionMismatchHandsBackTheServersRecord) {
    factory->Reply(409, R"({"errorId":"1077","severity":"2","document_info":{"revision":"r9"}})");
    EXPECT_EQ(Run(), 21077u);
    EXPECT_EQ(attributes->GetRevision(), "r9");
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::ResumableUpload", "Extracted attributes from upload reply"));
    EXPECT_TRUE(log.Has(Error, "GetErrorCode shows status 21077 severity: 2"));
}

TEST_F(ResumableUpload, ARevisionMismatchWithoutOneRecordIs13) {
    for (const char* reply : {R"({"errorId":"1077"})", R"({"errorId":"1077","document_info":{"directory":"true"}})"}) {
        factory->Reply(409, reply);
        EXPECT_EQ(Run(), 13u) << reply;
    }
    EXPECT_EQ(attributes->GetRevision(), "r1");
    EXPECT_EQ(log.Count(Error, "GetErrorCode shows status 13 severity: 0"), 2u);
}

TEST_F(ResumableUpload, A401WhoseTokenHasChangedMeanwhileIsARetry) {
    factory->Reply(401, R"({"errorId":"6"})");
    ChangeTokenWhen("ReceiveResponse(r3)");
    EXPECT_EQ(Run(), 1237u);
    factory->OnCall({});
}

}  // namespace
}  // namespace quillmark::test
