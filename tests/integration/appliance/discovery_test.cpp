// What a client asks before it logs in.
#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

class Discovery : public ApplianceTest {};

TEST_F(Discovery, OffersOneVersionBelowItsPathByDefault) {
    StartServer();
    const CurlResult result = RunCurl({Server().Http() + "/endpoints"});
    EXPECT_EQ(result.status, 200);
    EXPECT_EQ(result.Json(),
              nlohmann::json::parse(R"({"qm":{"sync":{"1.7":{"path":"/api/1.7","tos":0}},"audit":{}}})"));
    EXPECT_NE(result.headers.find("Content-Type: application/json; charset=UTF-8\r\n"), std::string::npos);
}

TEST_F(Discovery, OffersTheVersionsPathsTosAndLoggingThatAreAskedFor) {
    StartServer({"--no-sync", "--api", "1", "--api", "1.51", "--api", "2.0=/other/place", "--tos", "-7", "--audit"});
    EXPECT_EQ(RunCurl({Server().Http() + "/endpoints"}).Json(), nlohmann::json::parse(R"({"qm":{
        "sync":{"1":{"path":"/api/1","tos":-7},"1.51":{"path":"/api/1.51","tos":-7},
                "2.0":{"path":"/other/place","tos":-7}},
        "audit":{"1.0":{"path":"/audit/1.0","tos":-7}}}})"));
    EXPECT_EQ(RunCurl({Server().Http() + "/other/place/init"}).status, 200);
}

TEST_F(Discovery, AnswersInitWithTheLegacyModeUnlessDeviceTokensAreAskedFor) {
    StartServer();
    EXPECT_EQ(RunCurl({Url("/init")}).body, R"({"device_token_auth":false})");
    StartServer({"--no-sync", "--device-token-auth"});
    EXPECT_EQ(RunCurl({Url("/init")}).body, R"({"device_token_auth":true})");
}

TEST_F(Discovery, AnswersTheVersionTextThatIsAskedFor) {
    StartServer({"--no-sync", "--version-text", "9.8.7 \xC3\xA4"});
    EXPECT_EQ(RunCurl({Url("/version")}).body, "{\"quillmark_version\":\"9.8.7 \xC3\xA4\"}");
}

TEST_F(Discovery, RefusesEndpointsThatDoNotExist) {
    StartServer();
    for (const std::string path : {"/", "/api", "/api/1.6/init", "/api/1.7", "/api/1.7/nothing", "/api/1.7/init/more",
                                   "/api/1.70/init", "/endpoints/more"}) {
        const CurlResult result = RunCurl({Server().Http() + path});
        EXPECT_EQ(result.status, 404) << path;
        EXPECT_EQ(result.Json()["errorId"], "1040") << path;
        EXPECT_EQ(result.Json()["severity"], "2") << path;
    }
}

TEST_F(Discovery, RefusesMethodsThatAnEndpointDoesNotHave) {
    StartServer();
    for (const std::string path : {"/endpoints", "/api/1.7/init", "/api/1.7/version"}) {
        const CurlResult result = RunCurl({"-X", "DELETE", Server().Http() + path});
        EXPECT_EQ(result.status, 405) << path;
        EXPECT_EQ(result.Json()["errorId"], "1041") << path;
    }
}

TEST_F(Discovery, HasNoControlPathUnlessItIsAskedFor) {
    StartServer({"--no-sync", "--control", "/elsewhere"});
    EXPECT_EQ(RunCurl({Server().Http() + "/control/statistics"}).status, 404);
    EXPECT_EQ(RunCurl({Server().Http() + "/elsewhere/statistics"}).status, 200);
}

}  // namespace appliance_test
