// The whole-file download.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class DownloadFile : public ClientTest {
protected:
    void SetUp() override {
        Discover("1.2");
        client->SetSessionToken(QM_W("sent"));
        factory->ClearCalls();
        expected->SetRevision("r1");
        for (auto set : {&IServerAttributes::SetCreationTime, &IServerAttributes::SetLastAccessTime,
                         &IServerAttributes::SetLastWriteTime, &IServerAttributes::SetChangeTime}) {
            (expected.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.123Z"));
        }
        expected->SetFileAttributes(0x20);
        expected->SetSize(5);
    }
    DWORD Run() {
        return client->DownloadFile(QM_W("/Shared/a b.txt"), QM_W("/home/ann/a"), expected, attributes, QM_W(""),
                                    cancelEvent, nullptr, 7);
    }
    // A client of the given API version in place of the first one; its objects are numbered from 5 on.
    void Renew(const std::string& version) {
        client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
        Discover(version);
    }

    std::shared_ptr<IServerAttributes> expected = MakeAttributes();
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    HANDLE cancelEvent = nullptr;
};

TEST_F(DownloadFile, NamesTheExpectedRevisionAndGivesTheExpectedRecord) {
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
               "Request::Initialise(r3, \"/qm/folders/Shared/a%20b.txt?revision=r1\", \"GET\", c3, null, "
               "0x00000000, false)",
               "SendRequestGetResponse(r3, \"/home/ann/a\", 0, no sink 7, report)", "GetHTTPStatus(r3)", "Close(r3)"}));
    EXPECT_TRUE(attributes->Equals(*expected));
}

TEST_F(DownloadFile, LogsItsSteps) {
    EXPECT_EQ(Run(), 0u);
    for (const char* text : {"Download request for LocalPath: /home/ann/a, ServerPath: /Shared/a b.txt",
                             "Successfully downloaded file: /home/ann/a",
                             "Server attributes which came with download are S[LW[2016-02-29T23:59:59.123Z] "
                             "LA[2016-02-29T23:59:59.123Z] C[2016-02-29T23:59:59.123Z] A[32]] Rev:[r1]"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::_Internal_DownloadFile", text)) << text;
    }
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::_Internal_DownloadFile", "Exited [status=0]"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::DownloadFile", "Exited [status=0]"));
}

TEST_F(DownloadFile, WithoutExpectationNamesNoRevisionAndAsksForTheRecord) {
    expected = nullptr;
    factory->Reply(200);
    factory->Reply(200, R"({"name":"a b.txt","revision":"r4","attributes":32})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls()[3],
              "Request::Initialise(r3, \"/qm/folders/Shared/a%20b.txt\", \"GET\", c3, null, 0x00000000, false)");
    EXPECT_EQ(factory->Calls()[10],
              "Request::Initialise(r4, \"/qm/folders/Shared/a%20b.txt\", \"GET\", c4, null, 0x00000000, false)");
    EXPECT_EQ(attributes->GetRevision(), "r4");
    EXPECT_TRUE(log.Has(Information,
                        "Server attributes which came with download are S[LW[INVALID] LA[INVALID] C[INVALID] A[32]] "
                        "Rev:[r4]"));
}

TEST_F(DownloadFile, TheFirstRequestIsClosedBeforeTheRecordIsAskedFor) {
    expected = nullptr;
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls()[6], "Close(r3)");
    EXPECT_EQ(factory->Calls()[7], "CreateConnection()");
}

TEST_F(DownloadFile, AServerOlderThan12IsAskedForTheRecord) {
    Renew("1.1");
    factory->Reply(200);
    factory->Reply(200, R"({"revision":"r4"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Count("CreateRequest"), 2u);
    EXPECT_EQ(attributes->GetRevision(), "r4");
}

TEST_F(DownloadFile, AnExpectedRecordWithoutAllTimesIsNotTaken) {
    expected->SetChangeTime(CAttributeTime());
    factory->Reply(200);
    factory->Reply(200, R"({"revision":"r4"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r4");
}

TEST_F(DownloadFile, AnEmptyExpectedRevisionSendsNoQuery) {
    expected->SetRevision("");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls()[3],
              "Request::Initialise(r3, \"/qm/folders/Shared/a%20b.txt\", \"GET\", c3, null, 0x00000000, false)");
}

TEST_F(DownloadFile, ARecordThatCannotBeHadIsItsCode) {
    expected = nullptr;
    factory->Reply(200);
    factory->Reply(404, "{}");
    EXPECT_EQ(Run(), 20404u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::_Internal_DownloadFile", "Download failed with [20404]"));
}

TEST_F(DownloadFile, WithoutARecordToFillIs87WithoutARequest) {
    attributes = nullptr;
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(DownloadFile, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->DownloadFile(lone, QM_W("f"), nullptr, attributes, QM_W(""), nullptr, nullptr, 0), 1113u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(DownloadFile, ARequestThatCannotBeMadeIsItsCode) {
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
}

TEST_F(DownloadFile, ASetCancelEventIs1223WithoutSending) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), 1223u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::_Internal_DownloadFile", "Download canceled"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::_Internal_DownloadFile", "Exited [status=1223]"));
    EXPECT_EQ(factory->Count("SendRequestGetResponse"), 0u);
}

TEST_F(DownloadFile, CodesOutsideTheRangeOfStatusesAreReturned) {
    for (const DWORD code : {19999u, 27776u, 12002u, 19016u, 1223u}) {
        log.Clear();
        factory->Fail("SendRequestGetResponse", code);
        EXPECT_EQ(Run(), code);
        EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::_Internal_DownloadFile",
                            Format("SendRequestGetResponse failed, error code: %u", code)));
    }
    EXPECT_EQ(factory->Count("ReadResponse"), 0u);
}

TEST_F(DownloadFile, CodesInsideTheRangeOfStatusesAreJudgedByTheReply) {
    for (const DWORD code : {20000u, 27775u}) {
        log.Clear();
        factory->Fail("SendRequestGetResponse", code);
        factory->Reply(500, R"({"errorId":"17"})");
        EXPECT_EQ(Run(), 20017u);
        EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::_Internal_DownloadFile",
                            Format("SendRequestGetResponse failed, error code: %u", code)));
        EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::_Internal_DownloadFile",
                            "Extracted error from response: 20017"));
    }
    EXPECT_EQ(factory->Count("ReadResponse"), 2u);
}

TEST_F(DownloadFile, ARefusalIsTheServersCode) {
    factory->Reply(404);
    EXPECT_EQ(Run(), 20404u);
    factory->Reply(401, R"({"errorId":"6"})");
    EXPECT_EQ(Run(), 20006u);
    EXPECT_FALSE(attributes->HasSize());
}

TEST_F(DownloadFile, ARefusalWhoseBodyCannotBeReadIsTheCodeOfReading) {
    factory->Reply(404);
    factory->Fail("ReadResponse", 12030);
    EXPECT_EQ(Run(), 12030u);
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::_Internal_DownloadFile", "ReadResponse failed, error code: 12030"));
    EXPECT_FALSE(log.Mentions("SendRequestGetResponse failed"));
    EXPECT_FALSE(log.Mentions("Extracted error"));
}

TEST_F(DownloadFile, AHostileRefusalEndsInACode) {
    factory->Reply(500, std::string(100000, '['));
    EXPECT_EQ(Run(), 20500u);
}

// A transport that hands a failing status through as a success.
class LenientDownload : public DownloadFile {
protected:
    void SetUp() override {
        DownloadFile::SetUp();
        session = factory->LastSession();
    }
    DWORD RunWithStatus(DWORD status) {
        factory->Reply(status);
        factory->SetLenientDownloads(true);
        return Run();
    }
    std::shared_ptr<IWinHttpSession> session;
};

TEST_F(LenientDownload, AnotherStatusEndsTheCallWithoutAttributes) {
    EXPECT_EQ(RunWithStatus(404), 0u);
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::_Internal_DownloadFile", "GetHTTPStatus shows failure, code: 404"));
    EXPECT_FALSE(attributes->HasSize());
    EXPECT_FALSE(log.Mentions("Successfully downloaded"));
}

TEST_F(LenientDownload, A401WhoseTokenHasChangedMeanwhileIsARetry) {
    factory->OnCall([this](const std::string& call) {
        if (call.starts_with("SendRequestGetResponse(")) {
            session->SetSessionToken(QM_W("changed"));
        }
    });
    EXPECT_EQ(RunWithStatus(401), 1237u);
    factory->OnCall({});
    EXPECT_TRUE(log.Has(Information,
                        "HTTP_STATUS_DENIED received but session token has changed. Retry required with new token"));
}

TEST_F(LenientDownload, A401WhoseTokenIsTheSameIsNone) {
    EXPECT_EQ(RunWithStatus(401), 0u);
}

}  // namespace
}  // namespace quillmark::test
