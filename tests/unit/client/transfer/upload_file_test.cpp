// The whole-file upload.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Sink : public IProgressSink {
public:
    void Begin(const WideString&, std::uint64_t, std::uint64_t) override {}
    void Advance(const void*, std::uint32_t, std::uint64_t, std::uint64_t, std::uint64_t) override {}
};

class UploadFile : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        client->SetSessionToken(QM_W("sent"));
        factory->SetLengths({100, 20000, 30});
        factory->ClearCalls();
        attributes->SetCreationTime(CAttributeTime::Parse("2015-03-01T10:20:30.123Z"));
        attributes->SetLastWriteTime(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        attributes->SetFileAttributes(0x20);
        attributes->SetSize(1234);
        attributes->SetRevision("r1");
    }
    DWORD Run() {
        return client->UploadFile(QM_W("/home/ann/a b.txt"), QM_W("/Shared/a b.txt"), attributes, cancelEvent, nullptr,
                                  0);
    }
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    HANDLE cancelEvent = nullptr;
};

TEST_F(UploadFile, MakesItsCallsInThisOrder) {
    factory->Reply(200, R"({"name":"a b.txt","revision":"r2"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()",
                     "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/Shared/a%20b.txt\", \"POST\", c3, null, 0x00000000, false)",
                     "SendMultipartFile(r3, file, \"/home/ann/a b.txt\", \"/Shared/a b.txt\", measure, no sink 0)",
                     "AddMultipartHeaders(r3, true)",
                     "AddMultipartFormField(r3, operation=create)",
                     "AddMultipartFormField(r3, wide creation_time=2015-03-01T10:20:30.123Z)",
                     "AddMultipartFormField(r3, wide modification_time=2016-02-29T23:59:59.999Z)",
                     "AddMultipartFormField(r3, attributes=32)",
                     "AddMultipartFormField(r3, size=1234)",
                     "AddMultipartFormField(r3, revision=r1)",
                     "GetPostDataLength(r3)",
                     "GetMultipartEndLength(r3)",
                     "StartRequest(r3, 20130)",
                     "SendPostData(r3)",
                     "SendMultipartFile(r3, file, \"/home/ann/a b.txt\", \"/Shared/a b.txt\", send, no sink 0)",
                     "EndMultipart(r3)",
                     "SendPostData(r3)",
                     "ReceiveResponse(r3)",
                     "GetHTTPStatus(r3)"}));
}

TEST_F(UploadFile, LogsItsSteps) {
    factory->Reply(200, R"({"name":"a b.txt","revision":"r2"})");
    EXPECT_EQ(Run(), 0u);
    for (const char* text :
         {"Upload local path: [/home/ann/a b.txt] for server path: [/Shared/a b.txt]",
          "Mod time: [2016-02-29T23:59:59.999Z]", "Revision: r1", "File uploaded successfully: /home/ann/a b.txt",
          "Extracted attributes from upload reply"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::UploadFile", text)) << text;
    }
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::UploadFile", "Exited [status=0]"));
}

TEST_F(UploadFile, OverwritesTheCallersRecordWithTheServers) {
    factory->Reply(200, R"({"name":"stored.txt","revision":"r2","size":99})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r2");
    EXPECT_EQ(attributes->GetName(), QM_W("stored.txt"));
    EXPECT_EQ(attributes->GetSize(), 99);
    EXPECT_FALSE(attributes->HasTimes());
}

TEST_F(UploadFile, AnEmptyRevisionSendsNoField) {
    attributes->SetRevision("");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Count("AddMultipartFormField"), 5u);
    EXPECT_FALSE(log.Mentions("Revision:"));
}

TEST_F(UploadFile, HandsTheProgressSinkToTheFilePart) {
    EXPECT_EQ(client->UploadFile(QM_W("f"), QM_W("/f"), attributes, nullptr, std::make_shared<Sink>(), 42), 0u);
    EXPECT_THAT(factory->Calls(), ::testing::Contains("SendMultipartFile(r3, file, \"f\", \"/f\", send, sink 42)"));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("SendMultipartFile(r3, file, \"f\", \"/f\", measure, sink 42)"));
}

TEST_F(UploadFile, AnnouncesLengthsBeyond32Bits) {
    factory->SetLengths({100, 5368709120u, 30});
    EXPECT_EQ(Run(), 0u);
    EXPECT_THAT(factory->Calls(), ::testing::Contains("StartRequest(r3, 5368709250)"));
}

TEST_F(UploadFile, WithoutARecordIs87WithoutARequest) {
    attributes = nullptr;
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(UploadFile, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->UploadFile(QM_W("f"), lone, attributes, nullptr, nullptr, 0), 1113u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(UploadFile, ARequestThatCannotBeMadeIsItsCode) {
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
}

TEST_F(UploadFile, ASetCancelEventIs1223WithoutSendingAByte) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), 1223u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::UploadFile", "Upload canceled"));
    EXPECT_EQ(factory->Count("SendMultipartFile"), 0u);
    EXPECT_EQ(factory->Count("StartRequest"), 0u);
}

TEST_F(UploadFile, AnEventSetWhenTheReplyIsThereIs1223WithoutTheLine) {
    Event cancel;
    cancelEvent = cancel.Handle();
    factory->OnCall([&](const std::string& call) {
        if (call == "ReceiveResponse(r3)") {
            cancel.Set();
        }
    });
    factory->Reply(200, R"({"revision":"r2"})");
    EXPECT_EQ(Run(), 1223u);
    factory->OnCall({});
    EXPECT_FALSE(log.Mentions("Upload canceled"));
    EXPECT_EQ(factory->Count("GetHTTPStatus"), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

struct FailingStep {
    const char* function;
    int nth;
    const char* text;  // null when the step has no line of its own
};

class UploadFileSteps : public UploadFile, public ::testing::WithParamInterface<FailingStep> {};

TEST_P(UploadFileSteps, AFailingStepIsItsCodeAndTheLastOne) {
    const FailingStep& step = GetParam();
    factory->Fail(step.function, 12030, step.nth);
    EXPECT_EQ(Run(), 12030u);
    EXPECT_THAT(factory->Calls().back(), ::testing::StartsWith(step.function));
    EXPECT_EQ(factory->Count(step.function), static_cast<std::size_t>(step.nth));
    if (step.text != nullptr) {
        EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::UploadFile", step.text));
    } else {
        EXPECT_EQ(log.Texts(Error), Lines{});
    }
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

INSTANTIATE_TEST_SUITE_P(
    Each, UploadFileSteps,
    ::testing::Values(FailingStep{"SendMultipartFile", 1, "SendMultipartFile failed, error code: 12030"},
                      FailingStep{"AddMultipartHeaders", 1, nullptr},
                      FailingStep{"StartRequest", 1, "StartRequest failed, error code: 12030"},
                      FailingStep{"SendPostData", 1, "SendPostData failed, error code: 12030"},
                      FailingStep{"SendMultipartFile", 2, "SendMultipartFile failed, error code: 12030"},
                      FailingStep{"SendPostData", 2, "SendPostData failed, error code: 12030"},
                      FailingStep{"ReceiveResponse", 1, "ReceiveResponse failed, error code: 12030"}),
    [](const auto& instance) { return std::string(instance.param.function) + std::to_string(instance.param.nth); });

TEST_F(UploadFile, SuccessWithoutABodyIs12152) {
    factory->Reply(200);
    EXPECT_EQ(Run(), 12152u);
    factory->Reply(200, "");
    EXPECT_EQ(Run(), 12152u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadFile, AReplyThatIsNotOneItemIs13AndLeavesTheRecord) {
    for (const char* reply : {R"([{"revision":"a"},{"revision":"b"}])", "[]", "no JSON"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), 13u) << reply;
    }
    EXPECT_EQ(log.Count(Error, "Failed to extract attributes from response"), 3u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadFile, AHostileReplyEndsInACode) {
    factory->Reply(200, std::string(100000, '['));
    EXPECT_EQ(Run(), 13u);
    factory->Reply(200, R"({"directory":"true"})");
    EXPECT_EQ(Run(), 13u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadFile, ARefusalIsTheServersCode) {
    factory->Reply(403, R"({"errorId":"17"})");
    EXPECT_EQ(Run(), 20017u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::UploadFile", "GetHTTPStatus shows failure, code: 403"));
    factory->Reply(507);
    EXPECT_EQ(Run(), 20507u);
    factory->Reply(201, R"({"revision":"r2"})");
    EXPECT_EQ(Run(), 20201u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadFile, A401WhoseTokenHasChangedMeanwhileIsARetry) {
    factory->Reply(401, R"({"errorId":"6"})");
    ChangeTokenWhen("ReceiveResponse(r3)");
    EXPECT_EQ(Run(), 1237u);
    factory->OnCall({});
    EXPECT_TRUE(log.Has(Information, "OriginalSession [sent] CurrentSession [changed]"));
}

TEST_F(UploadFile, A401WhoseTokenIsTheSameIsTheServersCode) {
    factory->Reply(401, R"({"errorId":"6"})");
    EXPECT_EQ(Run(), 20006u);
}

TEST_F(UploadFile, ARevisionMismatchHandsBackTheServersRecordAndStaysAMismatch) {
    factory->Reply(409, R"({"errorId":"1077","document_info":{"name":"a b.txt","revision":"r9"}})");
    EXPECT_EQ(Run(), 21077u);
    EXPECT_EQ(attributes->GetRevision(), "r9");
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::UploadFile", "Extracted attributes from upload reply"));
}

TEST_F(UploadFile, ARevisionMismatchWithoutOneRecordLeavesTheCallers) {
    for (const char* reply :
         {R"({"errorId":"1077"})", R"({"errorId":"1077","document_info":[{"revision":"a"},{"revision":"b"}]})",
          R"({"errorId":"1077","document_info":{"directory":"true"}})"}) {
        factory->Reply(409, reply);
        EXPECT_EQ(Run(), 21077u) << reply;
    }
    EXPECT_EQ(attributes->GetRevision(), "r1");
    EXPECT_FALSE(log.Mentions("Extracted attributes"));
}

TEST_F(UploadFile, AnotherRefusalHandsNoRecordBack) {
    factory->Reply(409, R"({"errorId":"1078","document_info":{"revision":"r9"}})");
    EXPECT_EQ(Run(), 21078u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadFile, NothingOfTheRequestOutlivesTheCall) {
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0);
}

}  // namespace
}  // namespace quillmark::test
