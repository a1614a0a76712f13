// quillmark --trace, and what must not be seen in it.
#include <regex>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class TraceTest : public CliTest {
protected:
    [[nodiscard]] std::string Token() const {
        const std::string session = Read(SessionFile());
        const std::size_t start = session.find("\ntoken ") + 7;
        return session.substr(start, session.find('\n', start) - start);
    }
    void ExpectNoSecret(const std::string& text) const {
        EXPECT_EQ(64u, Token().size());
        EXPECT_EQ(std::string::npos, text.find(Token())) << text;
        EXPECT_EQ(std::string::npos, text.find("secret")) << text;
        EXPECT_EQ(std::string::npos, text.find("DEVICE-T0KEN")) << text;
    }
    std::string LoginTraced() {
        const ProcessResult login =
            Quillmark({"--trace", "login", Server().HttpUrl(), "--user", "anna", "--device-token", "DEVICE-T0KEN"});
        EXPECT_EQ(0, login.exitCode) << login.errors;
        return login.errors;
    }
};

TEST_F(TraceTest, ShowsEachRequestWithMethodPathStatusTimeAndBytes) {
    StartAndLogin();
    const ProcessResult result = Quillmark({"--trace", "ls", "/"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.output);
    const std::regex expected(
        "trace: GET /endpoints: 200, \\d+ ms, 0 bytes up, [1-9]\\d* bytes down\n"
        "trace: GET /api/1.7/init: 200, \\d+ ms, 0 bytes up, [1-9]\\d* bytes down\n"
        "trace: GET /api/1.7/folders/\\?type=all: 200, \\d+ ms, 0 bytes up, [1-9]\\d* bytes down\n");
    EXPECT_TRUE(std::regex_match(result.errors, expected)) << result.errors;
}

TEST_F(TraceTest, CountsTheBytesOfBodies) {
    StartAndLogin();
    const ProcessResult put = Quillmark({"--trace", "put", Write("f", std::string(100'000, 'x')), "/f"});
    std::smatch found;
    ASSERT_TRUE(
        std::regex_search(put.errors, found, std::regex("POST /api/1.7/folders/f: 200, \\d+ ms, (\\d+) bytes up")))
        << put.errors;
    EXPECT_GT(std::stol(found[1]), 100'000);
    EXPECT_LT(std::stol(found[1]), 102'000);
    const ProcessResult get = Quillmark({"--trace", "get", "/f", Local("g")});
    EXPECT_NE(std::string::npos, get.errors.find(" 0 bytes up, 100000 bytes down\n")) << get.errors;
}

TEST_F(TraceTest, ShowsWhichBytesARangeAsksFor) {
    StartAndLogin();
    ASSERT_EQ(0, Quillmark({"put", Write("f", std::string(1000, 'x')), "/f"}).exitCode);
    const ProcessResult get = Quillmark({"--trace", "get", "--range", "100-300", "/f", Local("g")});
    EXPECT_NE(std::string::npos, get.errors.find("GET /api/1.7/folders/f?skip=100&count=200&")) << get.errors;
}

TEST_F(TraceTest, ShowsWhatARequestFailedWith) {
    StartAndLogin();
    EXPECT_NE(std::string::npos, Quillmark({"--trace", "ls", "/none"}).errors.find("folders/none?type=all: 404, "));
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/"}, {"kind", "reset"}, {"at", "in-body"}});
    const ProcessResult result = Quillmark({"--trace", "ls"});
    EXPECT_NE(std::string::npos, result.errors.find("the connection was lost (12030), ")) << result.errors;
}

TEST_F(TraceTest, ALoginShowsNoSecret) {
    StartServer();
    const std::string shown = LoginTraced();
    EXPECT_NE(std::string::npos, shown.find("trace: POST /api/1.7/sessions: 200, ")) << shown;
    ExpectNoSecret(shown);
}

TEST_F(TraceTest, TheTokenInThePathsOfApi10IsNotShown) {
    StartServer({"--no-sync", "--api", "1.0"});
    std::string shown = LoginTraced();
    ASSERT_EQ(0, Quillmark({"mkdir", "/folder"}).exitCode);
    ASSERT_EQ(0, Quillmark({"put", Write("f", "content"), "/f"}).exitCode);
    for (const Arguments& command :
         {Arguments{"ls", "/"}, Arguments{"stat", "/f"}, Arguments{"changes"}, Arguments{"get", "/f", Local("g")},
          Arguments{"put", Local("f"), "/again"}, Arguments{"mv", "/f", "/h"}, Arguments{"lock", "/h"},
          Arguments{"share", "/h", "--to", "ben"}, Arguments{"rm", "/h"}}) {
        Arguments traced = {"--trace"};
        traced.insert(traced.end(), command.begin(), command.end());
        shown += Quillmark(traced).errors;
    }
    EXPECT_NE(std::string::npos, shown.find("/api/***/folders")) << shown;
    EXPECT_NE(std::string::npos, shown.find("/notifs/***")) << shown;
    ExpectNoSecret(shown);
}

TEST_F(TraceTest, ARenewedLoginShowsNeitherTheOldNorTheNewToken) {
    StartServer({"--no-sync", "--api", "1.0"});
    LoginTraced();
    const std::string old = Token();
    Server().AddFaults({{"method", "GET"}, {"path", "/api/" + old + "/folders/"}, {"kind", "expire-token"}});
    const ProcessResult result = Quillmark({"--retries", "1", "--trace", "ls"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_NE(old, Token());
    EXPECT_EQ(std::string::npos, result.errors.find(old));
    ExpectNoSecret(result.errors);
}

}  // namespace
}  // namespace quillmark::testing
