// One request at a time works on a resumable upload.
#include "integration/appliance/ResumeTest.h"

namespace appliance_test {

class ResumableLocking : public ResumeTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
        ASSERT_EQ(Send({.fileSize = 11, .content = "hello"}).status, 200);
    }

    [[nodiscard]] std::string SecondHalf() const {
        return RawChunk({.fileSize = 11, .offset = 5, .content = " world"});
    }
    // The server has no way to call us.
    [[nodiscard]] bool BecomesLocked(bool locked, const ChunkOf& chunk = {}) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < end) {
            if (IsLocked(chunk) == locked) {
                return true;
            }
        }
        return false;
    }
    static void ExpectLocked(const CurlResult& result) {
        EXPECT_EQ(result.status, 423) << result.body << result.errors;
        EXPECT_EQ(result.Json()["errorId"], "1030");
        EXPECT_EQ(result.Json()["severity"], "1");
    }
};

TEST_F(ResumableLocking, KeepsEveryOtherRequestOutWhileAChunkComesIn) {
    const std::string request = SecondHalf();
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 100)));
    ASSERT_TRUE(BecomesLocked(true));
    EXPECT_EQ(Ask().body, R"({"bytes_received":"5","is_locked":"true"})");
    ExpectLocked(Send({.fileSize = 11, .offset = 5, .content = " WORLD"}));
    ExpectLocked(Complete("/g"));
    ExpectLocked(Cancel());
    ASSERT_TRUE(connection.Send(request.substr(request.size() - 100)));
    EXPECT_EQ(connection.ReadReply().status, 200);
    EXPECT_EQ(Ask().body, R"({"bytes_received":"11","is_locked":"false"})");
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableLocking, KeepsASecondFirstChunkOut) {
    const ChunkOf chunk{.fileSize = 9, .content = "first", .path = "/g"};
    const std::string request = RawChunk(chunk);
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 50)));
    ASSERT_TRUE(BecomesLocked(true, chunk));
    EXPECT_EQ(Ask(chunk).body, R"({"bytes_received":"0","is_locked":"true"})");
    ExpectLocked(Send(chunk));
    ASSERT_TRUE(connection.Send(request.substr(request.size() - 50)));
    EXPECT_EQ(connection.ReadReply().body, R"({"bytes_received":"5"})");
}

TEST_F(ResumableLocking, LeavesOtherUploadsAlone) {
    const std::string request = SecondHalf();
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 100)));
    ASSERT_TRUE(BecomesLocked(true));
    EXPECT_EQ(Send({.fileSize = 5, .content = "other", .path = "/g"}).status, 200);
    EXPECT_EQ(Send({.fileSize = 5, .content = "other", .id = "11111111-2222-3333-4444-555555555555"}).status, 200);
}

TEST_F(ResumableLocking, EndsWithTheConnectionAndLeavesTheUploadAsItWas) {
    {
        const std::string request = SecondHalf();
        RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 3)));
        ASSERT_TRUE(BecomesLocked(true));
    }
    EXPECT_TRUE(BecomesLocked(false));
    EXPECT_EQ(Received(), "5");
    EXPECT_EQ(ContentBytes(), 5U);
    EXPECT_EQ(Send({.fileSize = 11, .offset = 5, .content = " world"}).status, 200);
    EXPECT_EQ(Download("/f").body, "hello world");
}

TEST_F(ResumableLocking, OfAnUploadThatNeverBeganEndsWithoutATrace) {
    const ChunkOf chunk{.fileSize = 9, .content = "first", .path = "/g"};
    {
        const std::string request = RawChunk(chunk);
        RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 3)));
        ASSERT_TRUE(BecomesLocked(true, chunk));
    }
    EXPECT_TRUE(BecomesLocked(false, chunk));
    EXPECT_EQ(Received(chunk), "error 1002");
    EXPECT_EQ(ContentFiles(), 1U);
}

}  // namespace appliance_test
