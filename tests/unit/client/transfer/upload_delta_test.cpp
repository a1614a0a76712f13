// The upload of a delta. Its registry is a folder of the test's own.
#include "unit/client/ClientTest.h"
#include "unit/client/SettingsFolder.h"

namespace quillmark::test {
namespace {

class UploadDelta : public ClientTest {
protected:
    void SetUp() override { Prepare("1.7"); }
    void Prepare(const std::string& version) {
        Discover(version);
        client->SetSessionToken(QM_W("sent"));
        factory->SetLengths({100, 20000, 30});
        factory->ClearCalls();
        attributes->SetCreationTime(CAttributeTime::Parse("2015-03-01T10:20:30.123Z"));
        attributes->SetLastWriteTime(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        attributes->SetFileAttributes(0x20);
        attributes->SetSize(1234);
        attributes->SetRevision("r1");
    }
    // A client of another version; its objects are numbered from 5 on.
    void Renew(const std::string& version) {
        client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
        Prepare(version);
    }
    DWORD Run(DWORD type = 2) {
        return client->UploadDelta(QM_W("/tmp/delta"), QM_W("/Shared/a b.txt"), attributes, type, cancelEvent, nullptr);
    }

    SettingsFolder settings;
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    HANDLE cancelEvent = nullptr;
};

TEST_F(UploadDelta, MakesItsCallsInThisOrder) {
    factory->Reply(200, R"({"name":"a b.txt","revision":"r2"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()",
                     "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 300000, 600000)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/delta/Shared/a%20b.txt\", \"POST\", c3, null, 0x00000000, false)",
                     "SendMultipartFile(r3, file, \"/tmp/delta\", \"/Shared/a b.txt\", measure, no sink 0)",
                     "AddMultipartHeaders(r3, true)",
                     "AddMultipartFormField(r3, wide modification_time=2016-02-29T23:59:59.999Z)",
                     "AddMultipartFormField(r3, wide creation_time=2015-03-01T10:20:30.123Z)",
                     "AddMultipartFormField(r3, attributes=32)",
                     "AddMultipartFormField(r3, size=1234)",
                     "AddMultipartFormField(r3, revision=r1)",
                     "GetPostDataLength(r3)",
                     "GetMultipartEndLength(r3)",
                     "StartRequest(r3, 20130)",
                     "SendPostData(r3)",
                     "SendMultipartFile(r3, file, \"/tmp/delta\", \"/Shared/a b.txt\", send, no sink 0)",
                     "EndMultipart(r3)",
                     "SendPostData(r3)",
                     "ReceiveResponse(r3)",
                     "GetHTTPStatus(r3)"}));
    EXPECT_EQ(attributes->GetRevision(), "r2");
}

TEST_F(UploadDelta, LogsItsSteps) {
    factory->Reply(200, R"({"name":"a b.txt","revision":"r2"})");
    EXPECT_EQ(Run(), 0u);
    for (const char* text :
         {"Delta upload from [/tmp/delta] to [/Shared/a b.txt], delta type [2]", "Mod time: 2016-02-29T23:59:59.999Z",
          "Revision: r1", "File uploaded successfully: /tmp/delta",
          "Extracted attributes from upload reply, Rev: r2"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::UploadDelta", text)) << text;
    }
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::UploadDelta", "Exited [status=0]"));
}

TEST_F(UploadDelta, Type1AsksForTheOptimisation) {
    EXPECT_EQ(Run(1), 0u);
    EXPECT_EQ(factory->Calls()[3],
              "Request::Initialise(r3, \"/qm/delta/Shared/a%20b.txt?optimise_overwrite_append=true\", \"POST\", c3, "
              "null, 0x00000000, false)");
    Renew("1.6");
    EXPECT_EQ(Run(1), 0u);
}

TEST_F(UploadDelta, Type1IsRefusedForAnOlderServerWithoutARequest) {
    Renew("1.5");
    EXPECT_EQ(Run(1), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(UploadDelta, OtherTypesAreSentToAnyServer) {
    Renew("1.5");
    for (const DWORD type : {0u, 2u, 0xFFFFFFFFu}) {
        factory->ClearCalls();
        EXPECT_EQ(Run(type), 0u);
        EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("\"/qm/delta/Shared/a%20b.txt\"")) << type;
    }
}

TEST_F(UploadDelta, TheTimeoutsAreReadOncePerProcess) {
    settings.Write(
        "\"HTTPDeltaSendRequestTimeout\"=dword:000003e8\n"
        "\"HTTPDeltaReceiveResponseTimeout\"=dword:000007d0\n");
    EXPECT_EQ(Run(), 0u);
    settings.Write(
        "\"HTTPDeltaSendRequestTimeout\"=dword:00000001\n"
        "\"HTTPDeltaReceiveResponseTimeout\"=dword:00000002\n");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(CallsOf("Connection::Initialise"),
              (Lines{"(c3, \"\", 0, s1, 0, 0, 1000, 2000)", "(c4, \"\", 0, s1, 0, 0, 1000, 2000)"}));
    EXPECT_EQ(factory->Count("SetTimeouts"), 0u);
}

TEST_F(UploadDelta, SizesBeyond32BitsAreAnnounced) {
    attributes->SetSize(21474836480);
    factory->SetLengths({100, 5368709120, 30});
    EXPECT_EQ(Run(), 0u);
    EXPECT_THAT(factory->Calls(), ::testing::Contains("AddMultipartFormField(r3, size=21474836480)"));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("StartRequest(r3, 5368709250)"));
}

TEST_F(UploadDelta, OnAServerOfApi10TheTokenIsInThePath) {
    Renew("1.0");
    EXPECT_EQ(Run(), 0u);
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("\"/api/sent/delta/Shared/a%20b.txt\""));
}

TEST_F(UploadDelta, AnEmptyRevisionSendsNoField) {
    attributes->SetRevision("");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Count("AddMultipartFormField"), 4u);
    EXPECT_FALSE(log.Mentions("Revision:"));
}

TEST_F(UploadDelta, WithoutARecordIs87AndAPathWithoutUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->UploadDelta(QM_W("d"), lone, attributes, 2, nullptr, nullptr), 1113u);
    attributes = nullptr;
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(UploadDelta, ASetCancelEventIs1223WithoutSendingAByte) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), 1223u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::UploadDelta", "Upload canceled"));
    EXPECT_EQ(factory->Count("SendMultipartFile"), 0u);
}

TEST_F(UploadDelta, AnEventSetWhenTheReplyIsThereIs1223WithoutTheLine) {
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

TEST_F(UploadDelta, StartAndFieldsAreNotChecked) {
    factory->Fail("StartRequest", 12030);
    factory->Fail("SendPostData", 12030, 1);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(log.Texts(Error), Lines{});
}

TEST_F(UploadDelta, TheOtherStepsAreTheirCode) {
    const std::tuple<const char*, int, const char*> steps[] = {
        {"SendMultipartFile", 1, "SendMultipartFile failed, error code: 12030"},
        {"AddMultipartHeaders", 1, nullptr},
        {"SendMultipartFile", 2, "SendMultipartFile failed, error code: 12030"},
        {"SendPostData", 2, "SendPostData failed, error code: 12030"},
        {"ReceiveResponse", 1, "ReceiveResponse failed, error code: 12030"}};
    for (const auto& [step, nth, text] : steps) {
        factory->ClearCalls();
        log.Clear();
        factory->Fail(step, 12030, nth);
        EXPECT_EQ(Run(), 12030u) << step << nth;
        EXPECT_THAT(factory->Calls().back(), ::testing::StartsWith(step)) << step << nth;
        EXPECT_EQ(log.Texts(Error), text != nullptr ? Lines{text} : Lines{}) << step << nth;
    }
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadDelta, SuccessWithoutABodyIs12152) {
    factory->Reply(200);
    EXPECT_EQ(Run(), 12152u);
}

TEST_F(UploadDelta, AReplyThatIsNotOneItemIs13) {
    for (const char* reply : {R"([{"revision":"a"},{"revision":"b"}])", "[]", "no JSON"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), 13u) << reply;
    }
    EXPECT_EQ(log.Count(Error, "Failed to extract attributes from response"), 3u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadDelta, ARevisionMismatchWithOneItemIsASuccess) {
    factory->Reply(409, R"({"errorId":"1077","document_info":{"name":"a b.txt","revision":"r9"}})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r9");
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::UploadDelta", "GetHTTPStatus shows failure, code: 409"));
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::UploadDelta", "Extracted attributes from upload reply"));
}

TEST_F(UploadDelta, ARevisionMismatchWithoutOneItemIs13) {
    for (const char* reply :
         {R"({"errorId":"1077"})", R"({"errorId":"1077","document_info":[{"revision":"a"},{"revision":"b"}]})",
          R"({"errorId":"1077","document_info":{"directory":"true"}})"}) {
        factory->Reply(409, reply);
        EXPECT_EQ(Run(), 13u) << reply;
    }
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadDelta, OtherRefusalsAreTheServersCode) {
    factory->Reply(409, R"({"errorId":"1078","document_info":{"revision":"r9"}})");
    EXPECT_EQ(Run(), 21078u);
    factory->Reply(507);
    EXPECT_EQ(Run(), 20507u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(UploadDelta, A401WhoseTokenHasChangedMeanwhileIsARetry) {
    factory->Reply(401, R"({"errorId":"6"})");
    ChangeTokenWhen("ReceiveResponse(r3)");
    EXPECT_EQ(Run(), 1237u);
    factory->OnCall({});
}

}  // namespace
}  // namespace quillmark::test
