// Logging in, and what a session opens.
#include <sys/stat.h>

#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

class Sessions : public ApplianceTest {
protected:
    CurlResult TryLogin(const std::string& form) { return RunCurl({"-d", form, Url("/sessions")}); }
};

TEST_F(Sessions, GiveARandomTokenForTheRightPassword) {
    StartServer();
    const CurlResult first = TryLogin(
        "user_id=ann&password=secret&device_id=d1&device_name=box&client_version=1.2&"
        "client_platform_version=12&platform=Windows+QMClient");
    const CurlResult second = TryLogin("user_id=ann&password=secret&device_id=d1");
    ASSERT_EQ(first.status, 200) << first.body;
    const auto token = first.Json().at("session_token").get<std::string>();
    EXPECT_EQ(token.size(), 64U);
    EXPECT_NE(token, second.Json().at("session_token").get<std::string>());
    EXPECT_FALSE(first.Json().contains("policy_block"));
}

TEST_F(Sessions, RefuseAWrongPasswordAndAnUnknownUserAlike) {
    StartServer();
    for (const std::string form : {"user_id=ann&password=Secret&device_id=d", "user_id=ann&password=&device_id=d",
                                   "user_id=bob&password=secret&device_id=d"}) {
        const CurlResult result = TryLogin(form);
        EXPECT_EQ(result.status, 401) << form;
        EXPECT_EQ(result.body,
                  R"({"errorId":"1010","message":"The user name or the password is wrong","severity":"2"})");
    }
}

TEST_F(Sessions, RefuseFormsThatLackAFieldOrAreNoForms) {
    StartServer();
    for (const std::string form : {"password=secret&device_id=d", "user_id=ann&device_id=d",
                                   "user_id=ann&password=secret", "user_id=ann&password=secret&device_id=%zz"}) {
        const CurlResult result = TryLogin(form);
        EXPECT_EQ(result.status, 400) << form;
        EXPECT_EQ(result.Json()["errorId"], "1001") << form;
    }
    const CurlResult json = RunCurl({"-H", "Content-Type: application/json", "-d", "{}", Url("/sessions")});
    EXPECT_EQ(json.status, 415);
    EXPECT_EQ(json.Json()["errorId"], "1024");
}

TEST_F(Sessions, DecodeTheFormsTexts) {
    StartServer({"--no-sync", "--user", "J\xC3\xB6rg B+:a&b=c d%"});
    EXPECT_EQ(TryLogin("user_id=J%C3%B6rg+B%2B&password=a%26b%3Dc+d%25&device_id=d").status, 200);
}

TEST_F(Sessions, AreNeededForFoldersAndMustBeGood) {
    StartServer();
    Login();
    EXPECT_EQ(StatusOf("/"), 200);
    const std::string cookies[] = {"other=1", "session_token=", "session_token=" + std::string(64, '0'),
                                   "session_token=" + Token() + "0", "xsession_token=" + Token()};
    for (const std::string& cookie : cookies) {
        const CurlResult result = RunCurl({"-b", cookie, Url("/folders/")});
        EXPECT_EQ(result.status, 401) << cookie;
        EXPECT_EQ(result.Json()["errorId"], "6") << cookie;
        EXPECT_EQ(result.Json()["severity"], "1") << cookie;
    }
    EXPECT_EQ(RunCurl({"-b", "a=b; session_token=" + Token() + "; c=d", Url("/folders/")}).status, 200);
}

TEST_F(Sessions, ExpireAfterTheirLifetime) {
    StartServer({"--no-sync", "--session-lifetime", "1"});
    Login();
    EXPECT_EQ(StatusOf("/"), 200);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    int status = 200;
    while (status == 200 && std::chrono::steady_clock::now() < until) {
        status = StatusOf("/");
    }
    EXPECT_EQ(status, 401);
}

TEST_F(Sessions, SurviveARestart) {
    StartServer({});
    Login();
    Server().KillAndStartAgain();
    EXPECT_EQ(StatusOf("/"), 200);
}

TEST_F(Sessions, StandInThePathOnVersionOneZero) {
    StartServer({"--no-sync", "--api", "1.0", "--api", "1.7"});
    Login();
    EXPECT_EQ(RunCurl({Server().Http() + "/api/" + Token() + "/folders/?type=all"}).status, 200);
    const CurlResult wrong = RunCurl({Server().Http() + "/api/" + std::string(64, 'a') + "/folders/"});
    EXPECT_EQ(wrong.status, 401);
    EXPECT_EQ(wrong.Json()["errorId"], "6");
    EXPECT_EQ(RunCurl({"-d", "user_id=ann&password=secret&device_id=d", Server().Http() + "/api/1.0/sessions"}).status,
              200);
}

TEST_F(Sessions, StandInThePathOnlyWhereVersionOneZeroIsOffered) {
    StartServer();
    Login();
    EXPECT_EQ(RunCurl({Server().Http() + "/api/" + Token() + "/folders/"}).status, 404);
}

TEST_F(Sessions, NeedAKnownDeviceTokenInDeviceTokenMode) {
    StartServer({"--no-sync", "--device-token-auth", "--device-token", "dt 1", "--device-token", "dt2"});
    EXPECT_EQ(TryLogin("user_id=ann&password=secret&device_id=d&device_token=dt+1").status, 200);
    EXPECT_EQ(TryLogin("user_id=ann&password=secret&device_id=d&device_token=dt2").status, 200);
    for (const std::string tail : {"", "&device_token=", "&device_token=dt"}) {
        const CurlResult result = TryLogin("user_id=ann&password=secret&device_id=d" + tail);
        EXPECT_EQ(result.status, 401) << tail;
        EXPECT_EQ(result.Json()["errorId"], "1011") << tail;
    }
}

TEST_F(Sessions, CarryThePolicyBlock) {
    StartServer({"--no-sync", "--policy-block", R"({"wipe":false})"});
    const auto reply = TryLogin("user_id=ann&password=secret&device_id=d").Json();
    EXPECT_EQ(reply.at("policy_block"), nlohmann::json::parse(R"({"wipe":false})"));
}

TEST_F(Sessions, KeepUsersTreesApart) {
    StartServer({"--no-sync", "--user", "bob:other"});
    Login();
    MakeFolder("mine");
    const auto token = TryLogin("user_id=bob&password=other&device_id=d").Json().at("session_token").get<std::string>();
    EXPECT_EQ(RunCurl({"-b", "session_token=" + token, Url("/folders/mine")}).status, 404);
    EXPECT_EQ(StatusOf("/mine"), 200);
}

TEST_F(Sessions, TakeUsersFromAFileWithHashedPasswords) {
    const TemporaryFolder folder;
    WriteFile(folder.Path("password"), "p:w d\n");
    ASSERT_EQ(Process({APPLIANCE_PROGRAM, "--hash-password"}, folder.Path("hash"), "/dev/null", folder.Path("password"))
                  .Wait(),
              0);
    const std::string hash = ReadFile(folder.Path("hash"));
    EXPECT_EQ(hash.find("p:w d"), std::string::npos);
    WriteFile(folder.Path("users"), "# people\ncarl:" + hash + "dora:plain\n");
    StartServer({"--no-sync", "--users-file", folder.Path("users")});
    EXPECT_EQ(TryLogin("user_id=carl&password=p:w+d&device_id=d").status, 200);
    EXPECT_EQ(TryLogin("user_id=carl&password=p&device_id=d").status, 401);
    EXPECT_EQ(TryLogin("user_id=dora&password=plain&device_id=d").status, 200);
}

TEST_F(Sessions, LeaveNeitherPasswordsNorTokensInTheDataFolder) {
    StartServer();
    Login();
    const std::string kept =
        ReadFile(Server().DataFolder() + "/appliance.db") + ReadFile(Server().DataFolder() + "/appliance.db-wal");
    EXPECT_NE(kept.find("scrypt$"), std::string::npos);
    EXPECT_EQ(kept.find("secret"), std::string::npos);
    EXPECT_EQ(kept.find(Token()), std::string::npos);
}

}  // namespace appliance_test
