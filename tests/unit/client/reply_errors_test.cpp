// What replies come to: error codes, severities, a changed token, the revision of an item.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class ReplyErrors : public ClientTest {
protected:
    [[nodiscard]] StatusPair Judge(DWORD status, const std::string& body) {
        return client->ErrorFromStatus(status, Reply(body));
    }
};

TEST_F(ReplyErrors, NoBodyIs20000PlusTheStatus) {
    const ResponseBuffer none;
    EXPECT_EQ(client->ErrorFromStatus(404, none), (StatusPair{20404, 0}));
    EXPECT_EQ(client->ErrorFromStatus(401, none), (StatusPair{20401, 0}));
    EXPECT_EQ(client->ErrorFromStatus(409, none), (StatusPair{20409, 0}));
}

TEST_F(ReplyErrors, ErrorIdWinsWhateverTheStatus) {
    EXPECT_EQ(Judge(401, R"({"errorId":"6"})"), (StatusPair{20006, 0}));
    EXPECT_EQ(Judge(503, R"({"errorId":"6"})"), (StatusPair{20006, 0}));
}

TEST_F(ReplyErrors, ZeroErrorIdFallsBackToTheStatus) {
    EXPECT_EQ(Judge(404, R"({"errorId":"0"})"), (StatusPair{20404, 0}));
}

TEST_F(ReplyErrors, ErrorIdThatIsNoNumberFallsBackToTheStatus) {
    EXPECT_EQ(Judge(404, R"({"errorId":"none"})"), (StatusPair{20404, 0}));
}

TEST_F(ReplyErrors, ErrorIdIsReadAsFarAsItIsANumber) {
    EXPECT_EQ(Judge(404, R"({"errorId":" 17 apples"})"), (StatusPair{20017, 0}));
}

TEST_F(ReplyErrors, ErrorIdOfAnotherTypeFallsBackToTheStatus) {
    EXPECT_EQ(Judge(404, R"({"errorId":6})"), (StatusPair{20404, 0}));
}

TEST_F(ReplyErrors, SeverityIsRead) {
    EXPECT_EQ(Judge(500, R"({"errorId":"17","severity":"2"})"), (StatusPair{20017, 2}));
    EXPECT_EQ(Judge(500, R"({"severity":"3"})"), (StatusPair{20500, 3}));
}

TEST_F(ReplyErrors, NegativeNumbersAreAddedIn32Bits) {
    EXPECT_EQ(Judge(500, R"({"errorId":"-1","severity":"-1"})"), (StatusPair{19999, 0xFFFFFFFFu}));
}

TEST_F(ReplyErrors, NumbersOutOfRangeEndAtTheRange) {
    EXPECT_EQ(Judge(500, R"({"errorId":"99999999999999999999"})"), (StatusPair{20000u + 0x7FFFFFFFu, 0}));
    EXPECT_EQ(Judge(500, R"({"errorId":"-99999999999999999999"})"), (StatusPair{20000u + 0x80000000u, 0}));
}

TEST_F(ReplyErrors, BodyThatIsNoJsonIs20000PlusTheStatus) {
    EXPECT_EQ(Judge(502, "<html>Bad gateway</html>"), (StatusPair{20502, 0}));
    EXPECT_EQ(Judge(502, R"(["errorId"])"), (StatusPair{20502, 0}));
    EXPECT_EQ(Judge(502, std::string(100000, '[')), (StatusPair{20502, 0}));
}

TEST_F(ReplyErrors, ChangedTokenAfter401IsARetry) {
    client->SetSessionToken(QM_W("New"));
    EXPECT_EQ(client->CheckForChangedSessionToken(client->GetSession(), 401, QM_W("new"), 20006), 1237u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::CheckForChangedSessionToken",
                        "OriginalSession [new] CurrentSession [New]"));
    EXPECT_TRUE(log.Has(Information,
                        "HTTP_STATUS_DENIED received but session token has changed. Retry required with new token"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::CheckForChangedSessionToken", "Exited [status=1237]"));
}

TEST_F(ReplyErrors, UnchangedTokenAfter401KeepsTheError) {
    client->SetSessionToken(QM_W("same"));
    EXPECT_EQ(client->CheckForChangedSessionToken(client->GetSession(), 401, QM_W("same"), 20006), 20006u);
    EXPECT_TRUE(log.Has(Information, "OriginalSession [same] CurrentSession [same]"));
    EXPECT_FALSE(log.Mentions("Retry required"));
}

TEST_F(ReplyErrors, ChangedTokenAfterAnotherStatusKeepsTheError) {
    client->SetSessionToken(QM_W("new"));
    EXPECT_EQ(client->CheckForChangedSessionToken(client->GetSession(), 403, QM_W("old"), 20403), 20403u);
    EXPECT_FALSE(log.Mentions("OriginalSession"));
}

TEST_F(ReplyErrors, WithRetryLooksAtTheTokenOnlyAfterError6) {
    client->SetSessionToken(QM_W("new"));
    const auto session = client->GetSession();
    EXPECT_EQ(client->ErrorFromStatusWithRetry(session, 401, QM_W("old"), Reply(R"({"errorId":"6"})")).error, 1237u);
    EXPECT_EQ(client->ErrorFromStatusWithRetry(session, 401, QM_W("new"), Reply(R"({"errorId":"6"})")).error, 20006u);
    EXPECT_EQ(client->ErrorFromStatusWithRetry(session, 403, QM_W("old"), Reply(R"({"errorId":"6"})")).error, 20006u);
    EXPECT_EQ(client->ErrorFromStatusWithRetry(session, 401, QM_W("old"), Reply("{}")).error, 20401u);
}

TEST_F(ReplyErrors, WithRetryKeepsTheSeverity) {
    EXPECT_EQ(client->ErrorFromStatusWithRetry(client->GetSession(), 409, QM_W(""),
                                               Reply(R"({"errorId":"1202","severity":"3"})")),
              (StatusPair{21202, 3}));
}

TEST_F(ReplyErrors, RevisionIsThatOfTheOneItem) {
    std::string revision;
    EXPECT_EQ(client->ExtractRevisionFromResponse(Reply(R"({"revision":"r9","name":"a"})"), revision), 0u);
    EXPECT_EQ(revision, "r9");
    EXPECT_TRUE(
        log.Has(Information, "NativeHttp", "CNativeHttp::ExtractRevisionFromResponse", "Returning revision:[r9]"));
}

TEST_F(ReplyErrors, RevisionOfTwoItemsIsNotTaken) {
    std::string revision = "kept";
    EXPECT_EQ(client->ExtractRevisionFromResponse(Reply(R"([{"revision":"a"},{"revision":"b"}])"), revision), 0u);
    EXPECT_EQ(revision, "kept");
    EXPECT_FALSE(log.Mentions("Returning revision"));
}

TEST_F(ReplyErrors, RevisionOfNoReplyIs13) {
    std::string revision = "kept";
    EXPECT_EQ(client->ExtractRevisionFromResponse(ResponseBuffer(), revision), 13u);
    EXPECT_EQ(revision, "kept");
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::ExtractRevisionFromResponse", "Response memory is null."));
}

TEST_F(ReplyErrors, RevisionOfAReplyThatIsNoJsonIs13) {
    std::string revision;
    EXPECT_EQ(client->ExtractRevisionFromResponse(Reply("no"), revision), 13u);
}

}  // namespace
}  // namespace quillmark::test
