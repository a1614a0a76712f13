// The recording transport itself.
#include "fakes/RecordingFactory.h"

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class RecordingFactoryTest : public ::testing::Test {
protected:
    std::shared_ptr<fakes::RecordingFactory> factory = std::make_shared<fakes::RecordingFactory>();
};

TEST_F(RecordingFactoryTest, NumbersItsObjectsByKind) {
    const auto session = factory->CreateSession();
    const auto connection = factory->CreateConnection();
    const auto first = factory->CreateRequest(session);
    const auto second = factory->CreateRequest(session);
    EXPECT_EQ(second->Initialise(QM_W("/a"), QM_W("GET"), connection, nullptr, 0, true), 0u);
    EXPECT_EQ(first->AppendFormData("name", QM_W("v"), true), 0u);
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateSession()", "CreateConnection()", "CreateRequest(s1)", "CreateRequest(s1)",
               "Request::Initialise(r2, \"/a\", \"GET\", c1, null, 0x00000000, true)", "AppendFormData(r1, name=v)"}));
}

TEST_F(RecordingFactoryTest, PlaysRepliesInTheOrderOfTheRequests) {
    factory->Reply(404);
    factory->Reply(200, "second");
    const auto first = factory->CreateRequest(nullptr);
    const auto second = factory->CreateRequest(nullptr);
    const auto third = factory->CreateRequest(nullptr);
    ResponseBuffer none;
    ResponseBuffer body;
    ResponseBuffer standard;
    EXPECT_EQ(second->GetResponse(body), 0u);
    EXPECT_EQ(first->GetResponse(none), 0u);
    EXPECT_EQ(third->ReceiveResponse(standard), 0u);
    EXPECT_TRUE(none.IsNull());
    EXPECT_EQ(first->GetHTTPStatus(), 404u);
    EXPECT_EQ(body.text(), "second");
    EXPECT_EQ(standard.text(), "{}");
}

TEST_F(RecordingFactoryTest, AnEmptyBodyIsNotNull) {
    factory->Reply(200, "");
    ResponseBuffer body;
    EXPECT_EQ(factory->CreateRequest(nullptr)->GetResponse(body), 0u);
    EXPECT_FALSE(body.IsNull());
    EXPECT_EQ(body.size(), 0u);
}

TEST_F(RecordingFactoryTest, ADownloadThatIsRefusedGivesItsStatus) {
    factory->Reply(404, "gone");
    const auto request = factory->CreateRequest(nullptr);
    EXPECT_EQ(request->SendRequestGetResponse(QM_W("f"), 0, nullptr, nullptr, true, 7), 20404u);
    EXPECT_EQ(factory->Calls().back(), "SendRequestGetResponse(r1, \"f\", 0, no sink 7, report)");
}

TEST_F(RecordingFactoryTest, OrderedFailuresHitTheirCall) {
    factory->Fail("SendPostData", 12030, 2);
    factory->Fail("CreateSession", 8);
    const auto request = factory->CreateRequest(nullptr);
    EXPECT_EQ(request->SendPostData(), 0u);
    EXPECT_EQ(request->SendPostData(), 12030u);
    EXPECT_EQ(request->SendPostData(), 0u);
    EXPECT_EQ(factory->CreateSession(), nullptr);
}

TEST_F(RecordingFactoryTest, CountsTheRequestsThatAreAlive) {
    const int before = fakes::RecordingFactory::LiveRequests();
    auto request = factory->CreateRequest(nullptr);
    EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), before + 1);
    request.reset();
    EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), before);
}

}  // namespace
}  // namespace quillmark::test
