// Resumable uploads: what chunks add up to, and what is refused without a trace.
#include "integration/appliance/ResumeTest.h"

namespace appliance_test {

using nlohmann::json;

class ResumableUploads : public ResumeTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    // "hello world" up to its middle.
    void SendFirstHalf() const {
        const CurlResult result = Send({.fileSize = 11, .content = "hello"});
        ASSERT_EQ(result.status, 200) << result.body << result.errors;
    }
    [[nodiscard]] CurlResult SendSecondHalf() const { return Send({.fileSize = 11, .offset = 5, .content = " world"}); }
    static void ExpectRefusal(const CurlResult& result, int status, const char* errorId) {
        EXPECT_EQ(result.status, status) << result.body << result.errors;
        EXPECT_EQ(result.Json()["errorId"], errorId) << result.body;
    }
};

TEST_F(ResumableUploads, BecomeAFileWithTheLastChunk) {
    const CurlResult first = Send({.fileSize = 11, .content = "hello"});
    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(first.body, R"({"bytes_received":"5"})");
    EXPECT_EQ(StatusOf("/f"), 404);
    const CurlResult second = Send({.fileSize = 11, .offset = 5, .content = " wo"});
    EXPECT_EQ(second.status, 200);
    EXPECT_EQ(second.body, R"({"bytes_received":"8"})");
    EXPECT_EQ(StatusOf("/f"), 404);
    const CurlResult last =
        Send({.fileSize = 11,
              .offset = 8,
              .content = "rld",
              .headers = {"qm_file_creation_time: 2015-03-01T10:20:30.123Z",
                          "qm_file_modification_time: 2016-02-29T23:59:59.999Z", "qm_attributes: 33"}});
    ASSERT_EQ(last.status, 200) << last.body;
    const json item = last.Json();
    EXPECT_EQ(item["name"], "f");
    EXPECT_EQ(item["orca_path"], "/f");
    EXPECT_EQ(item["size"], 11);
    EXPECT_EQ(item["creation_time"], "2015-03-01T10:20:30.123Z");
    EXPECT_EQ(item["modification_time"], "2016-02-29T23:59:59.999Z");
    EXPECT_EQ(item["attributes"], 33);
    EXPECT_EQ(Curl({Url("/folders/f")}).Json(), item);
    EXPECT_EQ(Download("/f").body, "hello world");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableUploads, InOneChunkAreBegunAndFinishedByIt) {
    EXPECT_EQ(Send({.fileSize = 5, .content = "hello"}).Json()["size"], 5);
    EXPECT_EQ(Download("/f").body, "hello");
}

TEST_F(ResumableUploads, OfAnEmptyFileAreStored) {
    EXPECT_EQ(Send({.fileSize = 0}).Json()["size"], 0);
    EXPECT_EQ(Download("/f").status, 200);
}

TEST_F(ResumableUploads, TellHowFarTheyHaveCome) {
    SendFirstHalf();
    const CurlResult result = Ask();
    EXPECT_EQ(result.status, 200);
    EXPECT_EQ(result.body, R"({"bytes_received":"5","is_locked":"false"})");
}

TEST_F(ResumableUploads, AreMissingUntilTheirFirstChunkIsThere) {
    ExpectRefusal(Ask(), 404, "1002");
    ExpectRefusal(Cancel(), 404, "1002");
    ExpectRefusal(Complete("/f"), 404, "1002");
    ExpectRefusal(SendSecondHalf(), 404, "1002");
    ExpectRefusal(Send({.fileSize = 11, .content = "hello", .headers = {"qm_start: false"}}), 404, "1002");
    ExpectRefusal(Send({.fileSize = 11, .offset = 5, .content = " world", .headers = {"qm_start: true"}}), 404, "1002");
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(ResumableUploads, AreLeftUntouchedByAChunkOutOfStep) {
    SendFirstHalf();
    for (const ChunkOf& chunk :
         {ChunkOf{.fileSize = 11, .content = "HELLO"}, ChunkOf{.fileSize = 11, .offset = 4, .content = "WORLD!!"},
          ChunkOf{.fileSize = 11, .offset = 6, .content = "WORLD"}, ChunkOf{.fileSize = 11, .offset = 11}}) {
        const CurlResult result = Send(chunk);
        ExpectRefusal(result, 409, "1202");
        EXPECT_EQ(result.Json()["severity"], "1");
        EXPECT_EQ(Received(), "5");
        EXPECT_EQ(ContentBytes(), 5U);
    }
    EXPECT_EQ(SendSecondHalf().status, 200);
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableUploads, AreLeftUntouchedByAChunkOfAnotherLengthThanItSays) {
    SendFirstHalf();
    for (const std::uint64_t said : {0U, 5U}) {
        ExpectRefusal(Send({.fileSize = 11, .offset = 5, .content = " world", .blockSize = said}), 400, "1020");
        EXPECT_EQ(Received(), "5") << said;
        EXPECT_EQ(ContentBytes(), 5U) << said;
    }
    ExpectRefusal(Send({.fileSize = 11, .offset = 5, .content = " worl", .blockSize = 6}), 400, "1020");
    EXPECT_EQ(Received(), "5");
    EXPECT_EQ(ContentBytes(), 5U);
    EXPECT_EQ(SendSecondHalf().status, 200);
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableUploads, DoNotBeginWithAChunkOfAnotherLengthThanItSays) {
    ExpectRefusal(Send({.fileSize = 11, .content = "hello", .blockSize = 4}), 400, "1020");
    ExpectRefusal(Ask(), 404, "1002");
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(ResumableUploads, RefuseAChunkThatDoesNotFitItsFile) {
    SendFirstHalf();
    const std::vector<ChunkOf> chunks{
        {.fileSize = 11, .offset = 5, .content = " worl", .headers = {"qm_finish: true"}},
        {.fileSize = 11, .offset = 5, .content = " world!"},
        {.fileSize = 11, .offset = 12},
        {.fileSize = 12, .offset = 5, .content = " world"},
        {.fileSize = 11, .offset = 5, .content = " world", .headers = {"qm_block_size: 18446744073709551611"}},
    };
    for (const ChunkOf& chunk : chunks) {
        ExpectRefusal(Send(chunk), 400, "1001");
        EXPECT_EQ(Received(), "5");
    }
}

TEST_F(ResumableUploads, RefuseAHeadThatMakesNoSense) {
    for (const std::string header :
         {"qm_file_size:", "qm_file_size: x", "qm_file_size: -1", "qm_file_size: 9223372036854775808", "qm_offset: -1",
          "qm_offset: 5x", "qm_offset;", "qm_block_size: 1.0", "qm_block_size;", "qm_attributes: many",
          "qm_file_creation_time: noon", "qm_file_modification_time: 2016-02-30T00:00:00Z", "qm_expiry: tomorrow"}) {
        ChunkOf chunk{.fileSize = 5, .content = "hello"};
        chunk.headers = {header, "qm_finish: false"};
        ExpectRefusal(Send(chunk), 400, "1001");
    }
    ExpectRefusal(Ask(), 404, "1002");
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(ResumableUploads, NeedAFileInTheBody) {
    const std::vector<std::string> head{"-H", "qm_file_size: 5",  "-H", "qm_offset: 0",
                                        "-H", "qm_block_size: 5", "-H", "qm_start: true"};
    for (const std::string part : {"field=hello", "other=@/etc/hostname"}) {
        std::vector<std::string> arguments = head;
        arguments.insert(arguments.end(), {"-F", part, UploadUrl()});
        ExpectRefusal(Curl(arguments), 400, "1001");
    }
    std::vector<std::string> form = head;
    form.insert(form.end(), {"-d", "hello", UploadUrl()});
    ExpectRefusal(Curl(form), 415, "1024");
    ExpectRefusal(Ask(), 404, "1002");
}

TEST_F(ResumableUploads, AreNamedByAGuidInAnyForm) {
    SendFirstHalf();
    for (const std::string id : {"0f8fad5b-d9cb-469f-a165-70867728950e", "%7B0F8FAD5B-D9CB-469F-A165-70867728950E%7D",
                                 "%7b0F8fad5b-d9cb-469f-a165-70867728950e%7d"}) {
        EXPECT_EQ(Received({.id = id}), "5") << id;
    }
    for (const std::string id : {"", "1", "0F8FAD5B-D9CB-469F-A165-70867728950", "0F8FAD5B-D9CB-469F-A165-70867728950G",
                                 "0F8FAD5B+D9CB-469F-A165-70867728950E", "%7B0F8FAD5B-D9CB-469F-A165-70867728950E",
                                 "0F8FAD5BD9CB469FA16570867728950E", "%zz"}) {
        ExpectRefusal(Ask({.id = id}), 400, "1001");
    }
    ExpectRefusal(Curl({Url("/resume/upload/f")}), 400, "1001");
}

TEST_F(ResumableUploads, BelongToTheirPath) {
    SendFirstHalf();
    ExpectRefusal(Ask({.path = "/g"}), 404, "1002");
    ExpectRefusal(Cancel({.path = "/g"}), 404, "1002");
    EXPECT_EQ(Send({.fileSize = 7, .content = "abc", .path = "/g"}).body, R"({"bytes_received":"3"})");
    EXPECT_EQ(Received(), "5");
    EXPECT_EQ(Received({.path = "/g"}), "3");
}

TEST_F(ResumableUploads, BelongToTheirUser) {
    StartServer({"--no-sync", "--user", "bob:hidden"});
    Login();
    SendFirstHalf();
    const std::string bob = RunCurl({"-d", "user_id=bob&password=hidden&device_id=b", Url("/sessions")})
                                .Json()["session_token"]
                                .get<std::string>();
    ExpectRefusal(RunCurl({"-b", "session_token=" + bob, UploadUrl()}), 404, "1002");
    ExpectRefusal(RunCurl({"-b", "session_token=" + bob, "-X", "DELETE", UploadUrl()}), 404, "1002");
    EXPECT_EQ(Received(), "5");
}

TEST_F(ResumableUploads, NeedAGoodSession) {
    SendFirstHalf();
    ExpectRefusal(RunCurl({UploadUrl()}), 401, "6");
    ExpectRefusal(RunCurl({"-X", "DELETE", UploadUrl()}), 401, "6");
    ExpectRefusal(RunCurl({"-F", "file=@/etc/hostname", UploadUrl()}), 401, "6");
    EXPECT_EQ(Received(), "5");
}

TEST_F(ResumableUploads, StandUnderOneEndpointWithThreeMethods) {
    ExpectRefusal(Curl({"-X", "PUT", UploadUrl()}), 405, "1041");
    ExpectRefusal(Curl({Url("/resume/f")}), 404, "1040");
    ExpectRefusal(Curl({Url("/resume/uploads/f")}), 404, "1040");
    ExpectRefusal(Curl({Url("/resume")}), 404, "1040");
}

TEST_F(ResumableUploads, NeedAFolderToGoInto) {
    MakeFolder("docs");
    ExpectRefusal(Send({.fileSize = 5, .content = "hello", .path = "/nowhere/f"}), 404, "1002");
    ExpectRefusal(Send({.fileSize = 5, .content = "hello", .path = "/docs"}), 409, "1004");
    ExpectRefusal(Send({.fileSize = 5, .content = "hello", .path = "/"}), 403, "1005");
    EXPECT_EQ(Send({.fileSize = 5, .content = "hello", .path = "/docs/f"}).Json()["orca_path"], "/docs/f");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableUploads, TakeNamesInAnyScript) {
    const std::string encoded = "/%D0%BE%D1%82%D1%87%D1%91%D1%82%20%E6%96%87%F0%9F%93%84%2B%25.txt";
    EXPECT_EQ(Send({.fileSize = 5, .content = "hello", .path = encoded}).Json()["orca_path"], "/отчёт 文📄+%.txt");
    EXPECT_EQ(Received({.path = encoded}), "5");
}

TEST_F(ResumableUploads, KeepTheConnectionWithBytesOwed) {
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(RawChunk({.fileSize = 11, .content = "hello"})));
    EXPECT_EQ(connection.ReadReply().body, R"({"bytes_received":"5"})");
    ASSERT_TRUE(connection.Send("\r\n\r" + RawChunk({.fileSize = 11, .offset = 5, .content = " wor"})));
    EXPECT_EQ(connection.ReadReply().body, R"({"bytes_received":"9"})");
    ASSERT_TRUE(connection.Send(RawChunk({.fileSize = 11, .offset = 9, .content = "ld"})));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_EQ(Download("/f").body, "hello world");
}

}  // namespace appliance_test
