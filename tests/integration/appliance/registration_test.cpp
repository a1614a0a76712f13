// Registering devices, and wiping them from afar.
#include "integration/appliance/ApplianceTest.h"
#include "integration/appliance/Device.h"

namespace appliance_test {

using nlohmann::json;

class Registrations : public ApplianceTest {
protected:
    void SetUp() override { StartServer(); }

    CurlResult Register(const std::string& device, const std::string& resource = "/registrations",
                        const std::string& user = "ann") {
        return RunCurl(
            {"-d", "user_id=" + user + "&device_id=" + device + "&device_name=my+box&platform=windows", Url(resource)});
    }
    CurlResult OrderWipe(const std::string& device, const std::string& user = "ann") {
        return RunCurl({"-d", "user=" + user + "&device=" + device, Server().Http() + "/control/wipe"});
    }
    CurlResult Acknowledge(const std::string& device, const std::string& user = "ann") {
        return RunCurl({"-d", "username=" + user + "&device_id=" + device, Server().Http() + "/api/devices"});
    }
    CurlResult LogIn(const std::string& device) {
        return RunCurl({"-d", "user_id=ann&password=secret&device_id=" + device, Url("/sessions")});
    }
};

TEST_F(Registrations, SendTheUserALetter) {
    const CurlResult result = Register("d1");
    EXPECT_EQ(result.status, 200) << result.body;
    EXPECT_EQ(result.Json(), json::object());
    const std::vector<json> letters = Letters(Server());
    ASSERT_EQ(letters.size(), 1U);
    EXPECT_EQ(letters[0], json::parse(R"({"kind": "registration", "recipient": "ann", "device_id": "d1",
        "device_name": "my box", "platform": "windows"})"));
}

TEST_F(Registrations, OfADeviceTheSecondTimeAreRefusedInTheWordsThatClientsLookFor) {
    ASSERT_EQ(Register("d1").status, 200);
    const CurlResult again = Register("d1");
    EXPECT_EQ(again.status, 400);
    EXPECT_EQ(again.body,
              R"({"errorId":"1013","message":"The user ann has registered the device d1 already","severity":"1"})");
    EXPECT_EQ(Letters(Server()).size(), 1U);
    EXPECT_EQ(Register("d2").status, 200);
}

TEST_F(Registrations, CanHaveTheirLetterSentAgain) {
    ASSERT_EQ(Register("d1").status, 200);
    const CurlResult again = Register("d1", "/registrations/resend");
    EXPECT_EQ(again.status, 200) << again.body;
    const std::vector<json> letters = Letters(Server());
    ASSERT_EQ(letters.size(), 2U);
    EXPECT_EQ(letters[0], letters[1]);
}

TEST_F(Registrations, RefuseUnknownUsersUnknownDevicesAndForms) {
    ExpectError(Register("d1", "/registrations", "bob"), 401, "1010");
    ExpectError(Register("d1", "/registrations/resend", "bob"), 401, "1010");
    ExpectError(Register("d1", "/registrations/resend"), 404, "1002");
    ExpectError(Register("d1", "/registrations/repeat"), 404, "1040");
    ExpectError(RunCurl({"-d", "user_id=ann&device_id=d1&device_name=x", Url("/registrations")}), 400, "1001");
    ExpectError(RunCurl({"-d", "user_id=ann&device_name=x&platform=y", Url("/registrations")}), 400, "1001");
    ExpectError(RunCurl({Url("/registrations")}), 405, "1041");
    EXPECT_EQ(Letters(Server()).size(), 0U);
}

TEST_F(Registrations, ComeToADeviceThatHasLoggedInBefore) {
    const Device device(Server(), "d1");
    ExpectError(Register("d1", "/registrations/resend"), 404, "1002");
    EXPECT_EQ(Register("d1").status, 200);
    EXPECT_EQ(Register("d1").status, 400);
}

TEST_F(Registrations, SurviveAKill) {
    StartServer({});
    ASSERT_EQ(Register("d1").status, 200);
    Server().KillAndStartAgain();
    EXPECT_EQ(Letters(Server()).size(), 1U);
    EXPECT_EQ(Register("d1").status, 400);
    EXPECT_EQ(Register("d1", "/registrations/resend").status, 200);
}

TEST_F(Registrations, ThatWereCommittedBeforeTheirLetterCanStillGetIt) {
    ASSERT_EQ(Register("d1").status, 200);
    Server().Stop();
    // As a kill between the two leaves it.
    ChangeRows(Server().DataFolder(),
               "INSERT INTO devices (user, device, name, platform, registered)"
               " SELECT user, 'd2', name, platform, registered FROM devices");
    Server().KillAndStartAgain();
    EXPECT_EQ(Register("d2").status, 400);
    EXPECT_EQ(Register("d2", "/registrations/resend").status, 200);
    EXPECT_EQ(Letters(Server()).back()["device_id"], "d2");
}

TEST_F(Registrations, EndWithAWipeThatTheDeviceAcknowledges) {
    ASSERT_EQ(Register("d1").status, 200);
    const Device wiped(Server(), "d1");
    const Device other(Server(), "d2");
    EXPECT_EQ(OrderWipe("d1").status, 200);
    ExpectError(wiped.Get("/folders/"), 401, "6");
    EXPECT_EQ(other.StatusOf("/"), 200);
    ExpectError(LogIn("d1"), 401, "1011");
    const CurlResult acknowledged = Acknowledge("d1");
    EXPECT_EQ(acknowledged.status, 204);
    EXPECT_EQ(acknowledged.body, "");
    EXPECT_EQ(LogIn("d1").status, 200);
    EXPECT_EQ(Acknowledge("d1").status, 204);
}

TEST_F(Registrations, AreNotNeededForAWipe) {
    const Device device(Server(), "d1");
    EXPECT_EQ(OrderWipe("d1").status, 200);
    ExpectError(device.Get("/folders/"), 401, "6");
    EXPECT_EQ(Acknowledge("d1").status, 204);
    EXPECT_EQ(Register("d1").status, 200);
}

TEST_F(Registrations, AndNothingElseMakeADeviceThatCanBeWiped) {
    ExpectError(OrderWipe("d1"), 404, "1002");
    ExpectError(OrderWipe("d1", "bob"), 404, "1002");
    ExpectError(Acknowledge("d1"), 404, "1002");
    ExpectError(Acknowledge("d1", "bob"), 404, "1002");
    ASSERT_EQ(Register("d1").status, 200);
    EXPECT_EQ(Acknowledge("d1").status, 204);
    EXPECT_EQ(LogIn("d1").status, 200);
}

TEST_F(Registrations, KeepAnOrderedWipeOverAKill) {
    StartServer({});
    const Device device(Server(), "d1");
    ASSERT_EQ(OrderWipe("d1").status, 200);
    Server().KillAndStartAgain();
    ExpectError(device.Get("/folders/"), 401, "6");
    ExpectError(LogIn("d1"), 401, "1011");
    ASSERT_EQ(Acknowledge("d1").status, 204);
    Server().KillAndStartAgain();
    EXPECT_EQ(LogIn("d1").status, 200);
}

TEST_F(Registrations, TakeTheAcknowledgementAtTheServersRootOnly) {
    ASSERT_EQ(Register("d1").status, 200);
    ExpectError(RunCurl({"-d", "username=ann&device_id=d1", Url("/devices")}), 404, "1040");
    ExpectError(RunCurl({Server().Http() + "/api/devices"}), 405, "1041");
    ExpectError(RunCurl({"-d", "username=ann", Server().Http() + "/api/devices"}), 400, "1001");
    ExpectError(RunCurl({"-d", "username=ann&device_id=d1", Server().Http() + "/api/devices/d1"}), 404, "1040");
    StartServer({"--no-sync", "--api", "1.0", "--api", "1.7=/api"});
    ASSERT_EQ(
        RunCurl({"-d", "user_id=ann&device_id=d1&device_name=x&platform=y", Server().Http() + "/api/registrations"})
            .status,
        200);
    EXPECT_EQ(Acknowledge("d1").status, 204);
}

TEST_F(Registrations, OrderWipesWithAFormOnly) {
    ExpectError(RunCurl({Server().Http() + "/control/wipe"}), 405, "1041");
    ExpectError(RunCurl({"-d", "user=ann", Server().Http() + "/control/wipe"}), 400, "1001");
}

}  // namespace appliance_test
