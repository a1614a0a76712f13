// The start of an asynchronous delta job.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class AsyncDeltaStart : public ClientTest {
protected:
    void SetUp() override { Prepare("1.7"); }
    void Prepare(const std::string& version) {
        Discover(version);
        client->SetSessionToken(QM_W("sent"));
        factory->SetLengths({100, 20000, 30});
        factory->ClearCalls();
        for (auto set : {&IServerAttributes::SetCreationTime, &IServerAttributes::SetLastAccessTime,
                         &IServerAttributes::SetLastWriteTime, &IServerAttributes::SetChangeTime}) {
            (attributes.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        }
        attributes->SetSize(1234);
        attributes->SetRevision("r1");
    }
    DWORD Run(DWORD type = 2) {
        return client->AsyncDeltaStart(QM_W("/tmp/delta"), QM_W("/Shared/a b"), attributes, job, type, nullptr,
                                       cancelEvent);
    }

    static constexpr GUID Id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    GUID job = {};
    HANDLE cancelEvent = nullptr;
};

TEST_F(AsyncDeltaStart, MakesItsCallsInThisOrder) {
    factory->Reply(200, R"({"deltaJobId":"0f8fad5b-d9cb-469f-a165-70867728950e"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/asdelta/folders/Shared/a%20b?revision=r1\", \"POST\", c3, null, "
                     "0x00000000, false)",
                     "SendMultipartFile(r3, file, \"/tmp/delta\", \"/Shared/a b\", measure, no sink 0)",
                     "AddMultipartHeaders(r3, true)", "AddMultipartFormField(r3, size=1234)", "GetPostDataLength(r3)",
                     "GetMultipartEndLength(r3)", "StartRequest(r3, 20130)", "SendPostData(r3)",
                     "SendMultipartFile(r3, file, \"/tmp/delta\", \"/Shared/a b\", send, no sink 0)",
                     "EndMultipart(r3)", "SendPostData(r3)", "ReceiveResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_EQ(job, Id);
}

TEST_F(AsyncDeltaStart, LogsItsSteps) {
    factory->Reply(200, R"({"deltaJobId":"{0F8FAD5B-D9CB-469F-A165-70867728950E}"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(job, Id);
    for (const char* text : {"Async delta upload from [/tmp/delta] to [/Shared/a b], delta type [2]",
                             "Mod time: [2016-02-29T23:59:59.999Z] Revision: [r1]",
                             "Delta file uploaded successfully: /tmp/delta, response ID was: "
                             "[{0F8FAD5B-D9CB-469F-A165-70867728950E}]"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AsyncDeltaStart", text)) << text;
    }
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::AsyncDeltaStart", "Exited [status=0]"));
}

TEST_F(AsyncDeltaStart, Type1AsksForTheOptimisation) {
    EXPECT_EQ(Run(1), 0u);
    EXPECT_THAT(
        factory->Calls()[3],
        ::testing::HasSubstr("\"/qm/asdelta/folders/Shared/a%20b?revision=r1&optimise_overwrite_append=true\""));
}

TEST_F(AsyncDeltaStart, SizesBeyond32BitsAreAnnounced) {
    attributes->SetSize(21474836480);
    factory->SetLengths({100, 5368709120, 30});
    EXPECT_EQ(Run(), 0u);
    EXPECT_THAT(factory->Calls(), ::testing::Contains("AddMultipartFormField(r3, size=21474836480)"));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("StartRequest(r3, 5368709250)"));
}

TEST_F(AsyncDeltaStart, AnEmptyRevisionIsSentToo) {
    attributes->SetRevision("");
    EXPECT_EQ(Run(), 0u);
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("\"/qm/asdelta/folders/Shared/a%20b?revision=\""));
    EXPECT_EQ(Run(1), 0u);
    EXPECT_THAT(CallsOf("Request::Initialise").back(),
                ::testing::HasSubstr("?revision=&optimise_overwrite_append=true\""));
}

TEST_F(AsyncDeltaStart, AnOlderServerIs87WithoutARequest) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Prepare("1.6");
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(AsyncDeltaStart, AnUnsetTimeIs87WithoutARequest) {
    for (auto set : {&IServerAttributes::SetCreationTime, &IServerAttributes::SetLastAccessTime,
                     &IServerAttributes::SetLastWriteTime, &IServerAttributes::SetChangeTime}) {
        const CAttributeTime kept = attributes->GetCreationTime();
        (attributes.get()->*set)(CAttributeTime());
        EXPECT_EQ(Run(), 87u);
        (attributes.get()->*set)(kept.IsSet() ? kept : CAttributeTime(1));
    }
    attributes = nullptr;
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(AsyncDeltaStart, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->AsyncDeltaStart(QM_W("d"), lone, attributes, job, 2, nullptr, nullptr), 1113u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(AsyncDeltaStart, ASetCancelEventIs1223WithoutSendingAByte) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), 1223u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AsyncDeltaStart", "Async start canceled"));
    EXPECT_EQ(factory->Count("SendMultipartFile"), 0u);
}

TEST_F(AsyncDeltaStart, AnEventSetBeforeTheClosingLineDoesNotKeepItBack) {
    Event cancel;
    cancelEvent = cancel.Handle();
    factory->OnCall([&](const std::string& call) {
        if (call == "EndMultipart(r3)") {
            cancel.Set();
        }
    });
    EXPECT_EQ(Run(), 1223u);
    factory->OnCall({});
    EXPECT_EQ(factory->Count("SendPostData"), 2u);
    EXPECT_EQ(factory->Count("ReceiveResponse"), 1u);
    EXPECT_EQ(factory->Count("GetHTTPStatus"), 0u);
    EXPECT_FALSE(log.Mentions("canceled"));
}

TEST_F(AsyncDeltaStart, AnEventSetWhenTheReplyIsThereIs1223WithoutTheLine) {
    Event cancel;
    cancelEvent = cancel.Handle();
    factory->OnCall([&](const std::string& call) {
        if (call == "ReceiveResponse(r3)") {
            cancel.Set();
        }
    });
    EXPECT_EQ(Run(), 1223u);
    factory->OnCall({});
    EXPECT_EQ(factory->Count("GetHTTPStatus"), 0u);
    EXPECT_FALSE(log.Mentions("canceled"));
}

TEST_F(AsyncDeltaStart, StartAndFieldsAreNotChecked) {
    factory->Fail("StartRequest", 12030);
    factory->Fail("SendPostData", 12030, 1);
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(log.Texts(Error), Lines{});
}

TEST_F(AsyncDeltaStart, TheOtherStepsAreTheirCode) {
    const std::tuple<const char*, int, Lines> steps[] = {
        {"SendMultipartFile", 1, {"SendMultipartFile failed, error code: 12030"}},
        {"AddMultipartHeaders", 1, {}},
        {"SendMultipartFile", 2, {"SendMultipartFile failed, error code: 12030"}},
        {"SendPostData", 2, {"SendPostData failed, error code: 12030"}},
        {"ReceiveResponse", 1, {"ReceiveResponse failed, error code: 12030"}}};
    for (const auto& [step, nth, texts] : steps) {
        factory->ClearCalls();
        log.Clear();
        factory->Fail(step, 12030, nth);
        EXPECT_EQ(Run(), 12030u) << step << nth;
        EXPECT_THAT(factory->Calls().back(), ::testing::StartsWith(step)) << step << nth;
        EXPECT_EQ(log.Texts(Error), texts) << step << nth;
    }
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
}

TEST_F(AsyncDeltaStart, AReplyWithoutAnIdentifierIsASuccessThatLeavesTheJob) {
    job = Id;
    for (const char* reply : {"{}", R"({"deltaJobId":7})", "no JSON"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Run(), 0u) << reply;
    }
    EXPECT_EQ(log.Count(Information, "Delta file uploaded successfully: /tmp/delta, response ID was: []"), 3u);
    factory->Reply(200, R"({"deltaJobId":"job 1"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(job, Id);
    EXPECT_TRUE(log.Has(Information, "Delta file uploaded successfully: /tmp/delta, response ID was: [job 1]"));
}

TEST_F(AsyncDeltaStart, SuccessWithoutABodyIs12152) {
    factory->Reply(200);
    EXPECT_EQ(Run(), 12152u);
}

TEST_F(AsyncDeltaStart, ARefusalIsTheServersCode) {
    factory->Reply(409, R"({"errorId":"1077","document_info":{"revision":"r9"}})");
    EXPECT_EQ(Run(), 21077u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::AsyncDeltaStart", "GetHTTPStatus shows failure, code: 409"));
    EXPECT_EQ(attributes->GetRevision(), "r1");
    factory->Reply(500);
    EXPECT_EQ(Run(), 20500u);
    factory->Reply(401, R"({"errorId":"6"})");
    ChangeTokenWhen("ReceiveResponse(r5)");
    EXPECT_EQ(Run(), 1237u);
    factory->OnCall({});
}

}  // namespace
}  // namespace quillmark::test
