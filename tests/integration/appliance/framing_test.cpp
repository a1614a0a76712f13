// Where one request ends and the next begins, byte by byte: bodies that are shorter than announced, boundaries that
// arrive in pieces, bodies that lie.
#include "integration/appliance/ApplianceTest.h"

#include <filesystem>

namespace appliance_test {

class Framing : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    // Sends one request on a connection of its own, ends the sending side, and expects a refusal that stores nothing
    // and ends the connection.
    void ExpectRefused(const std::string& request, const std::string& errorId = "1020") {
        RawConnection connection(Server().HttpPort());
        connection.Send(request);
        connection.EndSending();
        const RawReply reply = connection.ReadReply();
        EXPECT_EQ(reply.status, 400) << reply.body;
        EXPECT_TRUE(reply.Says("\"errorId\":\"" + errorId + "\"")) << reply.body;
        EXPECT_TRUE(reply.Says("\r\nConnection: close\r\n")) << reply.head;
        EXPECT_EQ(connection.ReadAll(), "");
        EXPECT_EQ(StatusOf("/f"), 404);
        EXPECT_TRUE(std::filesystem::is_empty(Server().DataFolder() + "/contents"));
    }
};

TEST_F(Framing, AnswersAtTheClosingBoundaryWithNothingTwoOrThreeBytesOwed) {
    for (const std::size_t owed : {0U, 2U, 3U}) {
        RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", owed)));
        const RawReply reply = connection.ReadReply();
        EXPECT_EQ(reply.status, 200) << owed << reply.body;
        EXPECT_TRUE(reply.Says("\r\nConnection: keep-alive\r\n")) << owed;
    }
    EXPECT_EQ(Download("/f").body, "hello");
}

TEST_F(Framing, RefusesAnyOtherDebt) {
    for (const std::size_t owed : {1U, 4U, 5U, 1000U}) {
        ExpectRefused(UploadRequest("/f", "hello", owed));
    }
}

TEST_F(Framing, RefusesADebtOfFourWithoutWaitingForIt) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", 4)));
    EXPECT_EQ(connection.ReadReply().status, 400);
    EXPECT_EQ(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
}

TEST_F(Framing, TakesTheNextRequestWhetherOrNotTheDebtIsPaid) {
    for (const std::size_t owed : {0U, 2U, 3U}) {
        const std::string payments[] = {"", std::string("\r\n\r").substr(0, owed),
                                        std::string("\n\n\n").substr(0, owed),
                                        std::string("\r").substr(0, owed > 0 ? 1 : 0)};
        for (const std::string& payment : payments) {
            RawConnection connection(Server().HttpPort());
            ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", owed)));
            ASSERT_EQ(connection.ReadReply().status, 200);
            ASSERT_TRUE(connection.Send(payment + GetRequest("/f")));
            EXPECT_TRUE(connection.ReadReply().Says("\"size\":5")) << owed << payment.size();
            ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", 0)));
            EXPECT_EQ(connection.ReadReply().status, 200);
        }
    }
}

TEST_F(Framing, TakesPipelinedRequestsBehindAPaidDebtInOneGo) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("/f", "one", 3) + "\r\n\r" + GetRequest("/f") +
                                UploadRequest("/f", "four", 2) + GetRequest("/f") + UploadRequest("/f", "sixsix", 2) +
                                "\r\n" + GetRequest("/f")));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_TRUE(connection.ReadReply().Says("\"size\":3"));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_TRUE(connection.ReadReply().Says("\"size\":4"));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_TRUE(connection.ReadReply().Says("\"size\":6"));
}

TEST_F(Framing, SkipsNoMoreLineBreaksThanAreOwed) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", 2)));
    ASSERT_EQ(connection.ReadReply().status, 200);
    ASSERT_TRUE(connection.Send("\r\n\r\n" + GetRequest("/f")));
    EXPECT_EQ(connection.ReadReply().status, 400);
    RawConnection fresh(Server().HttpPort());
    ASSERT_TRUE(fresh.Send("\r\n" + GetRequest("/f")));
    EXPECT_EQ(fresh.ReadReply().status, 400);
}

TEST_F(Framing, ForgetsTheDebtWithTheNextRequest) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("/f", "hello", 3) + GetRequest("/f")));
    ASSERT_EQ(connection.ReadReply().status, 200);
    ASSERT_EQ(connection.ReadReply().status, 200);
    ASSERT_TRUE(connection.Send("\r\n" + GetRequest("/f")));
    EXPECT_EQ(connection.ReadReply().status, 400);
}

TEST_F(Framing, FindsBoundariesThatArriveByteByByte) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.SendByteByByte(UploadRequest("/f", "line\r\n--QM_MARK--{ \r\n--", 3)));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_EQ(Download("/f").body, "line\r\n--QM_MARK--{ \r\n--");
}

TEST_F(Framing, FindsBoundariesThatAreSplitAnywhere) {
    const std::string request = UploadRequest("/f", "hello", 3);
    const std::size_t head = request.find("\r\n\r\n") + 4;
    RawConnection connection(Server().HttpPort());
    for (std::size_t split = head; split < request.size(); split += 3) {
        ASSERT_TRUE(connection.Send(request.substr(0, split)));
        ASSERT_FALSE(connection.WaitForBytes(std::chrono::milliseconds(1))) << split;
        ASSERT_TRUE(connection.Send(request.substr(split)));
        ASSERT_EQ(connection.ReadReply().status, 200) << split;
    }
}

TEST_F(Framing, TakesBoundaryTextInTheMiddleOfContentForContent) {
    const std::string line = std::string("\r\n--") + Boundary;
    const std::string content = line + "X" + line + " --" + line + "-" + line + "\r" + line;
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("/f", content + "!", 2)));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_EQ(Download("/f").body, content + "!");
}

TEST_F(Framing, TakesBoundaryTextAcrossTheBufferForContent) {
    const std::string line = std::string("\r\n--") + Boundary + "x";
    std::string content;
    while (content.size() < 1'000'000) {
        content += line;
    }
    ASSERT_EQ(Upload("/f", content).status, 200);
    EXPECT_TRUE(Download("/f").body == content);
}

// The server reads 256 KiB at a time when they are there, and keeps back what may be the beginning of a boundary. The
// second block then ends at a place that can be told, if all of the request waits in the socket: a request before it is
// delayed.
TEST_F(Framing, FindsABoundaryThatFillsTheBufferToItsLastByte) {
    constexpr std::size_t buffer = 262'144;
    const std::size_t delimiter = std::string("\r\n--").size() + std::string(Boundary).size();
    const std::size_t around = UploadRequest("/f", std::string(buffer, 'x'), 0).size() - buffer;
    const std::size_t fitting = 2 * buffer - (delimiter - 1) + std::string("--\r\n").size();
    AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/"}, {"kind", "delay"}, {"ms", 100}, {"count", 7}});
    RawConnection connection(Server().HttpPort());
    // Makes the system give the connection large buffers.
    ASSERT_TRUE(connection.Send(UploadRequest("/f", std::string(50'000'000, 'x'), 0)));
    ASSERT_EQ(connection.ReadReply().status, 200);
    for (std::size_t length = fitting - 3; length <= fitting + 3; ++length) {
        ASSERT_TRUE(connection.Send(GetRequest("/")));
        ASSERT_TRUE(connection.Send(UploadRequest("/f", std::string(length - around, 'x'), 0)));
        ASSERT_EQ(connection.ReadReply().status, 200);
        ASSERT_EQ(connection.ReadReply().status, 200) << length;
    }
}

TEST_F(Framing, TakesAWholeFileWhoseBytesAreLineBreaks) {
    for (const std::string& content : {std::string(700'000, '\r'), std::string(700'000, '-')}) {
        ASSERT_EQ(Upload("/f", content).status, 200);
        EXPECT_TRUE(Download("/f").body == content);
    }
}

TEST_F(Framing, RefusesABodyThatEndsEarly) {
    const std::string whole = UploadRequest("/f", "hello", 3);
    const std::size_t head = whole.find("\r\n\r\n") + 4;
    for (std::size_t length = head; length + 1 < whole.size(); length += 7) {
        ExpectRefused(whole.substr(0, length));
    }
}

TEST_F(Framing, RefusesABodyThatGoesOnPastItsAnnouncedLength) {
    const std::string body = UploadBody("hello", "5");
    for (const std::size_t missing : {1U, 2U, 3U, 50U, 100U}) {
        ExpectRefused(MultipartRequest("/f", body, body.size() - missing));
    }
}

TEST_F(Framing, RefusesAFileThatIsShorterOrLongerThanItsSize) {
    for (const std::string size : {"4", "6", "0"}) {
        const std::string body = UploadBody("hello", size);
        ExpectRefused(MultipartRequest("/f", body, body.size() + 3));
    }
}

TEST_F(Framing, RefusesBodiesThatAreNoMultipart) {
    const std::string start = std::string("--") + Boundary;
    for (const std::string& body :
         {std::string("x") + start + "--\r\n", start + "\r\n\r\nno head\r\n" + start + "--\r\n",
          start + "x\r\n" + start + "--\r\n",
          start + "\r\nContent-Disposition: form-data\r\n\r\nx\r\n" + start + "--\r\n", start + "--xx",
          std::string("--QM_MARK"), start + "\r\nA: " + std::string(100'000, 'a') + "\r\n\r\n"}) {
        ExpectRefused(MultipartRequest("/f", body, body.size()));
    }
}

TEST_F(Framing, KeepsTheConnectionAfterARefusedUploadWhateverTheDebt) {
    for (const std::size_t owed : {0U, 2U, 3U}) {
        RawConnection connection(Server().HttpPort());
        for (int i = 0; i < 3; ++i) {
            ASSERT_TRUE(connection.Send(UploadRequest("/nowhere/f", std::string(100'000, 'x'), owed)));
            const RawReply reply = connection.ReadReply();
            EXPECT_EQ(reply.status, 404);
            EXPECT_TRUE(reply.Says("\r\nConnection: keep-alive\r\n")) << reply.head;
        }
        ASSERT_TRUE(connection.Send(GetRequest("/")));
        EXPECT_EQ(connection.ReadReply().status, 200);
    }
}

TEST_F(Framing, AnswersALargeRefusedUploadBeforeItsEndAndStillGetsTheReplyThrough) {
    RawConnection connection(Server().HttpPort());
    const std::string request = UploadRequest("/nowhere/f", std::string(50'000'000, 'x'), 3);
    ASSERT_TRUE(connection.Send(request.substr(0, 1'000'000)));
    const RawReply reply = connection.ReadReply();
    EXPECT_EQ(reply.status, 404);
    EXPECT_TRUE(reply.Says("\r\nConnection: close\r\n"));
    // What is still under way must not turn into a reset.
    EXPECT_TRUE(connection.Send(request.substr(1'000'000, 20'000'000)));
    connection.EndSending();
    EXPECT_EQ(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
}

TEST_F(Framing, NeedsAContentLength) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(
        "POST /api/1.7/folders/f HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\nCookie: session_token=" +
        Token() + "\r\nContent-Type: multipart/form-data; boundary=b\r\n\r\n5\r\nhello\r\n0\r\n\r\n"));
    const RawReply reply = connection.ReadReply();
    EXPECT_EQ(reply.status, 411);
    EXPECT_TRUE(reply.Says("\"errorId\":\"1022\""));
}

TEST_F(Framing, NeedsABoundary) {
    const CurlResult result = Curl({"-H", "Content-Type: multipart/form-data", "-d", "x", Url("/folders/f")});
    EXPECT_EQ(result.status, 415);
    EXPECT_EQ(result.Json()["errorId"], "1024");
}

TEST_F(Framing, BoundsFormsAndFields) {
    WriteFile(Server().Scratch("form"), "name=" + std::string(200'000, 'a') + "&operation=create");
    EXPECT_EQ(Curl({"-d", "@" + Server().Scratch("form"), Url("/folders/")}).status, 413);
    WriteFile(Server().Scratch("field"), std::string(70'000, 'a'));
    const CurlResult field = Curl({"-F", "operation=<" + Server().Scratch("field"), Url("/folders/f")});
    EXPECT_EQ(field.status, 413);
    EXPECT_EQ(field.Json()["errorId"], "1021");
}

}  // namespace appliance_test
