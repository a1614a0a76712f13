// The ranged download.
#include <limits>

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class DownloadData : public ClientTest {
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
    }
    DWORD Run(std::uint64_t start = 100, std::int64_t end = 350) {
        return client->DownloadData(QM_W("/Shared/a b"), QM_W("/home/ann/a"), expected, attributes, start, end,
                                    cancelEvent, nullptr, 7);
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

TEST_F(DownloadData, AsksForTheRangeOfTheExpectedRevision) {
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/Shared/a%20b?skip=100&count=250&revision=r1\", \"GET\", "
                     "c3, null, 0x00000000, false)",
                     "SendRequestGetResponse(r3, \"/home/ann/a\", 100, no sink 7, report)", "GetHTTPStatus(r3)",
                     "Close(r3)"}));
    EXPECT_TRUE(attributes->Equals(*expected));
}

TEST_F(DownloadData, LogsItsSteps) {
    EXPECT_EQ(Run(), 0u);
    for (const char* text : {"Download data request for LocalPath: /home/ann/a, ServerPath: /Shared/a b",
                             "Successfully downloaded data into file: /home/ann/a"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::DownloadData", text)) << text;
    }
    EXPECT_FALSE(log.Mentions("Server attributes which came"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::DownloadData", "Exited [status=0]"));
}

TEST_F(DownloadData, WithoutExpectationNamesNoRevisionAndAsksForTheRecord) {
    expected = nullptr;
    factory->Reply(200);
    factory->Reply(200, R"({"revision":"r4"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(CallsOf("Request::Initialise"),
              (Lines{"(r3, \"/qm/folders/Shared/a%20b?skip=100&count=250\", \"GET\", c3, null, 0x00000000, false)",
                     "(r4, \"/qm/folders/Shared/a%20b\", \"GET\", c4, null, 0x00000000, false)"}));
    EXPECT_EQ(attributes->GetRevision(), "r4");
}

TEST_F(DownloadData, AServerOlderThan12IsAskedForTheRecord) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.1");
    factory->Reply(200);
    factory->Reply(200, R"({"revision":"r4"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r4");
}

TEST_F(DownloadData, AnExpectedRecordWithoutAllTimesIsNotTaken) {
    expected->SetLastAccessTime(CAttributeTime());
    factory->Reply(200);
    factory->Reply(200, R"({"revision":"r4"})");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "r4");
}

TEST_F(DownloadData, AnEmptyExpectedRevisionIsNotNamed) {
    expected->SetRevision("");
    EXPECT_EQ(Run(), 0u);
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("?skip=100&count=250\""));
}

TEST_F(DownloadData, RangesBeyond32BitsAreKept) {
    EXPECT_EQ(Run(5368709120, 9663676416), 0u);
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("?skip=5368709120&count=4294967296&revision=r1\""));
    EXPECT_THAT(factory->Calls()[4], ::testing::HasSubstr(", 5368709120, "));
    EXPECT_EQ(Run(0, std::numeric_limits<std::int64_t>::max()), 0u);
    EXPECT_THAT(factory->Calls()[10], ::testing::HasSubstr("?skip=0&count=9223372036854775807&"));
}

TEST_F(DownloadData, AnEmptyRangeIsAskedFor) {
    EXPECT_EQ(Run(100, 100), 0u);
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("?skip=100&count=0&"));
}

TEST_F(DownloadData, WhatIsNoRangeIs87WithoutARequest) {
    EXPECT_EQ(Run(100, 99), 87u);
    EXPECT_EQ(Run(0, -1), 87u);
    EXPECT_EQ(Run(0x8000000000000000u, std::numeric_limits<std::int64_t>::max()), 87u);
    attributes = nullptr;
    EXPECT_EQ(Run(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(DownloadData, APathThatHasNoUtf8Is1113WithoutARequest) {
    const WideChar lone[] = {QM_W('/'), 0xDCFF, 0};
    EXPECT_EQ(client->DownloadData(lone, QM_W("f"), nullptr, attributes, 0, 1, nullptr, nullptr, 0), 1113u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(DownloadData, ASetCancelEventIs1223WithoutSending) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Run(), 1223u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::DownloadData", "DownloadData canceled"));
    EXPECT_EQ(factory->Count("SendRequestGetResponse"), 0u);
}

TEST_F(DownloadData, AFailureIsItsCodeAndItsBodyIsNotRead) {
    factory->Reply(404, R"({"errorId":"17"})");
    EXPECT_EQ(Run(), 20404u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::DownloadData", "GetResponse failed, error code: 20404"));
    factory->Fail("SendRequestGetResponse", 19016);
    EXPECT_EQ(Run(), 19016u);
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), 12005u);
    EXPECT_EQ(factory->Count("ReadResponse"), 0u);
    EXPECT_EQ(attributes->GetRevision(), "");
}

TEST_F(DownloadData, AStatusThatTheTransportLetsThroughIsTheCodeItself) {
    EXPECT_EQ(RunWithStatus(404), 404u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::DownloadData", "GetHTTPStatus shows failure, code: 404"));
    EXPECT_EQ(RunWithStatus(206), 206u);
    EXPECT_EQ(RunWithStatus(401), 401u);
    EXPECT_FALSE(log.Mentions("Successfully downloaded"));
}

TEST_F(DownloadData, A401WhoseTokenHasChangedMeanwhileIsARetry) {
    factory->OnCall([session = factory->LastSession()](const std::string& call) {
        if (call.starts_with("SendRequestGetResponse(")) {
            session->SetSessionToken(QM_W("changed"));
        }
    });
    EXPECT_EQ(RunWithStatus(401), 1237u);
    factory->OnCall({});
}

TEST_F(DownloadData, ARecordThatCannotBeHadIsItsCode) {
    expected = nullptr;
    factory->Reply(200);
    factory->Reply(404, "{}");
    EXPECT_EQ(Run(), 20404u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::DownloadData", "GetPathAttributes() failed with [20404]"));
}

}  // namespace
}  // namespace quillmark::test
