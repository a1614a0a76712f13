// Faults that act on the bytes of an exchange: stalls, trickles, cuts, wrong lengths, damage.
#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* FilePath = "/api/1.7/folders/f";

class ByteFaults : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
        ASSERT_EQ(Upload("/f", "0123456789").status, 200);
    }

    void AddFault(const std::string& method, json rule) {
        rule["method"] = method;
        rule["path"] = FilePath;
        AddFaults(json::array({rule}));
    }
    void ExpectAllUsed() { EXPECT_EQ(FaultReport()["unused"], 0); }

    [[nodiscard]] std::string DownloadRequest() {
        std::string request = GetRequest("/f");
        return request.replace(request.find("application/json"), 16, "application/octet-stream");
    }
    // What comes of a download on a connection of its own, up to its end.
    struct Broken {
        std::string bytes;
        RawEnd end;
    };
    Broken DownloadBroken() {
        RawConnection connection(Server().HttpPort());
        connection.Send(DownloadRequest());
        Broken broken;
        broken.bytes = connection.ReadAll();
        broken.end = connection.WaitForEnd(seconds(20));
        return broken;
    }
};

TEST_F(ByteFaults, EndTheStreamBeforeTheHead) {
    AddFault("GET", {{"kind", "end"}, {"at", "before-head"}});
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(DownloadRequest()));
    EXPECT_EQ(connection.WaitForEnd(seconds(20)), RawEnd::EndOfStream);
    EXPECT_EQ(connection.ReadAll(), "");
    ExpectAllUsed();
    EXPECT_EQ(Download("/f").body, "0123456789");
}

TEST_F(ByteFaults, ResetBeforeTheHead) {
    AddFault("GET", {{"kind", "reset"}});
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(DownloadRequest()));
    EXPECT_EQ(connection.WaitForEnd(seconds(20)), RawEnd::Reset);
    ExpectAllUsed();
}

TEST_F(ByteFaults, CutInTheHead) {
    AddFault("GET", {{"kind", "end"}, {"at", "in-head"}, {"after", 12}});
    EXPECT_EQ(DownloadBroken().bytes, "HTTP/1.1 200");
    ExpectAllUsed();
}

TEST_F(ByteFaults, CutInTheBody) {
    AddFault("GET", {{"kind", "end"}, {"at", "in-body"}, {"after", 4}});
    const Broken broken = DownloadBroken();
    EXPECT_NE(broken.bytes.find("Content-Length: 10\r\n"), std::string::npos);
    EXPECT_EQ(broken.bytes.substr(broken.bytes.find("\r\n\r\n") + 4), "0123");
    EXPECT_EQ(broken.end, RawEnd::EndOfStream);
    ExpectAllUsed();
}

TEST_F(ByteFaults, ResetInTheBody) {
    AddFault("GET", {{"kind", "reset"}, {"at", "in-body"}, {"after", 4}});
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(DownloadRequest()));
    EXPECT_EQ(connection.WaitForEnd(seconds(20)), RawEnd::Reset);
    ExpectAllUsed();
}

TEST_F(ByteFaults, CutAfterTheWorkIsDone) {
    for (const std::string kind : {"end", "reset"}) {
        const auto before = Curl({Url("/folders/f")}).Json()["revision"];
        AddFault("POST", {{"kind", kind}, {"at", "after-work"}});
        RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(UploadRequest("/f", "done by " + kind, 3)));
        EXPECT_EQ(connection.WaitForEnd(seconds(20)), kind == "end" ? RawEnd::EndOfStream : RawEnd::Reset);
        EXPECT_EQ(connection.ReadAll(), "");
        EXPECT_EQ(Download("/f").body, "done by " + kind);
        EXPECT_NE(Curl({Url("/folders/f")}).Json()["revision"], before);
    }
    ExpectAllUsed();
}

TEST_F(ByteFaults, CutInTheRequestStoresNothing) {
    for (const std::string kind : {"end", "reset"}) {
        AddFault("POST", {{"kind", kind}, {"at", "in-request"}, {"after", 300'000}});
        RawConnection connection(Server().HttpPort());
        connection.Send(UploadRequest("/f", std::string(2'000'000, 'x'), 3));
        EXPECT_NE(connection.WaitForEnd(seconds(20)), RawEnd::StillOpen);
        EXPECT_EQ(Download("/f").body, "0123456789");
    }
    ExpectAllUsed();
}

TEST_F(ByteFaults, StallTheAnswer) {
    AddFault("GET", {{"kind", "stall"}, {"after", 20}});
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(DownloadRequest()));
    ASSERT_TRUE(connection.WaitForBytes(seconds(20)));
    EXPECT_EQ(connection.WaitForEnd(milliseconds(200)), RawEnd::StillOpen);
    ExpectAllUsed();
}

TEST_F(ByteFaults, StallTheAnswerForAWhile) {
    AddFault("GET", {{"kind", "stall"}, {"after", 20}, {"ms", 300}});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Download("/f").body, "0123456789");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(300));
    ExpectAllUsed();
}

TEST_F(ByteFaults, StallTheRequestForAWhile) {
    AddFault("POST", {{"kind", "stall"}, {"direction", "request"}, {"after", 300'000}, {"ms", 300}});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Upload("/f", std::string(2'000'000, 'x')).status, 200);
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(300));
    ExpectAllUsed();
}

TEST_F(ByteFaults, StallTheRequestUntilTheClientsBuffersAreFull) {
    AddFault("POST", {{"kind", "stall"}, {"direction", "request"}, {"after", 0}});
    constexpr int timedOut = 28;
    WriteFile(Server().Scratch("big"), std::string(50'000'000, 'x'));
    EXPECT_EQ(Curl({"-H", "Expect:", "--max-time", "1", "-F", "operation=create", "-F", "size=50000000", "-F",
                    "file=@" + Server().Scratch("big"), Url("/folders/f")})
                  .exitCode,
              timedOut);
}

TEST_F(ByteFaults, TrickleTheAnswer) {
    AddFault("GET", {{"kind", "trickle"}});
    EXPECT_EQ(Download("/f").body, "0123456789");
    ExpectAllUsed();
}

TEST_F(ByteFaults, TrickleTheRequest) {
    AddFault("POST", {{"kind", "trickle"}, {"direction", "request"}});
    EXPECT_EQ(Upload("/f", std::string(5'000, 'x')).status, 200);
    EXPECT_EQ(Download("/f").body, std::string(5'000, 'x'));
    ExpectAllUsed();
}

TEST_F(ByteFaults, AnnounceTooMuch) {
    AddFault("GET", {{"kind", "length"}, {"by", 5}});
    const Broken broken = DownloadBroken();
    EXPECT_NE(broken.bytes.find("Content-Length: 15\r\n"), std::string::npos);
    EXPECT_EQ(broken.bytes.substr(broken.bytes.find("\r\n\r\n") + 4), "0123456789");
    ExpectAllUsed();
}

TEST_F(ByteFaults, AnnounceTooLittle) {
    AddFault("GET", {{"kind", "length"}, {"by", -4}});
    EXPECT_EQ(Download("/f").body, "012345");
    AddFault("GET", {{"kind", "length"}, {"by", -4}});
    const Broken broken = DownloadBroken();
    EXPECT_NE(broken.bytes.find("Content-Length: 6\r\n"), std::string::npos);
    EXPECT_EQ(broken.bytes.substr(broken.bytes.find("\r\n\r\n") + 4), "0123456789");
    ExpectAllUsed();
}

TEST_F(ByteFaults, DamageOneByteOfAFileOrADocument) {
    AddFault("GET", {{"kind", "damage"}, {"offset", 3}});
    EXPECT_EQ(Download("/f").body,
              "012\xCC"
              "456789");
    AddFault("GET", {{"kind", "damage"}});
    EXPECT_EQ(Curl({Url("/folders/f")}).body[0], static_cast<char>(~'{'));
    ExpectAllUsed();
}

TEST_F(ByteFaults, ActOverTlsToo) {
    AddFault("GET", {{"kind", "end"}, {"at", "in-body"}, {"after", 4}});
    constexpr int partialFile = 18;
    const CurlResult cut = Curl(
        {"--cacert", Server().AuthorityFile(), "-H", "Accept: application/octet-stream", Server().Https() + FilePath});
    EXPECT_TRUE(cut.exitCode == partialFile || cut.exitCode == 56) << cut.exitCode << cut.errors;
    EXPECT_EQ(cut.body, "0123");
    AddFault("GET", {{"kind", "trickle"}});
    EXPECT_EQ(Curl({"--cacert", Server().AuthorityFile(), "-H", "Accept: application/octet-stream",
                    Server().Https() + FilePath})
                  .body,
              "0123456789");
    ExpectAllUsed();
}

}  // namespace appliance_test
