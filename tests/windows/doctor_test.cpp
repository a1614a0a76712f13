// quillmark.exe doctor: one line for each thing that can be wrong on the way to a server.
#include "CommandLine.h"
#include "TrustedAuthority.h"

namespace quillmark::test {
namespace {

class DoctorTest : public CommandLineTest {
protected:
    [[nodiscard]] Outcome Doctor(const std::string& server) const {
        return Run({L"doctor", std::wstring(server.begin(), server.end())});
    }
    static void ExpectLine(const std::string& line, const Outcome& outcome) {
        EXPECT_NE(("\n" + outcome.output).find("\n" + line), std::string::npos) << "missing: " << line << "\n"
                                                                                << outcome.output << outcome.errors;
    }
};

TEST_F(DoctorTest, FindsEverythingInOrder) {
    const TrustedAuthority trusted;
    const std::string url = HttpsUrl();
    ASSERT_EQ(Login(url).exitCode, 0u);
    const Outcome outcome = Run({L"doctor"});
    EXPECT_EQ(outcome.exitCode, 0u) << outcome.errors;
    ExpectLine("ok      proxy       none", outcome);
    ExpectLine("ok      name        " + url + " is found\n", outcome);
    ExpectLine("ok      port        " + url + " answers\n", outcome);
    ExpectLine("ok      certificate trusted, for this name and until 20", outcome);
    ExpectLine("ok      endpoints   offers API 1.", outcome);
    ExpectLine("ok      mode        devices log in without a token\n", outcome);
    ExpectLine("ok      version     ", outcome);
    ExpectLine("ok      clock       ", outcome);
    ExpectLine("ok      session     the server accepts the session of anna\n", outcome);
}

TEST_F(DoctorTest, WarnsOfAConnectionThatIsNotEncrypted) {
    const Outcome outcome = Doctor(HttpUrl());
    EXPECT_EQ(outcome.exitCode, 0u);
    ExpectLine("warning certificate none: ", outcome);
    ExpectLine("-       session     nobody is logged in to this server", outcome);
}

TEST_F(DoctorTest, TellsANameThatNobodyHas) {
    const Outcome outcome = Doctor("http://nobody.invalid:8080");
    EXPECT_EQ(outcome.exitCode, 3u);
    ExpectLine("FAILED  name        ", outcome);
}

TEST_F(DoctorTest, TellsAPortThatNobodyListensAt) {
    const Outcome outcome = Doctor("http://localhost:1");
    EXPECT_EQ(outcome.exitCode, 3u);
    ExpectLine("ok      name        ", outcome);
    ExpectLine("FAILED  port        ", outcome);
}

TEST_F(DoctorTest, TellsACertificateWhoseAuthorityIsNotTrusted) {
    const Outcome outcome = Doctor(HttpsUrl());
    EXPECT_EQ(outcome.exitCode, 3u);
    ExpectLine("ok      port        ", outcome);
    ExpectLine("FAILED  certificate ", outcome);
}

}  // namespace
}  // namespace quillmark::test
