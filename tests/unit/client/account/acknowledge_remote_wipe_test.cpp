#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class AcknowledgeRemoteWipe : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        factory->SetLengths({31, 0, 0});
    }
    StatusPair Run() { return client->AcknowledgeRemoteWipe(QM_W("ann"), QM_W("dev-7"), nullptr); }
};

TEST_F(AcknowledgeRemoteWipe, PostsTheFormOutsideTheApiPath) {
    factory->Reply(200);
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
               "Request::Initialise(r3, \"api/devices\", \"POST\", c3, null, 0x00000000, false)",
               "AppendFormData(r3, username=ann&)", "AppendFormData(r3, device_id=dev-7)", "GetPostDataLength(r3)",
               "StartRequest(r3, 31)", "SendPostData(r3)", "ReceiveResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::AcknowledgeRemoteWipe",
                        "Remote wipe successfully acknowledged"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::AcknowledgeRemoteWipe", "Exited [status=0]"));
}

TEST_F(AcknowledgeRemoteWipe, Status204IsASuccess) {
    factory->Reply(204);
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, "Remote wipe successfully acknowledged"));
}

TEST_F(AcknowledgeRemoteWipe, AnyOtherStatusIsTheCodeItself) {
    factory->Reply(500);
    EXPECT_EQ(Run(), (StatusPair{500, 0}));
    factory->Reply(404, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{404, 0}));
    factory->Reply(201);
    EXPECT_EQ(Run(), (StatusPair{201, 0}));
    EXPECT_TRUE(
        log.Has(Error, "NativeHttp", "CNativeHttp::AcknowledgeRemoteWipe", "GetHTTPStatus shows failure, code: 500"));
    EXPECT_FALSE(log.Mentions("successfully acknowledged"));
}

TEST_F(AcknowledgeRemoteWipe, OnAServerOfApi10ItIsDoneWithoutARequest) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::AcknowledgeRemoteWipe",
                        "AcknowledgeRemoteWipe is not supported on this server version"));
}

TEST_F(AcknowledgeRemoteWipe, AFailureOfTheTransportIsItsCode) {
    factory->Fail("ReceiveResponse", 12030);
    EXPECT_EQ(Run(), (StatusPair{12030, 0}));
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::AcknowledgeRemoteWipe",
                        "ReceiveResponse failed, error code: 12030"));
    for (const char* step : {"Connection::Initialise", "Request::Initialise", "StartRequest", "SendPostData"}) {
        factory->Fail(step, 12005);
        EXPECT_EQ(Run(), (StatusPair{12005, 0})) << step;
    }
    for (int field = 1; field <= 2; ++field) {
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Run(), (StatusPair{12150, 0}));
    }
}

TEST_F(AcknowledgeRemoteWipe, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->AcknowledgeRemoteWipe(QM_W("ann"), QM_W("dev-7"), cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
