// Fault rules themselves, and faults that act on answers and on the server's state.
#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

using nlohmann::json;
using std::chrono::milliseconds;

class FaultRules : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    static json Rule(const std::string& method, const std::string& path, const std::string& kind) {
        return {{"method", method}, {"path", "/api/1.7" + path}, {"kind", kind}};
    }
    static json Rule(const std::string& method, const std::string& path, const std::string& kind,
                     const json& arguments) {
        json rule = Rule(method, path, kind);
        rule.update(arguments);
        return rule;
    }
};

TEST_F(FaultRules, AnswerWithAnyStatusBodyAndHeaders) {
    AddFaults({Rule("GET", "/version", "reply",
                    {{"status", 503}, {"body", "later"}, {"content_type", "text/plain"}, {"retry_after", 7}}),
               Rule("GET", "/version", "reply",
                    {{"status", 418}, {"body", {{"errorId", "17"}}}, {"headers", {{"X-A", "b"}}}}),
               Rule("GET", "/version", "reply", {{"status", 204}})});
    const CurlResult first = RunCurl({Url("/version")});
    EXPECT_EQ(first.status, 503);
    EXPECT_EQ(first.body, "later");
    EXPECT_NE(first.headers.find("Retry-After: 7\r\nContent-Type: text/plain\r\n"), std::string::npos);
    const CurlResult second = RunCurl({Url("/version")});
    EXPECT_EQ(second.status, 418);
    EXPECT_EQ(second.body, R"({"errorId":"17"})");
    EXPECT_NE(second.headers.find("X-A: b\r\n"), std::string::npos);
    EXPECT_EQ(second.headers.find("Retry-After"), std::string::npos);
    const CurlResult third = RunCurl({Url("/version")});
    EXPECT_EQ(third.status, 204);
    EXPECT_EQ(third.headers.find("Content-Length"), std::string::npos);
    EXPECT_EQ(RunCurl({Url("/version")}).status, 200);
}

TEST_F(FaultRules, AreUsedOnceEachAndTellWhich) {
    AddFaults({Rule("GET", "/version", "reply", {{"status", 500}, {"count", 2}}),
               Rule("GET", "/init", "reply", {{"status", 500}})});
    EXPECT_EQ(RunCurl({Url("/version")}).status, 500);
    EXPECT_EQ(FaultReport()["unused"], 2);
    EXPECT_EQ(RunCurl({Url("/version")}).status, 500);
    EXPECT_EQ(RunCurl({Url("/version")}).status, 200);
    const json report = FaultReport();
    EXPECT_EQ(report["unused"], 1);
    EXPECT_EQ(report["faults"][0]["used"], true);
    EXPECT_EQ(report["faults"][1]["used"], true);
    EXPECT_EQ(report["faults"][2]["used"], false);
    EXPECT_EQ(report["faults"][2]["rule"]["path"], "/api/1.7/init");
    EXPECT_EQ(RunCurl({"-X", "DELETE", Server().Http() + "/control/faults"}).status, 200);
    EXPECT_EQ(FaultReport(), json::parse(R"({"faults":[],"unused":0})"));
    EXPECT_EQ(RunCurl({Url("/init")}).status, 200);
}

TEST_F(FaultRules, MeetTheirMethodAndTheirDecodedPathOnly) {
    AddFaults({Rule("GET", "/folders/a b", "reply", {{"status", 500}}),
               Rule("GET", "/folders/x", "reply", {{"status", 501}, {"match", "prefix"}})});
    EXPECT_EQ(Curl({"-X", "PUT", Url("/folders/a%20b")}).status, 405);
    EXPECT_EQ(Curl({Url("/folders/a%20b/c")}).status, 404);
    EXPECT_EQ(Curl({Url("/folders/a%20b?type=all")}).status, 500);
    EXPECT_EQ(Curl({Url("/folders/w/x")}).status, 404);
    EXPECT_EQ(Curl({Url("/folders/xyz/1")}).status, 501);
    EXPECT_EQ(FaultReport()["unused"], 0);
}

TEST_F(FaultRules, ThatAreWrongAreRefusedAllTogether) {
    const json good = Rule("GET", "/version", "reply", {{"status", 500}});
    for (const json& bad : std::vector<json>{
             json("text"), json{{"method", "GET"}}, Rule("GET", "/version", "nonsense"),
             Rule("GET", "/version", "reply"), Rule("GET", "/version", "reply", {{"status", 99}}),
             Rule("GET", "/version", "reply", {{"status", "500"}}), Rule("GET", "/version", "delay", {{"ms", -1}}),
             Rule("GET", "/version", "delay", {{"when", "never"}}), Rule("GET", "/version", "end", {{"at", "nowhere"}}),
             Rule("GET", "/version", "stall", {{"direction", "up"}}),
             Rule("GET", "/version", "damage", {{"offset", 1.5}}),
             Rule("GET", "/version", "reply", {{"status", 500}, {"count", -1}}),
             Rule("GET", "/version", "reply", {{"status", 500}, {"match", "regex"}})}) {
        const CurlResult result = RunCurl({"-d", json::array({good, bad}).dump(), Server().Http() + "/control/faults"});
        EXPECT_EQ(result.status, 400) << bad;
        EXPECT_EQ(result.Json()["errorId"], "1001") << bad;
    }
    EXPECT_EQ(RunCurl({"-d", "not json", Server().Http() + "/control/faults"}).status, 400);
    EXPECT_EQ(FaultReport()["faults"], json::array());
}

TEST_F(FaultRules, DelayTheWorkOrTheAnswer) {
    MakeFolder("docs");
    for (const std::string when : {"before", "after"}) {
        AddFaults(Rule("GET", "/folders/docs", "delay", {{"ms", 200}, {"when", when}}));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Curl({Url("/folders/docs")}).status, 200);
        EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(200)) << when;
    }
    EXPECT_EQ(FaultReport()["unused"], 0);
}

TEST_F(FaultRules, DelayTheAnswerButNotTheWork) {
    AddFaults(Rule("POST", "/folders/f", "delay", {{"ms", 600'000}, {"when", "after"}}));
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", 3)));
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (StatusOf("/f") != 200 && std::chrono::steady_clock::now() < until) {
    }
    EXPECT_EQ(Download("/f").body, "hello");
    EXPECT_FALSE(connection.WaitForBytes(milliseconds(0)));
}

TEST_F(FaultRules, AnswerSuccessWithAnErrorDocument) {
    AddFaults({Rule("GET", "/version", "error-document"),
               Rule("GET", "/version", "error-document", {{"error_id", 17}, {"severity", 2}})});
    const CurlResult first = RunCurl({Url("/version")});
    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(first.body, R"({"errorId":"1500","severity":"3"})");
    EXPECT_EQ(RunCurl({Url("/version")}).body, R"({"errorId":"17","severity":"2"})");
}

TEST_F(FaultRules, AnswerEarlyWhileTheBodyIsStillUnderWay) {
    AddFaults(Rule("POST", "/folders/f", "reply", {{"status", 401}, {"body", {{"errorId", "6"}}}, {"early", true}}));
    RawConnection connection(Server().HttpPort());
    const std::string request = UploadRequest("/f", std::string(1'000'000, 'x'), 3);
    ASSERT_TRUE(connection.Send(request.substr(0, 2'000)));
    const RawReply reply = connection.ReadReply();
    EXPECT_EQ(reply.status, 401);
    EXPECT_TRUE(connection.Send(request.substr(2'000)));
    connection.EndSending();
    EXPECT_EQ(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
    EXPECT_EQ(StatusOf("/f"), 404);
}

TEST_F(FaultRules, RefuseAfterTheWholeBodyAndKeepTheConnection) {
    AddFaults(Rule("POST", "/folders/f", "reply", {{"status", 409}}));
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("/f", std::string(1'000'000, 'x'), 3)));
    EXPECT_EQ(connection.ReadReply().status, 409);
    ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", 3)));
    EXPECT_EQ(connection.ReadReply().status, 200);
}

TEST_F(FaultRules, ExpireTheToken) {
    AddFaults(Rule("GET", "/folders/", "expire-token"));
    const CurlResult result = Curl({Url("/folders/")});
    EXPECT_EQ(result.status, 401);
    EXPECT_EQ(result.Json()["errorId"], "6");
    EXPECT_EQ(StatusOf("/"), 401);
}

TEST_F(FaultRules, RotateTheTokenAndTellTheNewOne) {
    AddFaults(Rule("GET", "/folders/", "rotate-token"));
    EXPECT_EQ(StatusOf("/"), 401);
    const auto token = FaultReport()["faults"][0]["token"].get<std::string>();
    EXPECT_NE(token, Token());
    EXPECT_EQ(RunCurl({"-b", "session_token=" + token, Url("/folders/")}).status, 200);
}

TEST_F(FaultRules, MakeTheRevisionStale) {
    const auto revision = Upload("/f", "one").Json()["revision"].get<std::string>();
    AddFaults(Rule("POST", "/folders/f", "stale-revision"));
    const CurlResult result = Upload("/f", "two", {"-F", "revision=" + revision});
    EXPECT_EQ(result.status, 409);
    EXPECT_EQ(result.Json()["errorId"], "1077");
    EXPECT_NE(result.Json()["document_info"]["revision"], revision);
    EXPECT_EQ(Download("/f").body, "one");
}

TEST_F(FaultRules, HoldALock) {
    AddFaults(Rule("POST", "/folders/f", "held-lock"));
    const CurlResult result = Upload("/f", "one");
    EXPECT_EQ(result.status, 423);
    EXPECT_EQ(result.Json()["errorId"], "1030");
    EXPECT_EQ(StatusOf("/f"), 404);
}

TEST_F(FaultRules, RestartTheServerBeforeOrAfterTheWork) {
    ASSERT_EQ(Upload("/f", "one").status, 200);
    for (const std::string when : {"before", "after"}) {
        AddFaults(Rule("POST", "/folders/f", "restart", {{"ms", 50}, {"when", when}}));
        RawConnection idle(Server().HttpPort());
        RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(UploadRequest("/f", when, 3)));
        EXPECT_NE(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::StillOpen);
        EXPECT_NE(idle.WaitForEnd(std::chrono::seconds(20)), RawEnd::StillOpen);
        const CurlResult result = Curl({"--retry", "100", "--retry-connrefused", "--retry-delay", "1", "-H",
                                        "Accept: application/octet-stream", Url("/folders/f")});
        EXPECT_EQ(result.body, when == "before" ? "one" : "after");
        EXPECT_EQ(FaultReport()["unused"], 0);
    }
    EXPECT_EQ(Server().Stop(), 0);
}

}  // namespace appliance_test
