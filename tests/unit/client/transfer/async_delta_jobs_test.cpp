// What is asked of asynchronous delta jobs after their start.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

constexpr GUID First = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
constexpr GUID Second = {0x7C9E6679, 0x7425, 0x40DE, {0x94, 0x4B, 0xE0, 0x7F, 0xC1, 0xF9, 0x0A, 0xE7}};
constexpr GUID Third = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};

class AsyncDeltaJobs : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        for (auto set : {&IServerAttributes::SetLastAccessTime, &IServerAttributes::SetLastWriteTime,
                         &IServerAttributes::SetChangeTime}) {
            (attributes.get()->*set)(CAttributeTime::Parse("2016-02-29T23:59:59.999Z"));
        }
        attributes->SetCreationTime(CAttributeTime::Parse("2015-03-01T10:20:30.123Z"));
        attributes->SetFileAttributes(0x20);
        attributes->SetRevision("r1");
    }
    // A client of an older server.
    void Renew() {
        client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
        Discover("1.6");
    }
    DWORD Status() { return client->AsyncDeltaStatus(jobs, cancelEvent); }
    DWORD Commit() { return client->AsyncDeltaCommit(First, attributes, 5368709120, cancelEvent); }
    DWORD Cancel() { return client->AsyncDeltaCancel(First, cancelEvent); }

    AsyncDeltaJobList jobs{{Second, 9}, {First, 9}, {Third, 9}};
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    HANDLE cancelEvent = nullptr;
};

TEST_F(AsyncDeltaJobs, StatusNamesTheJobsInTheirOrder) {
    factory->Reply(200, R"({"0F8FAD5B-D9CB-469F-A165-70867728950E":{"status":"PENDING_COMMIT"},
                            "7C9E6679-7425-40DE-944B-E07FC1F90AE7":{"status":"pending_commit"}})");
    EXPECT_EQ(Status(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/asdelta/status?jobId=7C9E6679-7425-40DE-944B-E07FC1F90AE7"
                     "&jobId=0F8FAD5B-D9CB-469F-A165-70867728950E&jobId=11111111-2222-3333-4444-555555555555\", "
                     "\"GET\", c3, null, 0x00000000, false)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_EQ(jobs[0].state, 0u);
    EXPECT_EQ(jobs[1].state, 1u);
    EXPECT_EQ(jobs[2].state, 9u);
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::AsyncDeltaStatus", "Exited [status=0]"));
}

TEST_F(AsyncDeltaJobs, StatusOfNoJobsHasNoQuery) {
    jobs.clear();
    EXPECT_EQ(Status(), 0u);
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("\"/qm/asdelta/status\""));
}

TEST_F(AsyncDeltaJobs, AnUnreadableStatusReplyIs13) {
    for (const char* reply : {"no JSON", "[]"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Status(), 13u) << reply;
    }
    factory->Reply(200);
    EXPECT_EQ(Status(), 13u);
    EXPECT_EQ(jobs[0].state, 9u);
}

TEST_F(AsyncDeltaJobs, CommitSendsTheFinalRecord) {
    factory->Reply(200, R"({"name":"a","revision":"r2"})");
    EXPECT_EQ(Commit(), 0u);
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
               "Request::Initialise(r3, \"/qm/asdelta/0F8FAD5B-D9CB-469F-A165-70867728950E\", \"POST\", c3, null, "
               "0x00000000, false)",
               "AppendFormData(r3, revision=r1&)", "AppendFormData(r3, creation_time=2015-03-01T10:20:30.123Z&)",
               "AppendFormData(r3, modification_time=2016-02-29T23:59:59.999Z&)", "AppendFormData(r3, attributes=32&)",
               "AppendFormData(r3, expected_size=5368709120)", "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_EQ(attributes->GetRevision(), "r2");
    for (const char* text : {"File commit successful for: 0F8FAD5B-D9CB-469F-A165-70867728950E",
                             "Extracted attributes from upload reply, Rev: r2"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AsyncDeltaCommit", text)) << text;
    }
}

TEST_F(AsyncDeltaJobs, CommitSendsAnEmptyRevisionToo) {
    attributes->SetRevision("");
    EXPECT_EQ(Commit(), 0u);
    EXPECT_EQ(CallsOf("AppendFormData")[0], "(r3, revision=&)");
    EXPECT_EQ(factory->Count("AppendFormData"), 5u);
}

TEST_F(AsyncDeltaJobs, ACommitWithoutOneItemIs13) {
    for (const char* reply : {"no JSON", "[]", "[{},{}]"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(Commit(), 13u) << reply;
    }
    EXPECT_EQ(log.Count(Error, "Failed to extract attributes from response"), 3u);
    EXPECT_EQ(attributes->GetRevision(), "r1");
}

TEST_F(AsyncDeltaJobs, ACommitOfAnUnsetTimeIs87WithoutARequest) {
    attributes->SetCreationTime(CAttributeTime());
    EXPECT_EQ(Commit(), 87u);
    attributes = nullptr;
    EXPECT_EQ(Commit(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(AsyncDeltaJobs, AFieldThatCannotBeAddedIsItsCode) {
    for (int field = 1; field <= 5; ++field) {
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Commit(), 12150u);
    }
    EXPECT_EQ(factory->Count("GetResponse"), 0u);
}

TEST_F(AsyncDeltaJobs, CancelDeletesTheJob) {
    factory->Reply(200);
    EXPECT_EQ(Cancel(), 0u);
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
               "Request::Initialise(r3, \"/qm/asdelta/0F8FAD5B-D9CB-469F-A165-70867728950E\", \"DELETE\", c3, null, "
               "0x00000000, false)",
               "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AsyncDeltaCancel",
                        "Async cancel successful for: 0F8FAD5B-D9CB-469F-A165-70867728950E"));
}

TEST_F(AsyncDeltaJobs, CancelOfTheGuidOfZerosIs87WithoutARequest) {
    EXPECT_EQ(client->AsyncDeltaCancel(GUID{}, nullptr), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(AsyncDeltaJobs, AnOlderServerIs87WithoutARequest) {
    Renew();
    EXPECT_EQ(Status(), 87u);
    EXPECT_EQ(Commit(), 87u);
    EXPECT_EQ(Cancel(), 87u);
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(AsyncDeltaJobs, ASetCancelEventIs1223WithoutSending) {
    Event cancel;
    cancel.Set();
    cancelEvent = cancel.Handle();
    EXPECT_EQ(Status(), 1223u);
    EXPECT_EQ(Commit(), 1223u);
    EXPECT_EQ(Cancel(), 1223u);
    for (const char* function :
         {"CNativeHttp::AsyncDeltaStatus", "CNativeHttp::AsyncDeltaCommit", "CNativeHttp::AsyncDeltaCancel"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", function, "Listing canceled")) << function;
    }
    EXPECT_EQ(factory->Count("AppendFormData"), 0u);
    EXPECT_EQ(factory->Count("GetResponse"), 0u);
}

TEST_F(AsyncDeltaJobs, AFailureIsItsCode) {
    const std::function<DWORD()> operations[] = {[this] { return Status(); }, [this] { return Commit(); },
                                                 [this] { return Cancel(); }};
    for (const auto& operation : operations) {
        factory->Reply(409, R"({"errorId":"17"})");
        EXPECT_EQ(operation(), 20017u);
        factory->Fail("GetResponse", 12030);
        EXPECT_EQ(operation(), 12030u);
        factory->DropReplies();
        factory->Fail("Connection::Initialise", 12005);
        EXPECT_EQ(operation(), 12005u);
    }
    EXPECT_FALSE(log.Mentions("successful"));
}

}  // namespace
}  // namespace quillmark::test
