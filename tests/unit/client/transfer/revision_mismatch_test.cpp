// Downloads whose expected revision is no longer the item's.
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class RevisionMismatch : public ClientTest {
protected:
    void SetUp() override {
        Discover();
        expected->SetRevision("r1-abc");
        expected->SetSize(5);
    }
    DWORD Run() {
        return client->DownloadFile(QM_W("/a"), QM_W("f"), expected, attributes, QM_W(""), nullptr, nullptr, 7);
    }
    void ReplyMismatch() { factory->Reply(409, R"({"errorId":"1077"})"); }
    void ReplyContentsAndRecord(const std::string& revision) {
        factory->Reply(200);
        factory->Reply(200, R"({"name":"a","size":9,"revision":")" + revision + "\"}");
    }

    static constexpr const char* Modified =
        "File was modified after we downloaded it. Returning old cached attributes so that file will be seen as out of "
        "sync on next check.";

    std::shared_ptr<IServerAttributes> expected = MakeAttributes();
    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
};

TEST_F(RevisionMismatch, DownloadsAgainIntoTheSameFileWithoutARevision) {
    ReplyMismatch();
    ReplyContentsAndRecord("r2");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()",
                     "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/folders/a?revision=r1-abc\", \"GET\", c3, null, 0x00000000, false)",
                     "SendRequestGetResponse(r3, \"f\", 0, no sink 7, report)",
                     "ReadResponse(r3)",
                     "GetHTTPStatus(r3)",
                     "Close(r3)",
                     "CreateConnection()",
                     "Connection::Initialise(c4, \"\", 0, s1, 0, 0, 0, 0)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r4, \"/qm/folders/a\", \"GET\", c4, null, 0x00000000, false)",
                     "SendRequestGetResponse(r4, \"f\", 0, no sink 7, report)",
                     "GetHTTPStatus(r4)",
                     "Close(r4)",
                     "CreateConnection()",
                     "Connection::Initialise(c5, \"\", 0, s1, 0, 0, 0, 0)",
                     "CreateRequest(s1)",
                     "Request::Initialise(r5, \"/qm/folders/a\", \"GET\", c5, null, 0x00000000, false)",
                     "GetResponse(r5)",
                     "GetHTTPStatus(r5)"}));
}

TEST_F(RevisionMismatch, ADifferentRevisionGivesTheOldRecordBack) {
    ReplyMismatch();
    ReplyContentsAndRecord("r2");
    EXPECT_EQ(Run(), 0u);
    EXPECT_TRUE(attributes->Equals(*expected));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::HandleRevisionMismatch", Modified));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::HandleRevisionMismatch", "Exited [status=0]"));
}

TEST_F(RevisionMismatch, TheSameRevisionInAnotherCaseGivesTheNewRecord) {
    ReplyMismatch();
    ReplyContentsAndRecord("R1-ABC");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "R1-ABC");
    EXPECT_EQ(attributes->GetSize(), 9);
    EXPECT_FALSE(log.Mentions("File was modified"));
}

TEST_F(RevisionMismatch, LettersBeyondAsciiHaveNoCaseEither) {
    expected->SetRevision("\xC3\xBC");
    ReplyMismatch();
    ReplyContentsAndRecord("\xC3\x9C");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(attributes->GetRevision(), "\xC3\x9C");
}

TEST_F(RevisionMismatch, ALongerRevisionIsADifferentOne) {
    ReplyMismatch();
    ReplyContentsAndRecord("r1-abcd");
    EXPECT_EQ(Run(), 0u);
    EXPECT_TRUE(attributes->Equals(*expected));
}

TEST_F(RevisionMismatch, OneRecordForBothGivesTheOldOneBack) {
    attributes = expected;
    ReplyMismatch();
    ReplyContentsAndRecord("r2");
    EXPECT_EQ(Run(), 0u);
    EXPECT_EQ(expected->GetRevision(), "r1-abc");
    EXPECT_EQ(expected->GetSize(), 5);
}

TEST_F(RevisionMismatch, AFailedSecondDownloadIsItsCode) {
    ReplyMismatch();
    factory->Reply(404);
    EXPECT_EQ(Run(), 20404u);
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::HandleRevisionMismatch",
                        "Failed to download file, error code: 20404"));
    EXPECT_EQ(attributes->GetRevision(), "");
}

TEST_F(RevisionMismatch, AServerThatRefusesEveryRevisionIsAskedTwiceOnly) {
    ReplyMismatch();
    ReplyMismatch();
    EXPECT_EQ(Run(), 21077u);
    EXPECT_EQ(factory->Count("CreateRequest"), 2u);
}

TEST_F(RevisionMismatch, WithoutAnExpectationItIsTheServersCode) {
    expected = nullptr;
    ReplyMismatch();
    EXPECT_EQ(Run(), 21077u);
    EXPECT_EQ(factory->Count("CreateRequest"), 1u);
}

}  // namespace
}  // namespace quillmark::test
