// Whole-file uploads: what is stored, what is refused, and that a refusal leaves things as they were.
#include "integration/appliance/ApplianceTest.h"

#include <filesystem>

namespace appliance_test {

using nlohmann::json;

class Uploads : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    [[nodiscard]] std::ptrdiff_t ContentFiles() {
        const std::filesystem::directory_iterator folder(Server().DataFolder() + "/contents");
        return std::distance(begin(folder), end(folder));
    }
};

TEST_F(Uploads, StoreContentTimesAndAttributes) {
    const CurlResult result = Upload("/a.txt", "hello",
                                     {"-F", "creation_time=2015-03-01T10:20:30.123Z", "-F",
                                      "modification_time=2016-02-29T23:59:59.999Z", "-F", "attributes=32"});
    ASSERT_EQ(result.status, 200) << result.body;
    const json item = result.Json();
    EXPECT_EQ(item["name"], "a.txt");
    EXPECT_EQ(item["orca_path"], "/a.txt");
    EXPECT_EQ(item["size"], 5);
    EXPECT_EQ(item["directory"], false);
    EXPECT_EQ(item["creation_time"], "2015-03-01T10:20:30.123Z");
    EXPECT_EQ(item["modification_time"], "2016-02-29T23:59:59.999Z");
    EXPECT_EQ(item["attributes"], 32);
    EXPECT_EQ(Curl({Url("/folders/a.txt")}).Json(), item);
    EXPECT_EQ(Download("/a.txt").body, "hello");
}

TEST_F(Uploads, StoreFilesOfAllSizesAroundTheBuffers) {
    for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 262143U, 262144U, 262145U, 3000000U}) {
        std::string content(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            content[i] = static_cast<char>(i * 7 + i / 251);
        }
        ASSERT_EQ(Upload("/f", content).status, 200) << size;
        EXPECT_TRUE(Download("/f").body == content) << size;
        EXPECT_EQ(Curl({Url("/folders/f")}).Json()["size"], size);
    }
}

TEST_F(Uploads, ReplaceAFileUnderTheRevisionThatIsCurrent) {
    const auto first = Upload("/f", "one").Json()["revision"].get<std::string>();
    const CurlResult second = Upload("/f", "two", {"-F", "revision=" + first});
    ASSERT_EQ(second.status, 200) << second.body;
    EXPECT_NE(second.Json()["revision"], first);
    EXPECT_EQ(Download("/f").body, "two");
    EXPECT_EQ(ContentFiles(), 1);
}

TEST_F(Uploads, ReplaceAFileWithoutConditionWhenNoRevisionIsGiven) {
    ASSERT_EQ(Upload("/f", "one").status, 200);
    ASSERT_EQ(Upload("/f", "two").status, 200);
    EXPECT_EQ(Download("/f").body, "two");
}

TEST_F(Uploads, OfAStaleRevisionAreRefusedWithTheItemAsItIs) {
    const auto stale = Upload("/f", "one").Json()["revision"].get<std::string>();
    const json current = Upload("/f", "two").Json();
    const CurlResult result = Upload("/f", "three", {"-F", "revision=" + stale});
    EXPECT_EQ(result.status, 409);
    EXPECT_EQ(result.Json()["errorId"], "1077");
    EXPECT_EQ(result.Json()["severity"], "1");
    EXPECT_EQ(result.Json()["document_info"], current);
    EXPECT_EQ(Download("/f").body, "two");
    EXPECT_EQ(ContentFiles(), 1);
}

TEST_F(Uploads, OfARevisionWhoseItemIsGoneAreRefused) {
    const CurlResult result = Upload("/f", "one", {"-F", "revision=7"});
    EXPECT_EQ(result.status, 404);
    EXPECT_EQ(result.Json()["errorId"], "1002");
}

TEST_F(Uploads, NeedAFolderToGoInto) {
    MakeFolder("docs");
    ASSERT_EQ(Upload("/f", "one").status, 200);
    EXPECT_EQ(Upload("/nowhere/f", "x").Json()["errorId"], "1002");
    EXPECT_EQ(Upload("/f/g", "x").Json()["errorId"], "1004");
    EXPECT_EQ(Upload("/docs", "x").Json()["errorId"], "1004");
    EXPECT_EQ(Upload("/", "x").Json()["errorId"], "1005");
}

TEST_F(Uploads, NeedAFileAndItsSizeAheadOfIt) {
    const std::string file = Server().Scratch("upload");
    WriteFile(file, "x");
    const std::string url = Url("/folders/f");
    const std::vector<std::vector<std::string>> incomplete{
        {"-F", "operation=create", "-F", "size=1", url},
        {"-F", "operation=create", "-F", "file=@" + file, url},
        {"-F", "operation=create", "-F", "file=@" + file, "-F", "size=1", url},
        {"-F", "size=1", "-F", "file=@" + file, url},
        {"-F", "operation=update", "-F", "size=1", "-F", "file=@" + file, url},
        {"-F", "operation=create", "-F", "size=x", "-F", "file=@" + file, url},
        {"-F", "operation=create", "-F", "size=1", "-F", "attributes=x", "-F", "file=@" + file, url},
        {"-F", "operation=create", "-F", "size=1", "-F", "other=@" + file, url},
        {"-F", "operation=create", "-F", "size=1", "-F", "file=@" + file, "-F", "file=@" + file, url},
    };
    for (const auto& arguments : incomplete) {
        const CurlResult result = Curl(arguments);
        EXPECT_EQ(result.status, 400) << arguments[1] << arguments[3];
        EXPECT_EQ(result.Json()["errorId"], "1001") << result.body;
    }
    EXPECT_EQ(StatusOf("/f"), 404);
    EXPECT_EQ(ContentFiles(), 0);
}

TEST_F(Uploads, WhoseSizeIsWrongStoreNothing) {
    const std::string file = Server().Scratch("upload");
    WriteFile(file, "12345");
    for (const std::string size : {"0", "4", "6", "9223372036854775807", "18446744073709551615"}) {
        const CurlResult result =
            Curl({"-F", "operation=create", "-F", "size=" + size, "-F", "file=@" + file, Url("/folders/f")});
        EXPECT_EQ(result.status, 400) << size;
        EXPECT_EQ(result.Json()["errorId"], "1020") << size;
    }
    EXPECT_EQ(StatusOf("/f"), 404);
    EXPECT_EQ(ContentFiles(), 0);
}

TEST_F(Uploads, WithoutAGoodSessionStoreNothing) {
    const std::string file = Server().Scratch("upload");
    WriteFile(file, "x");
    const CurlResult result =
        RunCurl({"-F", "operation=create", "-F", "size=1", "-F", "file=@" + file, Url("/folders/f")});
    EXPECT_EQ(result.status, 401);
    EXPECT_EQ(result.Json()["errorId"], "6");
    EXPECT_EQ(ContentFiles(), 0);
}

TEST_F(Uploads, ThatDoNotFitIntoTheCapacityAreRefused) {
    StartServer({"--no-sync", "--capacity", "1000"});
    Login();
    ASSERT_EQ(Upload("/f", std::string(600, 'x')).status, 200);
    const CurlResult result = Upload("/g", std::string(401, 'x'));
    EXPECT_EQ(result.status, 507);
    EXPECT_EQ(result.Json()["errorId"], "1507");
    EXPECT_EQ(result.Json()["severity"], "3");
    EXPECT_EQ(Upload("/g", std::string(400, 'x')).status, 200);
    EXPECT_EQ(Upload("/f", std::string(600, 'y')).status, 200);
}

TEST_F(Uploads, OfOneFileFromManyClientsLeaveOneOfThemWhole) {
    constexpr int clients = 8;
    std::vector<std::unique_ptr<RawConnection>> connections;
    for (int i = 0; i < clients; ++i) {
        connections.push_back(std::make_unique<RawConnection>(Server().HttpPort()));
        const std::string content(100'000, static_cast<char>('a' + i));
        ASSERT_TRUE(connections.back()->Send(UploadRequest("/f", content, 3)));
    }
    for (const auto& connection : connections) {
        EXPECT_EQ(connection->ReadReply().status, 200);
    }
    const std::string stored = Download("/f").body;
    ASSERT_EQ(stored.size(), 100'000U);
    EXPECT_EQ(stored, std::string(100'000, stored[0]));
    EXPECT_EQ(ContentFiles(), 1);
}

TEST_F(Uploads, NeverShowADownloadAnythingButAWholeFile) {
    constexpr int rounds = 300;
    ASSERT_EQ(Upload("/f", std::string(20'000, 'a')).status, 200);
    RawConnection writer(Server().HttpPort());
    RawConnection reader(Server().HttpPort());
    std::string download = GetRequest("/f");
    download.replace(download.find("application/json"), 16, "application/octet-stream");
    for (int i = 0; i < rounds; ++i) {
        ASSERT_TRUE(writer.Send(UploadRequest("/f", std::string(20'000, static_cast<char>('a' + i % 26)), 3)));
        ASSERT_TRUE(reader.Send(download));
        const RawReply reply = reader.ReadReply();
        ASSERT_EQ(reply.status, 200) << reply.body;
        ASSERT_EQ(reply.body, std::string(20'000, reply.body[0]));
        ASSERT_EQ(writer.ReadReply().status, 200);
    }
}

TEST_F(Uploads, WaitForTheServersWordWhenTheClientAsksFirst) {
    RawConnection connection(Server().HttpPort());
    std::string request = UploadRequest("/f", "hello", 0);
    const std::size_t headEnd = request.find("\r\n\r\n") + 2;
    ASSERT_TRUE(connection.Send(request.substr(0, headEnd) + "Expect: 100-continue\r\n\r\n"));
    const RawReply interim = connection.ReadReply();
    EXPECT_EQ(interim.status, 100);
    ASSERT_TRUE(connection.Send(request.substr(headEnd + 2)));
    EXPECT_EQ(connection.ReadReply().status, 200);
}

TEST_F(Uploads, AreRefusedBeforeTheBodyWhenTheClientAsksFirst) {
    RawConnection connection(Server().HttpPort());
    std::string request = UploadRequest("/f", "hello", 0);
    request.replace(request.find(Token()), 1, "x");
    const std::size_t headEnd = request.find("\r\n\r\n") + 2;
    ASSERT_TRUE(connection.Send(request.substr(0, headEnd) + "Expect: 100-continue\r\n\r\n"));
    EXPECT_EQ(connection.ReadReply().status, 401);
    EXPECT_EQ(connection.WaitForEnd(std::chrono::seconds(20)), RawEnd::EndOfStream);
}

}  // namespace appliance_test
