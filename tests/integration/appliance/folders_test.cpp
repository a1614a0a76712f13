// Items: attributes, listings, folder creation, changes, downloads.
#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

using nlohmann::json;

class Folders : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    CurlResult Post(const std::string& resource, const std::string& form) {
        return Curl({"-d", form, Url("/folders" + resource)});
    }

    void ExpectError(const CurlResult& result, int status, const std::string& errorId) {
        EXPECT_EQ(result.status, status) << result.body;
        EXPECT_EQ(result.Json()["errorId"], errorId) << result.body;
        EXPECT_TRUE(result.Json()["severity"].is_string()) << result.body;
    }
};

TEST_F(Folders, DescribeTheRoot) {
    const json root = Curl({Url("/folders/")}).Json();
    EXPECT_EQ(root["name"], "");
    EXPECT_EQ(root["orca_path"], "/");
    EXPECT_EQ(root["directory"], true);
    EXPECT_EQ(root["attributes"], 16);
    EXPECT_EQ(Curl({Url("/folders")}).Json(), root);
}

TEST_F(Folders, AreCreatedWithTheTypesThatClientsRead) {
    const CurlResult result = Post("/", "name=docs&operation=create");
    ASSERT_EQ(result.status, 200) << result.body;
    const json item = result.Json();
    EXPECT_EQ(item["name"], "docs");
    EXPECT_EQ(item["orca_path"], "/docs");
    EXPECT_EQ(item["directory"], true);
    EXPECT_EQ(item["attributes"], 16);
    EXPECT_TRUE(item["size"].is_number());
    EXPECT_EQ(item["permissions"], "WRITE");
    EXPECT_TRUE(item["revision"].is_string());
    EXPECT_NE(item["revision"], "");
    const auto time = item["creation_time"].get<std::string>();
    EXPECT_EQ(time.substr(4, 1) + time.substr(10, 1) + time.substr(19, 1) + time.back(), "-T.Z") << time;
    EXPECT_EQ(Curl({Url("/folders/docs")}).Json(), item);
}

TEST_F(Folders, AreListedWithTheirContentsByName) {
    Post("/", "name=docs&operation=create");
    Post("/docs", "name=b&operation=create");
    Post("/docs/", "name=a&operation=create");
    ASSERT_EQ(Upload("/docs/c.txt", "12345").status, 200);
    const json listing = Curl({Url("/folders/docs?type=all")}).Json();
    EXPECT_EQ(listing["name"], "docs");
    ASSERT_EQ(listing["contents"].size(), 3U);
    EXPECT_EQ(listing["contents"][0]["name"], "a");
    EXPECT_EQ(listing["contents"][1]["name"], "b");
    EXPECT_EQ(listing["contents"][2]["name"], "c.txt");
    EXPECT_EQ(listing["contents"][2]["size"], 5);
    EXPECT_EQ(listing["contents"][2]["directory"], false);
    EXPECT_EQ(listing["contents"][2]["orca_path"], "/docs/c.txt");
    EXPECT_FALSE(Curl({Url("/folders/docs")}).Json().contains("contents"));
}

TEST_F(Folders, OfNothingHaveAnEmptyListing) {
    Post("/", "name=docs&operation=create");
    EXPECT_EQ(Curl({Url("/folders/docs?type=all")}).Json()["contents"], json::array());
}

TEST_F(Folders, AreNotCreatedTwiceNorInNothingNorInFiles) {
    Post("/", "name=docs&operation=create");
    ASSERT_EQ(Upload("/file", "x").status, 200);
    ExpectError(Post("/", "name=docs&operation=create"), 409, "1003");
    ExpectError(Post("/", "name=file&operation=create"), 409, "1003");
    ExpectError(Post("/nowhere", "name=a&operation=create"), 404, "1002");
    ExpectError(Post("/file", "name=a&operation=create"), 409, "1004");
}

TEST_F(Folders, RefuseNamesThatCannotBeStored) {
    for (const std::string form :
         {"operation=create", "name=&operation=create", "name=a%2Fb&operation=create", "name=..&operation=create",
          "name=.&operation=create", "name=a%00b&operation=create", "name=%FF&operation=create",
          "name=%ED%A0%80&operation=create", "name=%C0%AF&operation=create"}) {
        ExpectError(Post("/", form), 400, "1001");
    }
}

TEST_F(Folders, RefusePathsThatCannotBeStored) {
    for (const std::string path : {"/a%2Fb", "/%2e%2e/x", "/%zz", "/a%0", "/%00", "/%FF"}) {
        ExpectError(Curl({"--path-as-is", Url("/folders" + path)}), 400, "1001");
    }
    ExpectError(Curl({"--path-as-is", Url("/folders/../../../../etc/passwd")}), 400, "1001");
}

TEST_F(Folders, KeepAnyOtherNameAsItWasSent) {
    const std::string names[] = {"a b+c%d",
                                 "\xC3\xA4\xC3\xB6\xC3\xBC",
                                 "\xE4\xB8\xAD\xE6\x96\x87",
                                 "\xF0\x9F\x93\x81",
                                 "e\xCC\x81",
                                 "\xC3\xA9",
                                 "back\\slash:*?\"<>|",
                                 "A",
                                 "a",
                                 "...",
                                 "line\nbreak"};
    for (const std::string& name : names) {
        MakeFolder(name);
    }
    const json contents = Curl({Url("/folders/?type=all")}).Json()["contents"];
    EXPECT_EQ(contents.size(), std::size(names));
    for (const std::string& name : names) {
        const auto found =
            std::find_if(contents.begin(), contents.end(), [&](const json& item) { return item["name"] == name; });
        EXPECT_NE(found, contents.end()) << name;
    }
    EXPECT_EQ(Curl({Url("/folders/a%20b%2Bc%25d")}).Json()["name"], "a b+c%d");
    EXPECT_EQ(Curl({Url("/folders/e%CC%81")}).Json()["name"], "e\xCC\x81");
    EXPECT_EQ(Curl({Url("/folders/%C3%A9")}).Json()["name"], "\xC3\xA9");
}

TEST_F(Folders, ChangeTimesAndAttributesAndRevision) {
    ASSERT_EQ(Upload("/f", "x").status, 200);
    const json before = Curl({Url("/folders/f")}).Json();
    const CurlResult result = Post("/f",
                                   "name=f&operation=update&creation_time=2015-03-01T10:20:30.123Z&"
                                   "modification_time=2016-02-29T23:59:59.1234567Z&attributes=33");
    ASSERT_EQ(result.status, 200) << result.body;
    const json after = Curl({Url("/folders/f")}).Json();
    EXPECT_EQ(result.Json(), after);
    EXPECT_EQ(after["creation_time"], "2015-03-01T10:20:30.123Z");
    EXPECT_EQ(after["modification_time"], "2016-02-29T23:59:59.1234567Z");
    EXPECT_EQ(after["attributes"], 33);
    EXPECT_EQ(after["size"], 1);
    EXPECT_NE(after["revision"], before["revision"]);
}

TEST_F(Folders, LeaveWhatAClientDoesNotKnow) {
    ASSERT_EQ(Upload("/f", "x", {"-F", "creation_time=2015-03-01T10:20:30.123Z", "-F", "attributes=34"}).status, 200);
    const CurlResult result = Post("/f", "name=f&operation=update&creation_time=INVALID&attributes=4294967295");
    EXPECT_EQ(result.Json()["creation_time"], "2015-03-01T10:20:30.123Z");
    EXPECT_EQ(result.Json()["attributes"], 34);
}

TEST_F(Folders, StayFoldersWhateverTheAttributesSay) {
    MakeFolder("docs");
    EXPECT_EQ(Post("/docs", "operation=update&attributes=2").Json()["attributes"], 18);
    ASSERT_EQ(Upload("/f", "x").status, 200);
    EXPECT_EQ(Post("/f", "operation=update&attributes=48").Json()["attributes"], 32);
}

TEST_F(Folders, TakeAnotherNameUnlessItIsTaken) {
    MakeFolder("one");
    MakeFolder("two");
    ExpectError(Post("/one", "name=two&operation=update"), 409, "1003");
    const CurlResult result = Post("/one", "name=One&operation=update");
    EXPECT_EQ(result.Json()["name"], "One");
    EXPECT_EQ(result.Json()["orca_path"], "/One");
    EXPECT_EQ(StatusOf("/one"), 404);
    EXPECT_EQ(StatusOf("/One"), 200);
}

TEST_F(Folders, RefuseChangesThatMakeNoSense) {
    MakeFolder("docs");
    ExpectError(Post("/nowhere", "name=nowhere&operation=update"), 404, "1002");
    ExpectError(Post("/", "operation=update&attributes=1"), 403, "1005");
    ExpectError(Post("/docs", "operation=dance"), 400, "1001");
    ExpectError(Post("/docs", "name=docs"), 400, "1001");
    ExpectError(Post("/docs", "operation=update&attributes=many"), 400, "1001");
    ExpectError(Post("/docs", "operation=update&attributes=4294967296"), 400, "1001");
    ExpectError(Post("/docs", "operation=update&name=a%2Fb"), 400, "1001");
    for (const std::string time :
         {"2015-02-29T00:00:00.000Z", "2015-03-01T24:00:00.000Z", "2015-03-01T10:20:30.123", "1600-12-31T23:59:59.999Z",
          "30828-01-01T00:00:00.000Z", "2015-03-01T10:20:30.Z", ""}) {
        ExpectError(Post("/docs", "operation=update&creation_time=" + time), 400, "1001");
    }
}

TEST_F(Folders, TakeTimesFromTheirWholeRange) {
    MakeFolder("docs");
    for (const std::string time : {"1601-01-01T00:00:00.000Z", "1969-12-31T23:59:59.9999999Z",
                                   "9999-12-31T23:59:59.999Z", "30827-12-31T23:59:59.999Z"}) {
        EXPECT_EQ(Post("/docs", "operation=update&modification_time=" + time).Json()["modification_time"], time);
    }
    EXPECT_EQ(Post("/docs", "operation=update&modification_time=2015-03-01T10:20:30.5Z").Json()["modification_time"],
              "2015-03-01T10:20:30.500Z");
    EXPECT_EQ(Post("/docs", "operation=update&modification_time=2015-03-01T10:20:30Z").Json()["modification_time"],
              "2015-03-01T10:20:30.000Z");
}

TEST_F(Folders, SayWhatIsMissing) {
    ExpectError(Curl({Url("/folders/nothing")}), 404, "1002");
    ExpectError(Curl({Url("/folders/nothing?type=all")}), 404, "1002");
    ExpectError(Download("/nothing"), 404, "1002");
    ExpectError(Curl({"-X", "PUT", Url("/folders/")}), 405, "1041");
}

TEST_F(Folders, GiveAFilesBytesOrItsAttributesAsTheClientAccepts) {
    ASSERT_EQ(Upload("/f.bin", std::string("a\0b\r\n", 5)).status, 200);
    const CurlResult bytes = Download("/f.bin");
    EXPECT_EQ(bytes.status, 200);
    EXPECT_EQ(bytes.body, std::string("a\0b\r\n", 5));
    EXPECT_NE(bytes.headers.find("Content-Type: application/octet-stream\r\nContent-Length: 5\r\n"), std::string::npos);
    EXPECT_EQ(Curl({"-H", "Accept: application/json", Url("/folders/f.bin")}).Json()["size"], 5);
    MakeFolder("docs");
    ExpectError(Download("/docs"), 409, "1004");
}

TEST_F(Folders, CheckTheRevisionOfADownload) {
    const json item = Upload("/f", "old").Json();
    const auto revision = item["revision"].get<std::string>();
    EXPECT_EQ(Download("/f?revision=" + revision).body, "old");
    ASSERT_EQ(Upload("/f", "newer").status, 200);
    const CurlResult result = Download("/f?revision=" + revision);
    ExpectError(result, 409, "1077");
    EXPECT_EQ(result.Json()["severity"], "1");
    EXPECT_EQ(result.Json()["document_info"], Curl({Url("/folders/f")}).Json());
}

TEST_F(Folders, ClipRangesToTheEndOfTheFile) {
    ASSERT_EQ(Upload("/f", "0123456789").status, 200);
    EXPECT_EQ(Download("/f?skip=0&count=10").body, "0123456789");
    EXPECT_EQ(Download("/f?skip=3&count=4").body, "3456");
    EXPECT_EQ(Download("/f?skip=8&count=100").body, "89");
    EXPECT_EQ(Download("/f?skip=4").body, "456789");
    EXPECT_EQ(Download("/f?count=2").body, "01");
    EXPECT_EQ(Download("/f?skip=1&count=18446744073709551615").body, "123456789");
    for (const std::string query : {"?skip=10&count=1", "?skip=18446744073709551615&count=5", "?skip=2&count=0"}) {
        const CurlResult result = Download("/f" + query);
        EXPECT_EQ(result.status, 200) << query;
        EXPECT_EQ(result.body, "") << query;
    }
    for (const std::string query :
         {"?skip=-1&count=1", "?skip=x", "?count=1.5", "?skip=18446744073709551616", "?skip=%z"}) {
        ExpectError(Download("/f" + query), 400, "1001");
    }
}

TEST_F(Folders, AnswerEachUserAtOnceWhileOthersWait) {
    AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/slow"}, {"kind", "delay"}, {"ms", 600000}});
    RawConnection slow(Server().HttpPort());
    ASSERT_TRUE(slow.Send(GetRequest("/slow")));
    EXPECT_EQ(StatusOf("/"), 200);
    EXPECT_FALSE(slow.WaitForBytes(std::chrono::milliseconds(0)));
}

}  // namespace appliance_test
