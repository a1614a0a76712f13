// The download against a local base.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Sink : public IProgressSink {
public:
    void Begin(const WideString&, std::uint64_t, std::uint64_t) override {}
    void Advance(const void*, std::uint32_t, std::uint64_t, std::uint64_t, std::uint64_t) override {}
};

class DownloadDelta : public ClientTest {
protected:
    static constexpr const char* Function = "CNativeHttp::_Internal_DownloadDelta";

    void SetUp() override {
        Discover("1.2");
        client->SetSessionToken(QM_W("sent"));
        factory->SetLengths({100, 20000, 30});
        factory->ClearCalls();
        expected->SetRevision("r1");
        for (auto set : {&IServerAttributes::SetCreationTime, &IServerAttributes::SetLastAccessTime,
                         &IServerAttributes::SetLastWriteTime, &IServerAttributes::SetChangeTime}) {
            (expected.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.123Z"));
        }
    }
    DWORD Run(const WideString& base = QM_W("/home/ann/base")) {
        return client->DownloadFile(QM_W("/Shared/a b"), QM_W("/home/ann/a"), expected, attributes, base, cancelEvent,
                                    nullptr, 7);
    }
    DWORD RunWithStatus(DWORD status) {
        factory->Reply(status);
        factory->SetLenientDownloads(true);
        return Run();
    }

    std::shared_ptr<IServerAttributes> expected = MakeAttributes();
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    HANDLE cancelEvent = nullptr;
};

TEST_F(DownloadDelta, SendsTheBaseAndReceivesIntoTheLocalFile) {
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/delta/Shared/a%20b?revision=r1\", \"POST\", c3, null, 0x00000000, "
                     "false)",
                     "SendMultipartFile(r3, file, \"/home/ann/base\", \"/home/ann/base\", measure, no sink 0)",
                     "AddMultipartHeaders(r3, false)", "GetPostDataLength(r3)", "GetMultipartEndLength(r3)",
                     "StartRequest(r3, 20130)", "SendPostData(r3)",
                     "SendMultipartFile(r3, file, \"/home/ann/base\", \"/home/ann/base\", send, no sink 0)",
                     "EndMultipart(r3)", "SendPostData(r3)", "GetResponse(r3, \"/home/ann/a\", 0, no sink 7, report)",
                     "GetHTTPStatus(r3)", "Close(r3)"}));
    EXPECT_TRUE(attributes->Equals(*expected));
}

TEST_F(DownloadDelta, LogsItsSteps) {
    EXPECT_EQ(Run(), 0u);
    for (const char* text : {"Download Delta request for LocalPath: /home/ann/a, ServerPath: /Shared/a b",
                             "Successfully downloaded file: /home/ann/a"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", Function, text)) << text;
    }
    EXPECT_FALSE(log.Mentions("Server attributes which came"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", Function, "Exited [status=0]"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::DownloadFile", "Exited [status=0]"));
}

TEST_F(DownloadDelta, WithoutExpectationNamesNoRevisionAndAsksForTheRecord) {
    expected = nullptr;
    factory->Reply(200);
    factory->Reply(200, R"({"revision":"r4"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(CallsOf("Request::Initialise"),
              (Lines{"(r3, \"/qm/delta/Shared/a%20b\", \"POST\", c3, null, 0x00000000, false)",
                     "(r4, \"/qm/folders/Shared/a%20b\", \"GET\", c4, null, 0x00000000, false)"}));
    EXPECT_EQ(attributes->GetRevision(), "r4");
}

TEST_F(DownloadDelta, TheMarkOfALongPathIsNoPartOfTheBasesName) {
    EXPECT_EQ(Run(QM_W("\\\\?\\C:\\Users\\ann\\base")), 0u);
    EXPECT_THAT(factory->Calls(), ::testing::Contains("SendMultipartFile(r3, file, \"\\\\?\\C:\\Users\\ann\\base\", "
                                                      "\"C:\\Users\\ann\\base\", send, no sink 0)"));
    EXPECT_EQ(Run(QM_W("\\\\server\\base")), 0u);
    EXPECT_THAT(factory->Calls(), ::testing::Contains("SendMultipartFile(r4, file, \"\\\\server\\base\", "
                                                      "\"\\\\server\\base\", send, no sink 0)"));
}

TEST_F(DownloadDelta, ABaseBeyond32BitsIsAnnounced) {
    factory->SetLengths({100, 5368709120, 30});
    EXPECT_EQ(Run(), 0u);
    EXPECT_THAT(factory->Calls(), ::testing::Contains("StartRequest(r3, 5368709250)"));
}

TEST_F(DownloadDelta, AServerOlderThan12IsAskedForTheRecord) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.1");
    factory->Reply(200);
    factory->Reply(200, R"({"revision":"r4"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r4");
}

TEST_F(DownloadDelta, TheSinkFollowsTheContentsNotTheBase) {
    EXPECT_EQ(client->DownloadFile(QM_W("/a"), QM_W("a"), expected, attributes, QM_W("base"), nullptr,
                                   std::make_shared<Sink>(), 42),
              0u);
    EXPECT_THAT(factory->Calls(),
                ::testing::Contains("SendMultipartFile(r3, file, \"base\", \"base\", send, no sink 0)"));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("GetResponse(r3, \"a\", 0, sink 42, report)"));
}

TEST_F(DownloadDelta, AFailingStepIsItsCodeAndTheLastOne) {
    const std::tuple<const char*, int, Lines> steps[] = {
        {"SendMultipartFile", 1, {"httpRequest->SendMultipartFile, error code: 12030"}},
        {"AddMultipartHeaders", 1, {}},
        {"StartRequest", 1, {"httpRequest->StartRequest, error code: 12030"}},
        {"SendPostData", 1, {"httpRequest->SendPostData, error code: 12030"}},
        {"SendMultipartFile", 2, {"httpRequest->SendMultipartFile, error code: 12030"}},
        {"SendPostData", 2, {"httpRequest->SendPostData, error code: 12030"}},
        {"GetResponse", 1, {"httpRequest->GetResponse, error code: 12030"}}};
    for (const auto& [step, nth, texts] : steps) {
        factory->ClearCalls();
        log.Clear();
        factory->Fail(step, 12030, nth);
        EXPECT_EQ(Run(), 12030u) << step << nth;
        EXPECT_THAT(factory->Calls().back(), ::testing::StartsWith(step)) << step << nth;
        EXPECT_EQ(log.Texts(Error), texts) << step << nth;
    }
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
    EXPECT_EQ(attributes->GetRevision(), "");
}

TEST_F(DownloadDelta, ARefusalIsTheTransportsCodeAndNotRepeated) {
    factory->Reply(409, R"({"errorId":"1077"})");
    EXPECT_EQ(Run(), 20409u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", Function, "httpRequest->GetResponse, error code: 20409"));
    EXPECT_EQ(factory->Count("CreateRequest"), 1u);
    EXPECT_EQ(factory->Count("ReadResponse"), 0u);
}

TEST_F(DownloadDelta, AStatusThatTheTransportLetsThroughIsTheCodeItself) {
    EXPECT_EQ(RunWithStatus(404), 404u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", Function, "GetHTTPStatus shows failure, code: 404"));
    EXPECT_EQ(RunWithStatus(401), 401u);
}

TEST_F(DownloadDelta, A401WhoseTokenHasChangedMeanwhileIsARetry) {
    factory->OnCall([session = factory->LastSession()](const std::string& call) {
        if (call.starts_with("GetResponse(")) {
            session->SetSessionToken(QM_W("changed"));
        }
    });
    EXPECT_EQ(RunWithStatus(401), 1237u);
    factory->OnCall({});
}

TEST_F(DownloadDelta, ASetCancelEventIs1223WithoutSending) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), 1223u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", Function, "Download canceled"));
    EXPECT_EQ(factory->Count("SendMultipartFile"), 0u);
}

TEST_F(DownloadDelta, ARecordThatCannotBeHadIsItsCode) {
    expected = nullptr;
    factory->Reply(200);
    factory->Reply(404, "{}");
    EXPECT_EQ(Run(), 20404u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", Function, "GetPathAttributes() failed with [20404]"));
}

TEST_F(DownloadDelta, WithoutARecordToFillIs87AndAPathWithoutUtf8Is1113) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->DownloadFile(lone, QM_W("f"), nullptr, attributes, QM_W("b"), nullptr, nullptr, 0), 1113u);
    attributes = nullptr;
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

}  // namespace
}  // namespace quillmark::test
