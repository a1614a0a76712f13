// quillmark register, wipe-ack, share, stats: what the server does with it is seen in its outbox and by its control
// endpoints.
#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class AccountCommandTest : public CliTest {
protected:
    void SetUp() override {
        StartServer({"--no-sync", "--audit"});
        ASSERT_EQ(0, Quillmark({"login", Server().HttpUrl(), "--user", "anna", "--device", "one"}).exitCode);
    }
};

TEST_F(AccountCommandTest, RegisterAsksForAConfirmationAndForAnotherOne) {
    const std::string said = "The server sends anna a message to confirm the device 'two'.\n";
    const Arguments command = {"register", Server().HttpUrl(), "--user",     "anna", "--device",
                               "two",      "--device-name",    "Anna's desk"};
    EXPECT_EQ(said, OutputOf(command));
    EXPECT_EQ(said, OutputOf(command));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/registrations/resend"));
}

TEST_F(AccountCommandTest, RegisterNeedsNoLogin) {
    std::filesystem::remove(SessionFile());
    OutputOf({"register", Server().HttpUrl(), "--user", "anna", "--device", "two"});
    ExpectFailure(4, "nobody is logged in", {"register"});
}

TEST_F(AccountCommandTest, RegisterOfAnUnknownUserIsRefused) {
    ExpectFailure(4, "(21010)", {"register", Server().HttpUrl(), "--user", "nobody", "--device", "two"});
}

TEST_F(AccountCommandTest, WipeAckTakesWhatIsLeftOutFromTheLogin) {
    EXPECT_EQ("", OutputOf({"wipe-ack"}));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/devices"));
}

TEST_F(AccountCommandTest, WipeAckOfAnUnknownDeviceIsNotFound) {
    ExpectFailure(5, "(20404)", {"wipe-ack", "--device", "never-seen"});
}

TEST_F(AccountCommandTest, ShareReachesTheServer) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", "content"), "/f"}).exitCode);
    EXPECT_EQ("", OutputOf({"share", "/f", "--to", "ben", "carla", "--name", "The file", "--message", "Please read"}));
    EXPECT_EQ("", OutputOf({"share", "--to=ben", "--", "/f"}));
    EXPECT_EQ(2u, Server().RequestCount("POST", "/api/1.7/share"));
}

TEST_F(AccountCommandTest, ShareOfWhatIsNotThereIsNotFound) {
    ExpectFailure(5, "(21002)", {"share", "/none", "--to", "ben"});
}

TEST_F(AccountCommandTest, StatsPostsATextAFileOrItsInput) {
    EXPECT_EQ("", OutputOf({"stats", "a text"}));
    EXPECT_EQ("", OutputOf({"stats", "--file", Write("statistics", "from a file\n")}));
    const ProcessResult result = Quillmark({"stats", "--file", "-"}, {}, "from standard input");
    EXPECT_EQ(0, result.exitCode) << result.errors;
    const ProcessResult kept =
        Process::Run({"curl", "--silent", "--noproxy", "*", Server().HttpUrl() + "/control/audit"});
    std::vector<std::string> texts;
    const nlohmann::json reply = nlohmann::json::parse(kept.output);
    for (const nlohmann::json& entry : reply.at("audit")) {
        texts.push_back(entry.at("data"));
    }
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ((std::vector<std::string>{"a text", "from a file\n", "from standard input"}), texts);
}

TEST_F(AccountCommandTest, StatsRefusesWhatIsNoText) {
    ExpectFailure(2, "without null characters", {"stats", "--file", Write("statistics", std::string("a\0b", 3))});
    ExpectFailure(8, "the local file does not exist (2)", {"stats", "--file", Local("none")});
    EXPECT_EQ(2, Quillmark({"stats"}).exitCode);
    EXPECT_EQ(2, Quillmark({"stats", "text", "--file", "-"}).exitCode);
}

TEST_F(AccountCommandTest, StatsSaysWhenTheServerTakesNone) {
    StartAndLogin({"--no-sync"});
    ExpectFailure(2, "the server takes no statistics (1341)", {"stats", "a text"});
}

}  // namespace
}  // namespace quillmark::testing
