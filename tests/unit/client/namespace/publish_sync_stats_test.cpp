#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class PublishSyncStats : public ClientTest {
protected:
    void SetUp() override { DiscoverWithLogging(); }
    StatusPair Run(const char* statistics) { return client->PublishSyncStats(statistics, nullptr); }
};

TEST_F(PublishSyncStats, PostsTheTextToTheAuditingEndpointWithATrailingSeparator) {
    factory->Reply(200);
    EXPECT_EQ(Run("{\"files\":3,\"user\":\"J\xC3\xBCrgen\"}"), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/audit/1.0\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, data={\"files\":3,\"user\":\"J\xC3\xBCrgen\"}&)", "GetResponse(r3)",
                     "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::PublishSyncStats", "Exited [status=0]"));
}

TEST_F(PublishSyncStats, AnEmptyTextIsPostedToo) {
    EXPECT_EQ(Run(""), (StatusPair{0, 0}));
    EXPECT_EQ(CallsOf("AppendFormData"), (Lines{"(r3, data=&)"}));
}

TEST_F(PublishSyncStats, AServerWithoutTheEndpointIs1341WithoutARequest) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover();
    EXPECT_EQ(Run("text"), (StatusPair{1341, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::PublishSyncStats",
                        "This server does not have an auditing end point"));
}

TEST_F(PublishSyncStats, AFailureIsThePairAsItIs) {
    factory->Reply(403, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run("text"), (StatusPair{20017, 2}));
    factory->Fail("Request::Initialise", 12005);
    EXPECT_EQ(Run("text"), (StatusPair{12005, 0}));
    factory->Fail("AppendFormData", 12150);
    EXPECT_EQ(Run("text"), (StatusPair{12150, 0}));
    EXPECT_EQ(factory->Count("GetResponse"), 1u);
}

TEST_F(PublishSyncStats, WithoutATextIs87) {
    EXPECT_EQ(Run(nullptr), (StatusPair{87, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
}

TEST_F(PublishSyncStats, CanBeCancelledAndLeavesTheTimeouts) {
    Event cancel;
    EXPECT_EQ(client->PublishSyncStats("text", cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
    EXPECT_EQ(factory->Count("SetTimeouts"), 0u);
}

}  // namespace
}  // namespace quillmark::test
