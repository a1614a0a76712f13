#include "account/Doctor.h"

#include <gtest/gtest.h>

#include "Texts.h"
#include "account/Probe.h"

namespace quillmark::cli {
namespace {

using Names = std::vector<std::string>;

TEST(MemberNamesTest, FindsTheVersionsThatAServerOffers) {
    const std::string list = R"({"qm": {"sync": {"1.0": {"path": "/api/1.0", "tos": 0}, "1.7": {"path": "/{\"x\":"}},)"
                             R"( "audit": {}}})";
    EXPECT_EQ(MemberNames(list, "sync"), (Names{"1.0", "1.7"}));
    EXPECT_EQ(MemberNames(list, "audit"), Names());
    EXPECT_EQ(MemberNames(list, "none"), Names());
}

TEST(MemberNamesTest, FindsNothingInWhatIsBroken) {
    for (const std::string text :
         {"", "<html>", R"({"sync": 5})", R"({"sync": {"1.0": {)", R"("sync")", R"("sync":)", R"({"sync": {"1.0)"}) {
        EXPECT_EQ(MemberNames(text, "sync"), Names()) << text;
    }
}

TEST(DoctorTest, TellsNamePortAndCertificateApart) {
    const std::string server = "https://files.example.com";
    EXPECT_EQ(NameFinding(server, 12007, false).exit, ExitCode::CannotConnect);
    EXPECT_EQ(NameFinding(server, 12029, false).health, Health::Good);
    EXPECT_EQ(PortFinding(server, 12029, false, false).exit, ExitCode::CannotConnect);
    EXPECT_EQ(PortFinding(server, 12002, false, false).health, Health::Bad);
    EXPECT_EQ(PortFinding(server, 12002, true, false).health, Health::Good) << "a later request";
    EXPECT_EQ(PortFinding(server, 12175, false, false).health, Health::Good);
    for (const DWORD error : {12037u, 12038u, 12045u, 12057u, 12157u, 12169u, 12170u, 12175u, 12179u}) {
        const Finding finding = CertificateFinding(server, error, false);
        EXPECT_EQ(finding.health, Health::Bad) << error;
        EXPECT_EQ(finding.exit, ExitCode::CannotConnect) << error;
        EXPECT_NE(finding.nextStep.find("--ca"), std::string::npos);
    }
    EXPECT_EQ(CertificateFinding(server, 12030, false).health, Health::NotChecked);
    EXPECT_EQ(CertificateFinding(server, 0, true).health, Health::Good);
    EXPECT_EQ(CertificateFinding("http://files.example.com", 0, true).health, Health::Doubtful);
}

TEST(DoctorTest, WarnsOfACertificateThatEndsInLessThanTwoWeeks) {
    const auto at = [](const char* text) { return ParseTime(text).value(); };
    const CAttributeTime end = at("2027-03-15T12:00:00Z");
    const Finding good = ValidityFinding(end, at("2027-03-01T12:00:00Z"));
    EXPECT_EQ(good.health, Health::Good);
    EXPECT_EQ(good.text, "trusted, for this name and until 2027-03-15");
    const Finding soon = ValidityFinding(end, at("2027-03-01T12:00:01Z"));
    EXPECT_EQ(soon.health, Health::Doubtful);
    EXPECT_EQ(soon.text, "trusted, for this name, but only until 2027-03-15, 13 days from now");
    EXPECT_EQ(soon.nextStep, "Have it renewed before that day: afterwards nobody can connect.");
    EXPECT_EQ(ValidityFinding(end, at("2027-03-14T00:00:00Z")).text,
              "trusted, for this name, but only until 2027-03-15, 1 day from now");
    EXPECT_EQ(ValidityFinding(end, at("2027-03-16T00:00:00Z")).text,
              "trusted, for this name, but only until 2027-03-15, 0 days from now")
        << "it ended after the handshake";
}

TEST(DoctorTest, WarnsOfAClockThatIsMoreThanFiveMinutesOff) {
    EXPECT_EQ(ClockFinding(std::nullopt).health, Health::NotChecked);
    EXPECT_EQ(ClockFinding(1).text, "the server's and this computer's agree");
    EXPECT_EQ(ClockFinding(300).text, "the server's is 300 seconds ahead");
    EXPECT_EQ(ClockFinding(300).health, Health::Good);
    EXPECT_EQ(ClockFinding(-301).text, "the server's is 301 seconds behind");
    EXPECT_EQ(ClockFinding(-301).health, Health::Doubtful);
}

TEST(DoctorTest, NamesTheProxyWhereOneIsInUse) {
    EXPECT_NE(NameFinding("https://x", 12007, true).nextStep.find("proxy"), std::string::npos);
    EXPECT_NE(PortFinding("https://x", 12029, false, true).nextStep.find("proxy"), std::string::npos);
}

}  // namespace
}  // namespace quillmark::cli
