// What was acknowledged is there after a kill, what was not is not.
#include "integration/appliance/ApplianceTest.h"

#include <filesystem>

namespace appliance_test {

using nlohmann::json;

class Durability : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer({});
        Login();
    }

    [[nodiscard]] std::size_t ContentFiles() {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator(Server().DataFolder() + "/contents")) {
            ++count;
        }
        return count;
    }
};

TEST_F(Durability, KeepsWhatWasAcknowledged) {
    MakeFolder("docs");
    const json uploaded = Upload("/docs/f", "hello", {"-F", "attributes=33"}).Json();
    Server().KillAndStartAgain();
    EXPECT_EQ(Curl({Url("/folders/docs/f")}).Json(), uploaded);
    EXPECT_EQ(Download("/docs/f").body, "hello");
}

TEST_F(Durability, KeepsNothingOfAnUploadThatWasUnderWay) {
    const std::string request = UploadRequest("/f", std::string(5'000'000, 'x'), 3);
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 10)));
    while (ContentFiles() == 0) {
        ASSERT_FALSE(connection.WaitForBytes(std::chrono::milliseconds(1)));
    }
    Server().KillAndStartAgain();
    EXPECT_EQ(StatusOf("/f"), 404);
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(Durability, KeepsTheOldContentWhenItsReplacementWasUnderWay) {
    ASSERT_EQ(Upload("/f", "old").status, 200);
    const std::string request = UploadRequest("/f", std::string(5'000'000, 'x'), 3);
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 10)));
    while (ContentFiles() == 1) {
        ASSERT_FALSE(connection.WaitForBytes(std::chrono::milliseconds(1)));
    }
    Server().KillAndStartAgain();
    EXPECT_EQ(Download("/f").body, "old");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(Durability, KeepsEveryAcknowledgedUploadOfAStreamThatIsKilled) {
    RawConnection connection(Server().HttpPort());
    for (int i = 0; i < 200; ++i) {
        connection.Send(UploadRequest("/f" + std::to_string(i), "content " + std::to_string(i), 3));
    }
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(connection.ReadReply().status, 200);
    }
    Server().KillAndStartAgain();
    const json contents = Curl({Url("/folders/?type=all")}).Json()["contents"];
    EXPECT_GE(contents.size(), 20U);
    EXPECT_EQ(ContentFiles(), contents.size());
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Download("/f" + std::to_string(i)).body, "content " + std::to_string(i));
    }
}

TEST_F(Durability, RevisionsNeverComeAgain) {
    const auto before = std::stoull(Upload("/f", "one").Json()["revision"].get<std::string>());
    Server().KillAndStartAgain();
    EXPECT_GT(std::stoull(Upload("/f", "two").Json()["revision"].get<std::string>()), before);
}

TEST_F(Durability, SweepsContentsThatNoItemNames) {
    WriteFile(Server().DataFolder() + "/contents/leftover", "x");
    Server().KillAndStartAgain();
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(Durability, SaysThatTheServerHasFailedWhenAContentIsLost) {
    ASSERT_EQ(Upload("/f", "hello").status, 200);
    for (const auto& entry : std::filesystem::directory_iterator(Server().DataFolder() + "/contents")) {
        std::filesystem::remove(entry.path());
    }
    const CurlResult result = Download("/f");
    EXPECT_EQ(result.status, 500);
    EXPECT_EQ(result.body, R"({"errorId":"1500","message":"The server has failed","severity":"3"})");
    EXPECT_NE(Server().ErrorText().find("is missing"), std::string::npos);
}

TEST_F(Durability, EndsAtOnceOnATerminationSignal) {
    RawConnection upload(Server().HttpPort());
    ASSERT_TRUE(upload.Send(UploadRequest("/f", std::string(1'000'000, 'x'), 3).substr(0, 500'000)));
    RawConnection idle(Server().HttpPort());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Server().Stop(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_NE(idle.WaitForEnd(std::chrono::seconds(5)), RawEnd::StillOpen);
    EXPECT_EQ(ContentFiles(), 0U);
    EXPECT_EQ(Server().ErrorText(), "");
}

}  // namespace appliance_test
