// What is asked of a resumable upload beside its chunks.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class UploadSession : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        client->SetSessionToken(QM_W("sent"));
        factory->SetLengths({100, 20000, 30});
        factory->ClearCalls();
        attributes->SetRevision("r1");
    }
    DWORD Cancel() { return client->CancelUpload(Path, Id, nullptr); }
    DWORD Complete() { return client->CompleteUpload(Path, QM_W("/Shared/n\u00E9w"), Id, attributes, nullptr); }
    DWORD Metadata() { return client->GetResumableUploadMetadata(Path, Id, offset, locked, nullptr); }

    // The opening of a request about the upload, whose verb is this.
    static Lines Opening(const std::string& verb) {
        return {"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                "Request::Initialise(r3, \"/qm/resume/upload/Shared/a%20b?resume_id="
                "0F8FAD5B-D9CB-469F-A165-70867728950E\", \"" +
                    verb + "\", c3, null, 0x00000000, false)"};
    }
    static Lines Join(Lines left, const Lines& right) {
        left.insert(left.end(), right.begin(), right.end());
        return left;
    }

    static constexpr GUID Id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
    const WideString Path = QM_W("/Shared/a b");
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    std::int64_t offset = -7;
    bool locked = false;
};

TEST_F(UploadSession, CancelUploadDeletesIt) {
    factory->Reply(200);
    EXPECT_EQ(Cancel(), 0u);
    EXPECT_EQ(factory->Calls(), Join(Opening("DELETE"), {"GetResponse(r3)", "GetHTTPStatus(r3)"}));
    for (const char* text : {"Cancelling upload to [/Shared/a b], guid:0F8FAD5B-D9CB-469F-A165-70867728950E",
                             "Successfully canceled upload to [/Shared/a b]"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::CancelUpload", text)) << text;
    }
}

TEST_F(UploadSession, AFailedCancelUploadIsItsCode) {
    factory->Reply(404, R"({"errorId":"17"})");
    EXPECT_EQ(Cancel(), 20017u);
    factory->Fail("GetResponse", 12030);
    EXPECT_EQ(Cancel(), 12030u);
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Cancel(), 12005u);
    EXPECT_FALSE(log.Mentions("Successfully canceled"));
}

TEST_F(UploadSession, CompleteUploadSendsTheClosingLineAlone) {
    factory->Reply(200, R"({"name":"new","revision":"r2"})");
    EXPECT_EQ(Complete(), 0u);
    EXPECT_EQ(factory->Calls(),
              Join(Opening("POST"),
                   {"AddHeader(r3, \"qm_finish\", \"true\")", "AddHeader(r3, \"qm_new_path\", \"/Shared/n\xC3\xA9w\")",
                    "AddMultipartHeaders(r3, true)", "GetMultipartEndLength(r3)", "StartRequest(r3, 30)",
                    "EndMultipart(r3)", "SendPostData(r3)", "ReceiveResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_EQ(attributes->GetRevision(), "r2");
    for (const char* text : {"Completing upload of [/Shared/a b] to [/Shared/n\xC3\xA9w] with GUID "
                             "[0F8FAD5B-D9CB-469F-A165-70867728950E]",
                             "Chunk completed successfully", "Extracted attributes from upload reply"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::CompleteUpload", text)) << text;
    }
}

TEST_F(UploadSession, AFailingStepOfCompleteUploadIsItsCodeAndTheLastOne) {
    const std::tuple<const char*, int, Lines> steps[] = {
        {"AddHeader", 1, {}},
        {"AddHeader", 2, {}},
        {"AddMultipartHeaders", 1, {"AddMultipartHeaders failed, error code: 12030"}},
        {"StartRequest", 1, {"StartRequest failed, error code: 12030"}},
        {"SendPostData", 1, {"httpRequest->SendPostData, error code: 12030"}},
        {"ReceiveResponse", 1, {"ReceiveResponse failed, error code: 12030"}}};
    for (const auto& [step, nth, texts] : steps) {
        factory->ClearCalls();
        log.Clear();
        factory->Fail(step, 12030, nth);
        EXPECT_EQ(Complete(), 12030u) << step << nth;
        EXPECT_THAT(factory->Calls().back(), ::testing::StartsWith(step)) << step << nth;
        EXPECT_EQ(log.Texts(Error), texts) << step << nth;
    }
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Complete(), 12005u);
}

TEST_F(UploadSession, ANewPathThatTheTransportRefusesIs87BeforeAnythingIsSent) {
    factory->Fail("AddHeader", 87, 2);
    EXPECT_EQ(client->CompleteUpload(Path, QM_W("/a\r\nevil: 1"), Id, attributes, nullptr), 87u);
    EXPECT_EQ(factory->Count("StartRequest"), 0u);
}

TEST_F(UploadSession, OnAServerOfApi10TheTokenIsInThePath) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    client->SetSessionToken(QM_W("sent"));
    factory->ClearCalls();
    EXPECT_EQ(Cancel(), 0u);
    EXPECT_THAT(factory->Calls()[3],
                ::testing::HasSubstr("\"/api/sent/resume/upload/Shared/a%20b?resume_id=0F8FAD5B-D9CB-469F-A165-"
                                     "70867728950E\""));
}

TEST_F(UploadSession, ACompletionWithoutABodyIs12152) {
    factory->Reply(200);
    EXPECT_EQ(Complete(), 12152u);
    EXPECT_FALSE(log.Mentions("Chunk completed"));
}

TEST_F(UploadSession, ACompletionWithoutOneItemIs13) {
    factory->Reply(200, "[]");
    EXPECT_EQ(Complete(), 13u);
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::CompleteUpload", "Failed to extract attributes from response"));
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadSession, ARefusedCompletionIsTheServersCode) {
    factory->Reply(409, R"({"errorId":"1077","document_info":{"revision":"r9"}})");
    EXPECT_EQ(Complete(), 21077u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
    factory->Reply(500);
    EXPECT_EQ(Complete(), 20500u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::CompleteUpload", "GetHTTPStatus shows failure, code: 500"));
    factory->Reply(401, R"({"errorId":"6"})");
    ChangeTokenWhen("ReceiveResponse(r5)");
    EXPECT_EQ(Complete(), 1237u);
    factory->OnCall({});
}

TEST_F(UploadSession, MetadataTellsWhereTheServerStands) {
    factory->Reply(200, R"({"bytes_received":"4294967297","is_locked":"true"})");
    EXPECT_EQ(Metadata(), 0u);
    EXPECT_EQ(offset, 4294967297);
    EXPECT_TRUE(locked);
    EXPECT_EQ(factory->Calls(), Join(Opening("GET"), {"GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetResumableUploadMetadata",
                        "Metadata request for [/Shared/a b] Guid:[0F8FAD5B-D9CB-469F-A165-70867728950E]"));
}

TEST_F(UploadSession, UnreadableMetadataIs13) {
    for (const char* reply : {R"({"bytes_received":5})", "{}", "no JSON", "[]"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Metadata(), 13u) << reply;
    }
    EXPECT_EQ(offset, -7);
}

TEST_F(UploadSession, FailedMetadataIsItsCode) {
    factory->Reply(404, R"({"errorId":"17"})");
    EXPECT_EQ(Metadata(), 20017u);
    factory->Reply(200);
    EXPECT_EQ(Metadata(), 13u);
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Metadata(), 12005u);
}

TEST_F(UploadSession, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->CancelUpload(lone, Id, nullptr), 1113u);
    EXPECT_EQ(client->CompleteUpload(lone, QM_W("/a"), Id, attributes, nullptr), 1113u);
    EXPECT_EQ(client->CompleteUpload(QM_W("/a"), lone, Id, attributes, nullptr), 1113u);
    EXPECT_EQ(client->GetResumableUploadMetadata(lone, Id, offset, locked, nullptr), 1113u);
    EXPECT_EQ(client->CompleteUpload(QM_W("/a"), QM_W("/b"), Id, nullptr, nullptr), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(UploadSession, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->CancelUpload(Path, Id, cancel.Handle()), 0u);
    EXPECT_EQ(client->CompleteUpload(Path, Path, Id, attributes, cancel.Handle()), 0u);
    EXPECT_EQ(client->GetResumableUploadMetadata(Path, Id, offset, locked, cancel.Handle()), 13u);
    EXPECT_EQ(log.Count(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))), 3u);
}

}  // namespace
}  // namespace quillmark::test
