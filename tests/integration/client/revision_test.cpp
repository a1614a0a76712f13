// Revisions: what an upload and a download come to when the item has changed meanwhile.
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

class RevisionTest : public ClientTest {
protected:
    void SetUp() override {
        StartAndLogin();
        m_first = UploadAttributes(5);
        ASSERT_EQ(0u, Upload("/item", "first", m_first));
        m_firstRevision = m_first->GetRevision();
    }

    // Gives the item another content and revision; the client's record is out of date then.
    void ChangeOnTheServer() {
        m_second = UploadAttributes(10);
        ASSERT_EQ(0u, Upload("/item", "the second", m_second));
        ASSERT_NE(m_firstRevision, m_second->GetRevision());
    }

    DWORD Download(const Attributes& expected, const Attributes& attributes) {
        return Client()->DownloadFile(QM_W("/item"), WidenUtf8(LocalPath("item")), expected, attributes, QM_W(""),
                                      nullptr, nullptr, 0);
    }

    Attributes m_first;
    Attributes m_second;
    std::string m_firstRevision;
};

TEST_F(RevisionTest, UploadForThePresentRevisionIsStored) {
    const Attributes attributes = UploadAttributes(10);
    attributes->SetRevision(m_firstRevision);
    ASSERT_EQ(0u, Upload("/item", "the second", attributes));
    EXPECT_NE(m_firstRevision, attributes->GetRevision());
    EXPECT_EQ("the second", ContentOf("/item"));
}

TEST_F(RevisionTest, RefusedUploadHandsBackTheServersRecord) {
    ChangeOnTheServer();
    const Attributes attributes = UploadAttributes(9);
    attributes->SetRevision(m_firstRevision);
    EXPECT_EQ(21077u, Upload("/item", "the third", attributes));
    EXPECT_TRUE(attributes->Equals(*m_second));
    EXPECT_EQ(10, attributes->GetSize());
    EXPECT_EQ(m_second->GetRevision(), attributes->GetRevision());
    EXPECT_EQ("the second", ContentOf("/item"));
}

TEST_F(RevisionTest, LargeUploadIsRefusedAsWell) {
    ChangeOnTheServer();
    const std::string content = Pattern(20'000'000);
    const Attributes attributes = UploadAttributes(20'000'000);
    attributes->SetRevision(m_firstRevision);
    EXPECT_EQ(21077u, Upload("/item", content, attributes));
    EXPECT_EQ(m_second->GetRevision(), attributes->GetRevision());
    EXPECT_EQ("the second", ContentOf("/item"));
}

TEST_F(RevisionTest, DownloadOfAStaleRevisionBringsThePresentContentAndTheOldRecord) {
    ChangeOnTheServer();
    const Attributes old = m_first->Clone();
    const Attributes attributes = MakeAttributes();
    EXPECT_EQ(0u, Download(m_first, attributes));
    EXPECT_EQ("the second", ReadFileAt(LocalPath("item")));
    EXPECT_TRUE(attributes->Equals(*old));
    EXPECT_EQ(m_firstRevision, attributes->GetRevision());
}

TEST_F(RevisionTest, DownloadIntoTheRecordThatIsExpectedLeavesItTheOldOne) {
    ChangeOnTheServer();
    const Attributes old = m_first->Clone();
    EXPECT_EQ(0u, Download(m_first, m_first));
    EXPECT_EQ("the second", ReadFileAt(LocalPath("item")));
    EXPECT_TRUE(m_first->Equals(*old));
}

TEST_F(RevisionTest, RevisionThatChangesBetweenLookAndDownloadGivesTheOldRecord) {
    Server().AddFaults({{"method", "GET"}, {"path", "/api/1.7/folders/item"}, {"kind", "stale-revision"}});
    const Attributes attributes = MakeAttributes();
    EXPECT_EQ(0u, Download(m_first, attributes));
    EXPECT_EQ(m_firstRevision, attributes->GetRevision());
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(RevisionTest, RefusedDownloadWhoseRepetitionFindsTheSameRevisionGivesThePresentRecord) {
    Server().AddFaults({{"method", "GET"},
                        {"path", "/api/1.7/folders/item"},
                        {"kind", "reply"},
                        {"status", 409},
                        {"body", {{"errorId", "1077"}, {"severity", "1"}}}});
    const Attributes expected = m_first->Clone();
    expected->SetSize(1);  // the server knows better
    const Attributes attributes = MakeAttributes();
    EXPECT_EQ(0u, Download(expected, attributes));
    EXPECT_EQ("first", ReadFileAt(LocalPath("item")));
    EXPECT_EQ(5, attributes->GetSize());
    EXPECT_EQ(m_firstRevision, attributes->GetRevision());
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(RevisionTest, MissingItemGives21002AndLeavesTheLocalFileAlone) {
    WriteFileAt(LocalPath("item"), "what was there");
    EXPECT_EQ(21002u, Client()->DownloadFile(QM_W("/missing"), WidenUtf8(LocalPath("item")), nullptr, MakeAttributes(),
                                             QM_W(""), nullptr, nullptr, 0));
    EXPECT_EQ("what was there", ReadFileAt(LocalPath("item")));
}

}  // namespace
}  // namespace quillmark::testing
