// quillmark doctor: one line for each thing that can be wrong.

#include <regex>
#include <sstream>

#include "integration/cli/CliTest.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::testing {
namespace {

class DoctorCommandTest : public CliTest {
protected:
    // A server of the test's own words: whatever is asked, one of these replies, by the beginning of the request.
    using Replies = std::vector<std::pair<std::string, std::string>>;
    static test::RawServer::Script Answering(const Replies& replies) {
        return [replies](test::Peer& peer) {
            for (std::string head = peer.ReadHead(); !head.empty(); head = peer.ReadHead()) {
                for (const auto& [request, reply] : replies) {
                    if (head.starts_with(request)) {
                        peer.Send(reply);
                        break;
                    }
                }
            }
        };
    }
    static std::string Reply(const std::string& body, const std::string& headers = "") {
        return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    static constexpr const char* Endpoints =
        R"({"qm": {"sync": {"1.0": {"path": "/a", "tos": 0}, "1.7": {"path": "/b", "tos": 0}}, "audit": {}}})";
    static void ExpectLine(const std::string& line, const std::string& text) {
        EXPECT_NE(std::string::npos, ("\n" + text).find("\n" + line)) << "missing: " << line << "\n" << text;
    }
    ProcessResult Doctor(const std::string& server, const Process::Environment& environment = {}) const {
        return Quillmark({"doctor", server}, environment);
    }
};

TEST_F(DoctorCommandTest, FindsEverythingInOrder) {
    StartServer();
    ASSERT_EQ(0,
              Quillmark({"--ca", Server().AuthorityFile(), "login", Server().HttpsUrl(), "--user", "anna"}).exitCode);
    const ProcessResult result = Quillmark({"--ca", Server().AuthorityFile(), "doctor"});
    EXPECT_EQ(0, result.exitCode) << result.output;
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(std::string::npos, result.output.find("FAILED"));
    ExpectLine("ok      proxy       none", result.output);
    ExpectLine("ok      name        " + Server().HttpsUrl() + " is found\n", result.output);
    ExpectLine("ok      port        " + Server().HttpsUrl() + " answers\n", result.output);
    EXPECT_TRUE(std::regex_search(
        result.output, std::regex("\nok      certificate trusted, for this name and until \\d{4}-\\d\\d-\\d\\d\n")))
        << result.output;
    ExpectLine("ok      endpoints   offers API 1.", result.output);
    EXPECT_NE(std::string::npos, result.output.find("; uses /api/1.7; statistics are not taken\n"));
    ExpectLine("ok      mode        devices log in without a token\n", result.output);
    ExpectLine("ok      version     ", result.output);
    ExpectLine("ok      session     the server accepts the session of anna\n", result.output);
}

TEST_F(DoctorCommandTest, WarnsOfAConnectionThatIsNotEncrypted) {
    StartAndLogin();
    const ProcessResult result = Quillmark({"doctor"});
    EXPECT_EQ(0, result.exitCode) << result.output;
    ExpectLine("warning certificate none: ", result.output);
}

TEST_F(DoctorCommandTest, NamesACertificateThatIsNotTrusted) {
    StartServer();
    const ProcessResult result = Doctor(Server().HttpsUrl());
    EXPECT_EQ(3, result.exitCode);
    ExpectLine("ok      port        ", result.output);
    ExpectLine(
        "FAILED  certificate the server's certificate is not trusted (12175) [ERROR_WINHTTP_SECURE_FAILURE]. Name "
        "its authority with --ca FILE; ",
        result.output);
    EXPECT_EQ(std::string::npos, result.output.find("endpoints")) << "what comes after it cannot be looked at";
}

TEST_F(DoctorCommandTest, NamesAPortAtWhichNothingListens) {
    const ProcessResult result = Doctor("http://127.0.0.1:" + std::to_string(test::UnusedPort()));
    EXPECT_EQ(3, result.exitCode);
    ExpectLine("ok      name        ", result.output);
    ExpectLine("FAILED  port        nothing answers at this address and port (12029)", result.output);
}

TEST_F(DoctorCommandTest, NamesANameThatIsNotFound) {
    const ProcessResult result = Doctor("http://no-such-name.invalid");
    EXPECT_EQ(3, result.exitCode);
    ExpectLine("FAILED  name        the server's name cannot be found (12007)", result.output);
}

TEST_F(DoctorCommandTest, ShowsTheProxyWithoutItsPasswordAndBlamesIt) {
    const std::string proxy = "127.0.0.1:" + std::to_string(test::UnusedPort());
    const ProcessResult result = Doctor("http://files.invalid", {{"http_proxy", "http://user:pass@" + proxy}});
    EXPECT_EQ(3, result.exitCode);
    ExpectLine("ok      proxy       http://" + proxy + "\n", result.output);
    ExpectLine("ok      name        http://files.invalid is left to the proxy\n", result.output);
    ExpectLine("FAILED  port        nothing answers", result.output);
    EXPECT_NE(std::string::npos, result.output.find("Check the proxy first")) << result.output;
    EXPECT_EQ(std::string::npos, result.output.find("pass@"));
}

TEST_F(DoctorCommandTest, NamesAServerOfAnotherProduct) {
    const test::RawServer page(Answering({{"GET", Reply("<html></html>")}}));
    const ProcessResult result = Doctor("http://127.0.0.1:" + std::to_string(page.Port()));
    EXPECT_EQ(9, result.exitCode);
    ExpectLine("ok      port        ", result.output);
    ExpectLine(
        "FAILED  endpoints   the server offers no API that this client speaks (19006) [ERROR_INCOMPATIBLE_SERVER]. "
        "Check that the address is the server's own, and its scheme http or https.\n",
        result.output);
}

TEST_F(DoctorCommandTest, NamesALostConnectionWithoutSendingToItself) {
    const test::RawServer server([](test::Peer& peer) {
        if (peer.ReadHead().starts_with("GET /endpoints")) {
            peer.Send(Reply(Endpoints));
        }
    });
    const ProcessResult result = Doctor("http://127.0.0.1:" + std::to_string(server.Port()));
    EXPECT_EQ(std::string::npos, result.output.find("'quillmark doctor'")) << result.output;
    EXPECT_NE(std::string::npos, result.output.find("FAILED  ")) << result.output;
}

TEST_F(DoctorCommandTest, NamesTheVersionsOfAServerThatIsTooNew) {
    const test::RawServer server(
        Answering({{"GET /endpoints", Reply(R"({"qm": {"sync": {"2.0": {"path": "/b", "tos": 0}}, "audit": {}}})")}}));
    const ProcessResult result = Doctor("http://127.0.0.1:" + std::to_string(server.Port()));
    EXPECT_EQ(9, result.exitCode);
    EXPECT_NE(std::string::npos, result.output.find("It offers 2.0, this client needs 1.x.")) << result.output;
}

TEST_F(DoctorCommandTest, NamesAServerThatDoesNotTellItsMode) {
    const test::RawServer server(Answering({{"GET /endpoints", Reply(Endpoints)},
                                            {"GET /b/init", Reply("{}")},
                                            {"GET /b/version", Reply(R"({"quillmark_version": "7"})")}}));
    const ProcessResult result = Doctor("http://127.0.0.1:" + std::to_string(server.Port()));
    EXPECT_EQ(9, result.exitCode);
    ExpectLine("ok      endpoints   offers API 1.0, 1.7; uses /b; statistics are not taken\n", result.output);
    ExpectLine("FAILED  mode        this does not look like a server of this product (12004)", result.output);
    ExpectLine("ok      version     7\n", result.output);
}

TEST_F(DoctorCommandTest, NamesAServerThatDoesNotTellItsVersion) {
    const test::RawServer server(Answering({{"GET /endpoints", Reply(Endpoints)},
                                            {"GET /b/init", Reply(R"({"device_token_auth": true})")},
                                            {"GET /b/version", Reply("{}")}}));
    const ProcessResult result = Doctor("http://127.0.0.1:" + std::to_string(server.Port()));
    EXPECT_EQ(9, result.exitCode);
    ExpectLine("ok      mode        devices log in with a token of their own\n", result.output);
    ExpectLine("FAILED  version     ", result.output);
    ExpectLine("-       session     nobody is logged in", result.output);
}

TEST_F(DoctorCommandTest, WarnsOfAClockThatIsWrong) {
    const std::string late = "Date: Thu, 01 Jan 2015 00:00:00 GMT\r\n";
    const test::RawServer server(Answering({{"GET /endpoints", Reply(Endpoints, late)},
                                            {"GET /b/init", Reply(R"({"device_token_auth": false})", late)},
                                            {"GET /b/version", Reply(R"({"quillmark_version": "7"})", late)}}));
    const ProcessResult result = Doctor("http://127.0.0.1:" + std::to_string(server.Port()));
    EXPECT_EQ(0, result.exitCode) << result.output;
    EXPECT_TRUE(
        std::regex_search(result.output, std::regex("\nwarning clock       the server's is \\d+ seconds behind\\. "
                                                    "Set the clock that is wrong")))
        << result.output;
}

TEST_F(DoctorCommandTest, NamesASessionThatHasEnded) {
    StartAndLogin();
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/"}, {"kind", "expire-token"}});
    const ProcessResult result = Quillmark({"doctor"});
    EXPECT_EQ(4, result.exitCode);
    ExpectLine("FAILED  session     the session has ended (20006) [SERVER_ERROR_SESSION_TOKEN]. Log in again",
               result.output);
}

TEST_F(DoctorCommandTest, PrintsObjectsForPrograms) {
    const ProcessResult result =
        Quillmark({"--json", "doctor", "http://127.0.0.1:" + std::to_string(test::UnusedPort())});
    EXPECT_EQ(3, result.exitCode);
    std::vector<nlohmann::json> lines;
    std::istringstream stream(result.output);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(nlohmann::json::parse(line));
    }
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("port", lines[2].at("check"));
    EXPECT_EQ("FAILED", lines[2].at("result"));
    EXPECT_EQ(12029, lines[2].at("error"));
}

TEST_F(DoctorCommandTest, NeedsAServerOrALogin) {
    ExpectFailure(4, "nobody is logged in", {"doctor"});
    ExpectFailure(2, "is not a server address", {"doctor", "localhost"});
}

}  // namespace
}  // namespace quillmark::testing
