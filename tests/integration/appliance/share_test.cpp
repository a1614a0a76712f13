// Share links and the letters that carry them.
#include <filesystem>

#include "integration/appliance/ApplianceTest.h"
#include "integration/appliance/Device.h"

namespace appliance_test {

using nlohmann::json;

class Shares : public ApplianceTest {
protected:
    void SetUp() override { Begin({"--no-sync"}); }

    void Begin(const std::vector<std::string>& options) {
        StartServer(options);
        m_ann.emplace(Server(), "d1");
        m_ann->MakeFolder("/docs");
        m_ann->Upload("/docs/f", "shared content");
        m_ann->Upload("/g", "other");
    }

    Device& Ann() { return *m_ann; }
    CurlResult Share(const std::string& form) { return Ann().Post("/share", form); }

    // What follows the server's address in the link of a reply.
    static std::string LinkPath(const CurlResult& reply) {
        const auto link = reply.Json().at("link").get<std::string>();
        return link.substr(link.find("/share/"));
    }
    CurlResult Follow(const std::string& linkPath) { return RunCurl({Server().Http() + linkPath}); }

private:
    std::optional<Device> m_ann;
};

TEST_F(Shares, SendALetterToEachRecipientInTheFormsOrder) {
    const CurlResult result =
        Share("path=/docs/f&path=/g&target=bob%40example.com&target=carl&name=Plans&message=See%0Athis&type=USER");
    ASSERT_EQ(result.status, 200) << result.body;
    const auto link = result.Json().at("link").get<std::string>();
    EXPECT_TRUE(link.starts_with(Server().Http() + "/share/")) << link;
    const std::vector<json> letters = Letters(Server());
    ASSERT_EQ(letters.size(), 2U);
    const json expected{{"kind", "share"}, {"recipient", "bob@example.com"}, {"link", link},
                        {"name", "Plans"}, {"message", "See\nthis"},         {"paths", {"/docs/f", "/g"}}};
    EXPECT_EQ(letters[0], expected);
    EXPECT_EQ(letters[1]["recipient"], "carl");
    EXPECT_EQ(letters[1]["link"], link);
}

TEST_F(Shares, OfOneFileLeadToItsContentWithoutASession) {
    const CurlResult result = Share("path=/docs/f&target=bob&name=&message=&type=USER");
    const CurlResult content = Follow(LinkPath(result));
    EXPECT_EQ(content.status, 200);
    EXPECT_EQ(content.body, "shared content");
    EXPECT_NE(content.headers.find("Content-Type: application/octet-stream\r\n"), std::string::npos);
}

TEST_F(Shares, HaveALinkOfTheirOwnEachTime) {
    const std::string first = LinkPath(Share("path=/docs/f&type=USER"));
    const std::string second = LinkPath(Share("path=/docs/f&type=USER"));
    EXPECT_EQ(first.size(), std::string("/share/").size() + 64);
    EXPECT_NE(first, second);
    EXPECT_EQ(Follow(first).body, "shared content");
    EXPECT_EQ(Follow(second).body, "shared content");
}

TEST_F(Shares, NameTheSchemeAndTheHostThatTheClientUsed) {
    const CurlResult secure = Ann().Curl({"-k", "-d", "path=/g&type=USER", Server().Https() + "/api/1.7/share"});
    EXPECT_TRUE(secure.Json().at("link").get<std::string>().starts_with(Server().Https() + "/share/")) << secure.body;
    const CurlResult named = Ann().Curl({"-H", "Host: files.example.com", "-d", "path=/g&type=USER", Url("/share")});
    EXPECT_TRUE(named.Json().at("link").get<std::string>().starts_with("http://files.example.com/share/"));
    ExpectError(Ann().Curl({"-H", "Host: a/b", "-d", "path=/g&type=USER", Url("/share")}), 400, "1001");
}

TEST_F(Shares, OfFoldersOrSeveralFilesHaveNoContent) {
    ExpectError(Follow(LinkPath(Share("path=/docs&type=USER"))), 409, "1004");
    ExpectError(Follow(LinkPath(Share("path=/docs/f&path=/g&type=USER"))), 409, "1004");
    EXPECT_EQ(Follow(LinkPath(Share("path=/g&path=/g&type=USER"))).body, "other");
}

TEST_F(Shares, FollowTheirItemAndEndWithIt) {
    const std::string link = LinkPath(Share("path=/docs/f&type=USER"));
    const std::string both = LinkPath(Share("path=/docs/f&path=/g&type=USER"));
    Ann().Post("/folders/docs/f", "operation=move&path=/h");
    EXPECT_EQ(Follow(link).body, "shared content");
    Ann().Upload("/h", "newer content");
    EXPECT_EQ(Follow(link).body, "newer content");
    Ann().Delete("/folders/h");
    ExpectError(Follow(link), 404, "1002");
    EXPECT_EQ(Follow(both).body, "other");
    Ann().Upload("/h", "another file");
    ExpectError(Follow(link), 404, "1002");
}

TEST_F(Shares, RefuseWhatIsNotThereAndFormsThatMakeNoSense) {
    ExpectError(Share("path=/nothing&type=USER"), 404, "1002");
    ExpectError(Share("path=/docs/f&path=/nothing&type=USER"), 404, "1002");
    ExpectError(Share("target=bob&name=&message=&type=USER"), 400, "1001");
    ExpectError(Share("path=/docs/..&type=USER"), 400, "1001");
    ExpectError(Share("path=/docs/f"), 400, "1001");
    ExpectError(Share("path=/docs/f&type=WORLD"), 400, "1001");
    ExpectError(RunCurl({"-d", "path=/docs/f&type=USER", Url("/share")}), 401, "6");
    ExpectError(Ann().Get("/share"), 405, "1041");
    EXPECT_EQ(Letters(Server()).size(), 0U);
}

TEST_F(Shares, AreFoundOnlyByTheirWholeToken) {
    const std::string link = LinkPath(Share("path=/docs/f&type=USER"));
    ExpectError(Follow(link.substr(0, link.size() - 1)), 404, "1002");
    ExpectError(Follow(link + "0"), 404, "1002");
    ExpectError(Follow("/share/"), 404, "1002");
    ExpectError(Follow("/share"), 404, "1002");
    ExpectError(Follow("/shares/x"), 404, "1040");
    ExpectError(RunCurl({"-d", "a=b", Server().Http() + link}), 405, "1041");
}

TEST_F(Shares, SurviveAKillAndLeaveNoHalfLetters) {
    Begin({});
    const std::string link = LinkPath(Share("path=/docs/f&target=bob&type=USER"));
    WriteFile(Server().DataFolder() + "/outbox/0123456789abcdef", "{\"half");
    Server().KillAndStartAgain();
    EXPECT_EQ(Follow(link).body, "shared content");
    const std::vector<json> letters = Letters(Server());
    ASSERT_EQ(letters.size(), 1U);
    EXPECT_EQ(letters[0]["recipient"], "bob");
}

}  // namespace appliance_test
