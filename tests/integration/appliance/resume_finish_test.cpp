// Resumable uploads at their end: revisions, completion, answers that were lost, cancelling, expiry, room.
#include "integration/appliance/ResumeTest.h"

namespace appliance_test {

using nlohmann::json;

class ResumableFinish : public ResumeTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    void SendFirstHalf(const std::vector<std::string>& headers = {}) const {
        const CurlResult result = Send({.fileSize = 11, .content = "hello", .headers = headers});
        ASSERT_EQ(result.status, 200) << result.body << result.errors;
    }
    [[nodiscard]] CurlResult SendSecondHalf(const std::vector<std::string>& headers = {}) const {
        return Send({.fileSize = 11, .offset = 5, .content = " world", .headers = headers});
    }
    // All bytes are there, the item is not: a change came between the first and the last chunk.
    void SendUnderARevisionThatGoesStale() const {
        const auto revision = Upload("/f", "one").Json()["revision"].get<std::string>();
        SendFirstHalf({"qm_revision: " + revision});
        const json current = Upload("/f", "two").Json();
        const CurlResult result = SendSecondHalf({"qm_revision: " + revision});
        ASSERT_EQ(result.status, 409) << result.body;
        ASSERT_EQ(result.Json()["errorId"], "1077");
        ASSERT_EQ(result.Json()["severity"], "1");
        ASSERT_EQ(result.Json()["document_info"], current);
        ASSERT_EQ(Received(), "11");
        ASSERT_EQ(Download("/f").body, "two");
    }
    static void ExpectRefusal(const CurlResult& result, int status, const char* errorId) {
        EXPECT_EQ(result.status, status) << result.body << result.errors;
        EXPECT_EQ(result.Json()["errorId"], errorId) << result.body;
    }
    // The server has no way to call us.
    [[nodiscard]] bool GoesWithin(std::chrono::seconds time) const {
        const auto end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end) {
            if (Received() == "error 1002") {
                return true;
            }
        }
        return false;
    }
};

TEST_F(ResumableFinish, ReplacesTheFileOfTheRevisionGiven) {
    const auto revision = Upload("/f", "one").Json()["revision"].get<std::string>();
    SendFirstHalf({"qm_revision: " + revision});
    EXPECT_EQ(Download("/f").body, "one");
    const CurlResult result = SendSecondHalf({"qm_revision: " + revision});
    ASSERT_EQ(result.status, 200) << result.body;
    EXPECT_NE(result.Json()["revision"], revision);
    EXPECT_EQ(Download("/f").body, "hello world");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableFinish, IsRefusedAtTheFirstChunkUnderAStaleRevision) {
    const auto stale = Upload("/f", "one").Json()["revision"].get<std::string>();
    const json current = Upload("/f", "two").Json();
    const CurlResult result = Send({.fileSize = 11, .content = "hello", .headers = {"qm_revision: " + stale}});
    ExpectRefusal(result, 409, "1077");
    EXPECT_EQ(result.Json()["document_info"], current);
    ExpectRefusal(Send({.fileSize = 11, .content = "hello", .headers = {"qm_revision: 7"}, .path = "/gone"}), 404,
                  "1002");
    ExpectRefusal(Ask(), 404, "1002");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableFinish, UnderAStaleRevisionKeepsTheBytesForAnotherPath) {
    SendUnderARevisionThatGoesStale();
    const CurlResult result = Complete("/f (conflict)");
    ASSERT_EQ(result.status, 200) << result.body;
    EXPECT_EQ(result.Json()["orca_path"], "/f (conflict)");
    EXPECT_EQ(Download("/f%20(conflict)").body, "hello world");
    EXPECT_EQ(Download("/f").body, "two");
    EXPECT_EQ(ContentFiles(), 2U);
}

TEST_F(ResumableFinish, UnderAStaleRevisionCanReplaceTheFileAfterAll) {
    SendUnderARevisionThatGoesStale();
    EXPECT_EQ(Complete("/f").Json()["orca_path"], "/f");
    EXPECT_EQ(Download("/f").body, "hello world");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableFinish, UnderAStaleRevisionCanBeTriedWithThePresentOneAndNoBytes) {
    SendUnderARevisionThatGoesStale();
    const auto current = Curl({Url("/folders/f")}).Json()["revision"].get<std::string>();
    ExpectRefusal(Send({.fileSize = 11, .offset = 11, .headers = {"qm_revision: 1"}}), 409, "1077");
    EXPECT_EQ(Send({.fileSize = 11, .offset = 11, .headers = {"qm_revision: " + current}}).status, 200);
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableFinish, WhereAFolderStandsByNowKeepsTheBytes) {
    SendFirstHalf();
    MakeFolder("f");
    ExpectRefusal(SendSecondHalf(), 409, "1004");
    EXPECT_EQ(Received(), "11");
    EXPECT_EQ(Complete("/f/inside").status, 200);
    EXPECT_EQ(Download("/f/inside").body, "hello world");
}

TEST_F(ResumableFinish, OfAFileThatAnotherDeviceHasLockedKeepsTheBytes) {
    ASSERT_EQ(Upload("/f", "old").status, 200);
    SendFirstHalf();
    const std::string other = RunCurl({"-d", "user_id=ann&password=secret&device_id=other", Url("/sessions")})
                                  .Json()["session_token"]
                                  .get<std::string>();
    ASSERT_EQ(RunCurl({"-b", "session_token=" + other, "-d", "timeout=600", Url("/locking/f")}).status, 200);
    ExpectRefusal(SendSecondHalf(), 423, "1030");
    EXPECT_EQ(Received(), "11");
    ExpectRefusal(Complete("/f"), 423, "1030");
    EXPECT_EQ(Download("/f").body, "old");
    ASSERT_EQ(RunCurl({"-b", "session_token=" + other, "-X", "DELETE", Url("/locking/f")}).status, 200);
    EXPECT_EQ(Send({.fileSize = 11, .offset = 11}).status, 200);
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableFinish, IsNotAnsweredWithAnItemThatIsGone) {
    SendFirstHalf();
    const auto revision = SendSecondHalf().Json()["revision"].get<std::string>();
    ASSERT_EQ(Curl({"-X", "DELETE", Url("/folders/f?revision=" + revision)}).status, 200);
    // An item that is made now may have the place of the old one in the server's tables.
    MakeFolder("f");
    ExpectRefusal(SendSecondHalf(), 404, "1002");
    ExpectRefusal(Complete("/g"), 404, "1002");
    EXPECT_EQ(StatusOf("/g"), 404);
}

TEST_F(ResumableFinish, TakesPlainPathsInAnyScript) {
    MakeFolder("папка");
    for (const std::string path : {"/папка/отчёт 文📄.txt", "/100% & a+b%41", "/é \"quoted\"; x=y"}) {
        SendFirstHalf();
        ASSERT_EQ(Send({.fileSize = 11, .offset = 5, .content = " world", .headers = {"qm_finish: false"}}).status,
                  200);
        const CurlResult result = Complete(path);
        EXPECT_EQ(result.status, 200) << result.body;
        EXPECT_EQ(result.Json()["orca_path"], path);
        ASSERT_EQ(Cancel().status, 200);
    }
    EXPECT_EQ(
        Download("/%D0%BF%D0%B0%D0%BF%D0%BA%D0%B0/%D0%BE%D1%82%D1%87%D1%91%D1%82%20%E6%96%87%F0%9F%93%84.txt").body,
        "hello world");
}

TEST_F(ResumableFinish, UnderAnotherPathNeedsAllBytesAndAFreePlace) {
    MakeFolder("docs");
    ASSERT_EQ(Upload("/taken", "other").status, 200);
    SendFirstHalf();
    ExpectRefusal(Complete("/g"), 409, "1202");
    ASSERT_EQ(Send({.fileSize = 11, .offset = 5, .content = " world", .headers = {"qm_finish: false"}}).status, 200);
    ExpectRefusal(Complete("/nowhere/g"), 404, "1002");
    ExpectRefusal(Complete("/taken/g"), 409, "1004");
    ExpectRefusal(Complete("/taken"), 409, "1003");
    ExpectRefusal(Complete("/docs"), 409, "1003");
    ExpectRefusal(Complete("/docs/.."), 400, "1001");
    ExpectRefusal(Complete("/\xFF"), 400, "1001");
    EXPECT_EQ(Received(), "11");
    EXPECT_EQ(Download("/taken").body, "other");
    EXPECT_EQ(Complete("/docs/g").status, 200);
    EXPECT_EQ(Download("/docs/g").body, "hello world");
}

TEST_F(ResumableFinish, UnderAnotherPathHasAnEmptyBodyAndNamesThePath) {
    SendFirstHalf();
    ExpectRefusal(Curl({"-H", "qm_finish: true", "-H", "qm_new_path: /g", "-F", "file=x", UploadUrl()}), 400, "1001");
    ExpectRefusal(Curl({"-H", "qm_finish: true", "-H", "qm_new_path: /g", "-d", "x", UploadUrl()}), 415, "1024");
    ExpectRefusal(Complete(""), 400, "1001");
    ExpectRefusal(Curl({"-H", "qm_new_path: /g", "-F", "file=x", UploadUrl()}), 400, "1001");
    EXPECT_EQ(Received(), "5");
}

TEST_F(ResumableFinish, UnderAnotherPathKeepsTheConnectionWithTwoBytesOwed) {
    ASSERT_EQ(Send({.fileSize = 2, .content = "hi", .headers = {"qm_finish: false"}}).status, 200);
    const std::string body = std::string("--") + Boundary + "--\r\n";
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(
        connection.Send("POST /api/1.7/resume/upload/f?resume_id=0F8FAD5B-D9CB-469F-A165-70867728950E HTTP/1.1\r\n"
                        "Host: localhost\r\nqm_finish: true\r\nqm_new_path: /g\r\nCookie: session_token=" +
                        Token() + "\r\nContent-Type: multipart/form-data; boundary=\"" + Boundary +
                        "\"\r\nContent-Length: " + std::to_string(body.size() + 2) + "\r\n\r\n" + body));
    EXPECT_EQ(connection.ReadReply().status, 200);
    ASSERT_TRUE(connection.Send(GetRequest("/g")));
    EXPECT_EQ(connection.ReadReply().status, 200);
}

TEST_F(ResumableFinish, IsAnsweredAgainWithoutStoringAgain) {
    SendFirstHalf();
    const json item = SendSecondHalf().Json();
    EXPECT_EQ(Received(), "11");
    EXPECT_EQ(SendSecondHalf().Json(), item);
    EXPECT_EQ(Send({.fileSize = 11, .offset = 11}).Json(), item);
    EXPECT_EQ(Complete("/f").Json(), item);
    EXPECT_EQ(Complete("/elsewhere").Json(), item);
    EXPECT_EQ(Curl({Url("/folders/f")}).Json(), item);
    EXPECT_EQ(StatusOf("/elsewhere"), 404);
    EXPECT_EQ(ContentFiles(), 1U);
    ExpectRefusal(Send({.fileSize = 11, .content = "hello"}), 409, "1202");
}

TEST_F(ResumableFinish, IsAnsweredAgainAfterAKill) {
    SendFirstHalf();
    const json item = SendSecondHalf().Json();
    Server().KillAndStartAgain();
    EXPECT_EQ(Received(), "11");
    EXPECT_EQ(SendSecondHalf().Json(), item);
}

TEST_F(ResumableFinish, IsAnsweredAgainWithTheItemWhereItStandsNow) {
    SendFirstHalf();
    ASSERT_EQ(SendSecondHalf().status, 200);
    ASSERT_EQ(Curl({"-d", "operation=update&name=renamed", Url("/folders/f")}).status, 200);
    EXPECT_EQ(SendSecondHalf().Json()["orca_path"], "/renamed");
    EXPECT_EQ(StatusOf("/f"), 404);
}

TEST_F(ResumableFinish, IsNotAnsweredWithAnotherContentThanWasSent) {
    SendFirstHalf();
    ASSERT_EQ(SendSecondHalf().status, 200);
    ASSERT_EQ(Upload("/f", "another one's").status, 200);
    ExpectRefusal(SendSecondHalf(), 404, "1002");
    ExpectRefusal(Complete("/f"), 404, "1002");
    EXPECT_EQ(Download("/f").body, "another one's");
}

TEST_F(ResumableFinish, CanBeCalledOff) {
    SendFirstHalf();
    const CurlResult result = Cancel();
    EXPECT_EQ(result.status, 200);
    EXPECT_EQ(result.body, "{}");
    EXPECT_EQ(ContentFiles(), 0U);
    ExpectRefusal(Ask(), 404, "1002");
    ExpectRefusal(SendSecondHalf(), 404, "1002");
    SendFirstHalf();
    EXPECT_EQ(SendSecondHalf().status, 200);
}

TEST_F(ResumableFinish, StaysWhenTheFinishedUploadIsForgotten) {
    SendFirstHalf();
    ASSERT_EQ(SendSecondHalf().status, 200);
    EXPECT_EQ(Cancel().status, 200);
    ExpectRefusal(Ask(), 404, "1002");
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableFinish, MayComeAfterTheUploadHasExpired) {
    SendFirstHalf({"qm_expiry: 2020-01-01T00:00:00.000Z"});
    ExpectRefusal(Ask(), 404, "1002");
    ExpectRefusal(SendSecondHalf(), 404, "1002");
    // Begun anew, and this time in time; the answer is all that there is of it.
    SendFirstHalf();
    EXPECT_EQ(SendSecondHalf({"qm_expiry: 2020-01-01T00:00:00.000Z"}).status, 200);
    ExpectRefusal(Ask(), 404, "1002");
    EXPECT_EQ(Download("/f").body, "hello world");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableFinish, IsPossibleAsLongAsTheClientHasAskedFor) {
    StartServer({"--no-sync", "--upload-lifetime", "1"});
    Login();
    SendFirstHalf({"qm_expiry: 9999-12-31T00:00:00.000Z"});
    ASSERT_EQ(Send({.fileSize = 11, .content = "hello", .path = "/g"}).status, 200);
    // The other one is past its time, and this one is still there.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (Received({.path = "/g"}) != "error 1002") {
        ASSERT_LT(std::chrono::steady_clock::now(), end);
    }
    EXPECT_EQ(SendSecondHalf().status, 200);
    // Without another word the last chunk is kept in mind for that second.
    EXPECT_TRUE(GoesWithin(std::chrono::seconds(20)));
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableFinish, LeavesNoBytesBehindWhereItNeverComes) {
    SendFirstHalf({"qm_expiry: 2020-01-01T00:00:00.000Z"});
    EXPECT_EQ(ContentFiles(), 1U);
    ASSERT_EQ(Send({.fileSize = 11, .content = "other", .path = "/g"}).status, 200);
    EXPECT_EQ(ContentFiles(), 1U);
    ASSERT_EQ(Cancel({.path = "/g"}).status, 200);
    SendFirstHalf({"qm_expiry: 2020-01-01T00:00:00.000Z"});
    Server().KillAndStartAgain();
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(ResumableFinish, NeedsRoom) {
    StartServer({"--no-sync", "--capacity", "1000"});
    Login();
    ExpectRefusal(Send({.fileSize = 1001, .content = "x"}), 507, "1507");
    ASSERT_EQ(Send({.fileSize = 800, .content = std::string(400, 'x')}).status, 200);
    ExpectRefusal(Upload("/other", std::string(601, 'y')), 507, "1507");
    ASSERT_EQ(Upload("/other", std::string(500, 'y')).status, 200);
    ExpectRefusal(Send({.fileSize = 800, .offset = 400, .content = std::string(400, 'x')}), 507, "1507");
    // What would still fit is of no use to a file that as a whole does not.
    ExpectRefusal(Send({.fileSize = 800, .offset = 400, .content = std::string(50, 'x')}), 507, "1507");
    EXPECT_EQ(Received(), "400");
    EXPECT_EQ(ContentBytes(), 900U);
    ASSERT_EQ(Upload("/other", std::string(200, 'y')).status, 200);
    EXPECT_EQ(Send({.fileSize = 800, .offset = 400, .content = std::string(400, 'x')}).status, 200);
    // Its bytes are counted once, and not again for being remembered.
    ExpectRefusal(Upload("/third", "z"), 507, "1507");
    ASSERT_EQ(Upload("/f", std::string(700, 'x')).status, 200);
    EXPECT_EQ(Upload("/third", std::string(100, 'z')).status, 200);
}

}  // namespace appliance_test
