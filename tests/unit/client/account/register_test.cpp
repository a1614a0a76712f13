#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Register : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    StatusPair Run() { return client->Register(QM_W("ann"), QM_W("dev-7"), nullptr); }

    static constexpr const char* Known = "The user ann has registered the device dev-7 before";
};

TEST_F(Register, SendsTheFormToRegistrations) {
    factory->Reply(200);
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/registrations\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, user_id=ann&)", "AppendFormData(r3, device_id=dev-7&)",
                     "AppendFormData(r3, device_name=laptop&)", "AppendFormData(r3, platform=windows)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::Register", "Request successful, email sent to user"));
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::LogResponse", ""));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::Register", "Exited [status=0]"));
}

TEST_F(Register, IsBelowTheApiPathOnAServerOfApi10Too) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_THAT(factory->Calls()[3], ::testing::HasSubstr("\"/qm/registrations\""));
}

TEST_F(Register, ADeviceThatIsKnownIsRegisteredAgain) {
    factory->Reply(400, Known);
    factory->Reply(200);
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()",
                     "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/registrations\", \"POST\", c3, null, 0x00000000, false)",
                     "AppendFormData(r3, user_id=ann&)",
                     "AppendFormData(r3, device_id=dev-7&)",
                     "AppendFormData(r3, device_name=laptop&)",
                     "AppendFormData(r3, platform=windows)",
                     "GetResponse(r3)",
                     "GetHTTPStatus(r3)",
                     "Close(r3)",
                     "CreateConnection()",
                     "Connection::Initialise(c4, \"\", 0, s1, 0, 0, 0, 0)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r4, \"/qm/registrations/resend\", \"POST\", c4, null, 0x00000000, false)",
                     "AppendFormData(r4, user_id=ann&)",
                     "AppendFormData(r4, device_id=dev-7&)",
                     "AppendFormData(r4, device_name=laptop&)",
                     "AppendFormData(r4, platform=windows)",
                     "GetResponse(r4)",
                     "GetHTTPStatus(r4)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::Register",
                        "The user has registered the device previously, sending re-registration request"));
    EXPECT_EQ(log.Count(Information, "Request successful, email sent to user"), 1u);
}

TEST_F(Register, OtherRefusalsAreNotRepeated) {
    for (const char* body :
         {"The user is unknown", "has registered the device", "the user has registered the device"}) {
        factory->Reply(400, body);
        EXPECT_EQ(Run(), (StatusPair{20400, 0})) << body;
    }
    factory->Reply(400, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{20017, 2}));
    factory->Reply(409, Known);
    EXPECT_EQ(Run(), (StatusPair{20409, 0}));
    factory->Reply(204);
    EXPECT_EQ(Run(), (StatusPair{20204, 0}));
    EXPECT_EQ(factory->Count("CreateRequest"), 6u);
    EXPECT_EQ(log.Count(Error, "GetHTTPStatus shows failure, code: 400"), 4u);
    EXPECT_FALSE(log.Mentions("email sent"));
}

TEST_F(Register, ARefusedRepetitionIsItsCodeAndNotRepeated) {
    factory->Reply(400, Known);
    factory->Reply(400, Known);
    EXPECT_EQ(Run(), (StatusPair{20400, 0}));
    factory->Reply(400, Known);
    factory->Reply(500, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{20017, 2}));
    EXPECT_EQ(factory->Count("CreateRequest"), 4u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::Register", "GetHTTPStatus shows failure, code: 500"));
}

TEST_F(Register, AFailureOfTheTransportIsItsCode) {
    factory->Fail("GetResponse", 12030);
    EXPECT_EQ(Run(), (StatusPair{12030, 0}));
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::Register", "GetResponse failed, error code: 12030"));
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), (StatusPair{12005, 0}));
    for (int field = 1; field <= 4; ++field) {
        factory->Fail("AppendFormData", 12150, field);
        EXPECT_EQ(Run(), (StatusPair{12150, 0}));
    }
    factory->DropReplies();
    factory->Reply(400, Known);
    factory->Fail("GetResponse", 12030, 2);
    EXPECT_EQ(Run(), (StatusPair{12030, 0}));
}

TEST_F(Register, EachOfTheTwoRequestsCanBeCancelled) {
    Event cancel;
    factory->Reply(400, Known);
    EXPECT_EQ(client->Register(QM_W("ann"), QM_W("dev-7"), cancel.Handle()), (StatusPair{0, 0}));
    EXPECT_EQ(log.Count(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))), 2u);
}

}  // namespace
}  // namespace quillmark::test
