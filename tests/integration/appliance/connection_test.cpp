// Connections: kept, counted, bounded, and not to be had by strange clients.
#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

using nlohmann::json;

class Connections : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    void ResetStatistics() {
        ASSERT_EQ(RunCurl({"-X", "DELETE", Server().Http() + "/control/statistics"}).status, 200);
    }

    RawReply Ask(const std::string& request) {
        RawConnection connection(Server().HttpPort());
        connection.Send(request);
        return connection.ReadReply();
    }
};

TEST_F(Connections, CarryManyRequestsAndAreCounted) {
    ResetStatistics();
    std::vector<std::string> arguments{Url("/folders/")};
    for (int i = 0; i < 49; ++i) {
        arguments.insert(arguments.end(), {"--next", "-b", "session_token=" + Token(), Url("/folders/")});
    }
    const CurlResult result = Curl(arguments);
    EXPECT_EQ(result.status, 200);
    EXPECT_EQ(result.connections, 1);
    const json statistics = Statistics();
    EXPECT_EQ(statistics["connections"], 1);
    EXPECT_EQ(statistics["requests_per_connection"], json::array({50}));
    EXPECT_EQ(statistics["requests"], json::array({{{"method", "GET"}, {"path", "/api/1.7/folders/"}, {"count", 50}}}));
    EXPECT_EQ(statistics["statuses"], json::object({{"200", 50}}));
}

TEST_F(Connections, AreKeptOverUploadsHalfOfWhichAreRefused) {
    const auto stale = Upload("/f", "one").Json()["revision"].get<std::string>();
    ResetStatistics();
    WriteFile(Server().Scratch("upload"), std::string(100'000, 'x'));
    std::vector<std::string> arguments;
    for (int i = 0; i < 20; ++i) {
        arguments.insert(arguments.end(),
                         {"-b", "session_token=" + Token(), "-F", "operation=create", "-F", "size=100000"});
        if (i % 2 == 1) {
            arguments.insert(arguments.end(), {"-F", "revision=" + stale});
        }
        arguments.insert(arguments.end(), {"-F", "file=@" + Server().Scratch("upload"), Url("/folders/f")});
        if (i < 19) {
            arguments.emplace_back("--next");
        }
    }
    EXPECT_EQ(RunCurl(arguments).connections, 1);
    EXPECT_EQ(Statistics()["statuses"], json::object({{"200", 10}, {"409", 10}}));
    EXPECT_EQ(Statistics()["connections"], 1);
}

TEST_F(Connections, AreCountedWithTheirBytes) {
    ResetStatistics();
    RawConnection connection(Server().HttpPort());
    const std::string request = GetRequest("/");
    ASSERT_TRUE(connection.Send(request));
    const RawReply reply = connection.ReadReply();
    ASSERT_TRUE(connection.Send(request));
    ASSERT_EQ(connection.ReadReply().status, 200);
    // The first exchange is booked before the second is answered.
    const json statistics = Statistics();
    EXPECT_GE(statistics["received"], request.size());
    EXPECT_GE(statistics["sent"], reply.head.size() + 2 + reply.body.size());
}

TEST_F(Connections, AreClosedWhenTheClientWantsThat) {
    RawConnection connection(Server().HttpPort());
    std::string request = GetRequest("/");
    request.insert(request.find("Cookie"), "Connection: close\r\n");
    ASSERT_TRUE(connection.Send(request));
    const RawReply reply = connection.ReadReply();
    EXPECT_EQ(reply.status, 200);
    EXPECT_TRUE(reply.Says("\r\nConnection: close\r\n"));
    EXPECT_EQ(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
}

TEST_F(Connections, AreClosedAfterOneRequestOfTheOldProtocol) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send("GET /endpoints HTTP/1.0\r\n\r\n"));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_EQ(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
}

TEST_F(Connections, AreClosedAfterAMethodWhoseRepliesHaveNoBody) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send("HEAD /endpoints HTTP/1.1\r\nHost: h\r\n\r\n"));
    EXPECT_EQ(connection.ReadReply().status, 405);
    EXPECT_EQ(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
}

TEST_F(Connections, AreClosedWhenNothingMovesOnThem) {
    StartServer({"--no-sync", "--idle-time", "1"});
    RawConnection silent(Server().HttpPort());
    RawConnection halfHead(Server().HttpPort());
    ASSERT_TRUE(halfHead.Send("GET /endpoints HT"));
    EXPECT_EQ(silent.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
    EXPECT_NE(halfHead.WaitForEnd(std::chrono::seconds(20)), RawEnd::StillOpen);
}

TEST_F(Connections, BeyondTheLimitAreClosedAtOnce) {
    StartServer({"--no-sync", "--max-connections", "2"});
    RawConnection first(Server().HttpPort());
    ASSERT_TRUE(first.Send("GET /endpoints HTTP/1.1\r\nHost: h\r\n\r\n"));
    ASSERT_EQ(first.ReadReply().status, 200);
    RawConnection second(Server().HttpPort());
    ASSERT_TRUE(second.Send("GET /endpoints HTTP/1.1\r\nHost: h\r\n\r\n"));
    ASSERT_EQ(second.ReadReply().status, 200);
    RawConnection third(Server().HttpPort());
    EXPECT_NE(third.WaitForEnd(std::chrono::seconds(20)), RawEnd::StillOpen);
    ASSERT_TRUE(first.Send("GET /endpoints HTTP/1.1\r\nHost: h\r\n\r\n"));
    EXPECT_EQ(first.ReadReply().status, 200);
}

TEST_F(Connections, RefuseWhatIsNoHttp) {
    for (const std::string request :
         {"hello\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n", "\r\nGET / HTTP/1.1\r\n\r\n",
          "GET / HTTP/1.1\r\nno colon\r\n\r\n", "GET / HTTP/1.1\r\nContent-Length: x\r\n\r\n",
          "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
          "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", "\x16\x03\x01\x02\r\n\r\n"}) {
        const RawReply reply = Ask(request);
        EXPECT_EQ(reply.status, 400) << request;
        EXPECT_TRUE(reply.Says("\"errorId\":\"1001\"")) << request;
    }
    EXPECT_EQ(StatusOf("/"), 200);
}

TEST_F(Connections, RefuseEndlessHeads) {
    RawConnection fields(Server().HttpPort());
    fields.Send("GET / HTTP/1.1\r\n");
    for (int i = 0; i < 1000 && fields.Send("X-Header: " + std::string(200, 'x') + "\r\n"); ++i) {
    }
    const RawReply reply = fields.ReadReply();
    EXPECT_EQ(reply.status, 431);
    EXPECT_TRUE(reply.Says("\"errorId\":\"1023\""));
    RawConnection line(Server().HttpPort());
    line.Send("GET /" + std::string(200'000, 'a'));
    EXPECT_EQ(line.ReadReply().status, 431);
    EXPECT_EQ(StatusOf("/"), 200);
}

TEST_F(Connections, TakeHeadsThatArriveByteByByte) {
    RawConnection connection(Server().HttpPort());
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(connection.SendByteByByte(GetRequest("/")));
        EXPECT_EQ(connection.ReadReply().status, 200);
    }
}

TEST_F(Connections, ThatVanishDoNotHarmTheServer) {
    const std::string upload = UploadRequest("/f", std::string(300'000, 'x'), 3);
    for (std::size_t length = 1; length < upload.size(); length += 20'011) {
        RawConnection connection(Server().HttpPort());
        connection.Send(upload.substr(0, length));
    }
    ASSERT_EQ(Upload("/big", std::string(8'000'000, 'x')).status, 200);
    for (int i = 0; i < 10; ++i) {
        RawConnection connection(Server().HttpPort());
        std::string request = GetRequest("/big");
        request.replace(request.find("application/json"), 16, "application/octet-stream");
        connection.Send(request);
        connection.WaitForBytes(std::chrono::seconds(20));
    }
    EXPECT_EQ(StatusOf("/"), 200);
    EXPECT_EQ(StatusOf("/f"), 404);
    EXPECT_EQ(Server().Stop(), 0);
    EXPECT_EQ(Server().ErrorText(), "");
}

}  // namespace appliance_test
