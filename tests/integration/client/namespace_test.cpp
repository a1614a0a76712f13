// Changing the server's tree: deleting, renaming, moving; the mapped folders; share links and statistics.
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

class NamespaceTest : public ClientTest {
protected:
    StatusPair Delete(const std::string& path, const Attributes& attributes = nullptr) {
        return Client()->DeletePath(WidenUtf8(path), attributes, nullptr);
    }
    StatusPair Rename(const std::string& from, const std::string& to, DWORD overwrite = 0) {
        return Client()->RenamePath(WidenUtf8(from), WidenUtf8(to), overwrite, m_renamed, nullptr);
    }
    [[nodiscard]] std::string RenamedName() const { return NarrowUtf8(m_renamed->GetName()); }

    Attributes m_renamed;
};

constexpr StatusPair Success{0, 0};

TEST_F(NamespaceTest, DeleteOfTheKnownRevisionRemovesTheItem) {
    StartAndLogin();
    const Attributes record = UploadAttributes(5);
    ASSERT_EQ(0u, Upload("/a b+c%.txt", "first", record));
    EXPECT_EQ(Success, Delete("/a b+c%.txt", record));
    EXPECT_EQ(21002u, Look("/a b+c%.txt"));
}

TEST_F(NamespaceTest, DeleteOfAStaleRevisionGives21077AndKeepsTheItem) {
    StartAndLogin();
    const Attributes stale = UploadAttributes(5);
    ASSERT_EQ(0u, Upload("/item", "first", stale));
    ASSERT_EQ(0u, Upload("/item", "the second"));
    EXPECT_EQ((StatusPair{21077, 1}), Delete("/item", stale));
    EXPECT_EQ("the second", ContentOf("/item"));
}

TEST_F(NamespaceTest, DeleteWithoutARevisionIsUnconditional) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/one", "content"));
    ASSERT_EQ(0u, Upload("/two", "content"));
    EXPECT_EQ(Success, Delete("/one", MakeAttributes()));
    EXPECT_EQ(Success, Delete("/two"));
    EXPECT_EQ(21002u, Look("/one"));
    EXPECT_EQ(21002u, Look("/two"));
}

TEST_F(NamespaceTest, DeleteOfAFolderRemovesWhatIsInIt) {
    StartAndLogin();
    ASSERT_EQ(0u, MakeFolder("/docs"));
    ASSERT_EQ(0u, Upload("/docs/a", "content"));
    EXPECT_EQ(Success, Delete("/docs"));
    EXPECT_EQ(21002u, Look("/docs/a"));
}

TEST_F(NamespaceTest, DeleteOfWhatIsNotThereOrMustStayGivesTheServersCode) {
    StartAndLogin();
    EXPECT_EQ((StatusPair{21002, 1}), Delete("/missing"));
    EXPECT_EQ((StatusPair{21005, 2}), Delete("/"));
}

TEST_F(NamespaceTest, RenameInTheSameFolderGivesTheItemItsNewName) {
    StartAndLogin();
    ASSERT_EQ(0u, MakeFolder("/docs"));
    ASSERT_EQ(0u, Upload("/docs/a.txt", "content"));
    EXPECT_EQ(Success, Rename("/docs/a.txt", "/docs/\xC3\xA4 & b.txt"));
    EXPECT_EQ("\xC3\xA4 & b.txt", RenamedName());
    EXPECT_EQ(7, m_renamed->GetSize());
    EXPECT_EQ("content", ContentOf("/docs/\xC3\xA4 & b.txt"));
    EXPECT_EQ(21002u, Look("/docs/a.txt"));
}

TEST_F(NamespaceTest, RenameOntoATakenNameGives21003WhateverTheFlag) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/a", "first"));
    ASSERT_EQ(0u, Upload("/b", "second"));
    for (const DWORD overwrite : {0u, 1u, 2u}) {
        EXPECT_EQ((StatusPair{21003, 1}), Rename("/a", "/b", overwrite)) << overwrite;
    }
    EXPECT_EQ("second", ContentOf("/b"));
}

TEST_F(NamespaceTest, RenameToAnotherFolderMoves) {
    StartAndLogin();
    ASSERT_EQ(0u, MakeFolder("/docs"));
    ASSERT_EQ(0u, MakeFolder("/other"));
    ASSERT_EQ(0u, Upload("/docs/a", "content"));
    EXPECT_EQ(Success, Rename("/docs/a", "/other/b%20c"));
    EXPECT_EQ("b%20c", RenamedName());
    EXPECT_EQ("content", ContentOf("/other/b%20c"));
    EXPECT_EQ(Success, Rename("/other", "/docs/inside"));
    EXPECT_EQ("content", ContentOf("/docs/inside/b%20c"));
}

TEST_F(NamespaceTest, MoveOverwritesOnlyWithTheFlag1) {
    StartAndLogin();
    ASSERT_EQ(0u, MakeFolder("/docs"));
    ASSERT_EQ(0u, Upload("/a", "new"));
    ASSERT_EQ(0u, Upload("/docs/a", "old"));
    EXPECT_EQ((StatusPair{21003, 1}), Rename("/a", "/docs/a", 0));
    EXPECT_EQ((StatusPair{21003, 1}), Rename("/a", "/docs/a", 2));
    EXPECT_EQ("old", ContentOf("/docs/a"));
    EXPECT_EQ(Success, Rename("/a", "/docs/a", 1));
    EXPECT_EQ("new", ContentOf("/docs/a"));
    EXPECT_EQ(21002u, Look("/a"));
}

TEST_F(NamespaceTest, MoveThatMakesNoSenseGivesTheServersCode) {
    StartAndLogin();
    ASSERT_EQ(0u, MakeFolder("/docs"));
    ASSERT_EQ(0u, MakeFolder("/docs/deep"));
    EXPECT_EQ((StatusPair{21002, 1}), Rename("/missing", "/docs/missing"));
    EXPECT_EQ((StatusPair{21005, 2}), Rename("/docs", "/docs/deep/docs"));
}

TEST_F(NamespaceTest, ServersMappedFoldersAreHandedOut) {
    StartAndLogin(
        {"--no-sync", "--mapping", "Team Docs;type=smb;mode=automatic;description=Papers;limit=5000000000", "--mapping",
         "Archive;type=webdav;status=TIMEOUT;mode=OFFLINE;readonly;no-sharing;no-delta;no-locking;no-resumable"});
    MappingList mappings;
    ResponseBuffer reply;
    ASSERT_EQ(Success, Client()->GetRemoteFolderMap(mappings, reply, nullptr));
    ASSERT_EQ(2u, mappings.size());
    const CMapping& docs = *mappings.front();
    EXPECT_EQ("/Team Docs", NarrowUtf8(docs.path));
    EXPECT_EQ("Papers", NarrowUtf8(docs.attributes->description));
    EXPECT_EQ("WRITE", NarrowUtf8(docs.attributes->permissions));
    EXPECT_EQ("smb", NarrowUtf8(docs.attributes->type));
    EXPECT_EQ(2u, docs.attributes->status);
    EXPECT_EQ(2u, docs.attributes->mode);
    EXPECT_TRUE(docs.attributes->allowSharing);
    EXPECT_TRUE(docs.attributes->hasIdentifiers);
    EXPECT_TRUE(docs.capabilities->deltaUpload && docs.capabilities->locking && docs.capabilities->resumableUploads);
    EXPECT_EQ(5'000'000'000u, docs.capabilities->fileSizeUploadLimit);
    const CMapping& archive = *mappings.back();
    EXPECT_EQ("/Archive", NarrowUtf8(archive.path));
    EXPECT_EQ("ROOT_READONLY", NarrowUtf8(archive.attributes->permissions));
    EXPECT_EQ(1u, archive.attributes->status);
    EXPECT_EQ(3u, archive.attributes->mode);
    EXPECT_FALSE(archive.attributes->allowSharing);
    EXPECT_FALSE(archive.capabilities->deltaUpload || archive.capabilities->locking ||
                 archive.capabilities->resumableUploads);
}

TEST_F(NamespaceTest, MappedFoldersThatRefuseGiveTheServersCode) {
    StartAndLogin({"--no-sync", "--mapping", "Fixed;readonly", "--mapping", "Away;status=OFFLINE"});
    EXPECT_EQ(21005u, Upload("/Fixed/a", "content"));
    EXPECT_EQ(21005u, MakeFolder("/Fixed/new"));
    EXPECT_EQ((StatusPair{21031, 3}), Delete("/Away/a"));
    EXPECT_EQ(21031u, Look("/Away"));
    Attributes record;
    ASSERT_EQ(0u, Look("/Fixed", &record));
    EXPECT_TRUE(record->IsReadOnly());
    EXPECT_TRUE(record->IsFolderReadOnly());
}

TEST_F(NamespaceTest, ServerWithoutAnyFolderHasNoMappings) {
    StartAndLogin();
    MappingList mappings;
    ResponseBuffer reply;
    EXPECT_EQ((StatusPair{13, 0}), Client()->GetRemoteFolderMap(mappings, reply, nullptr));
    ASSERT_EQ(0u, MakeFolder("/docs"));
    EXPECT_EQ(Success, Client()->GetRemoteFolderMap(mappings, reply, nullptr));
    ASSERT_EQ(1u, mappings.size());
    EXPECT_EQ("/docs", NarrowUtf8(mappings.front()->path));
}

TEST_F(NamespaceTest, ShareSendsALetterToEachRecipient) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/b", "content"));
    ASSERT_EQ(0u, Upload("/a & c", "content"));
    const auto request = std::make_shared<ShareRequest>();
    request->name = QM_W("Plans");
    request->message = QM_W("a=b&c \u00E4");
    request->paths = {QM_W("/b"), QM_W("/a & c")};
    request->targets = {QM_W("carl"), QM_W("bob@example.com")};
    EXPECT_EQ(Success, Client()->GenerateLink(request, nullptr));
    const std::vector<nlohmann::json> letters = Server().Letters();
    ASSERT_EQ(2u, letters.size());
    EXPECT_EQ("bob@example.com", letters[0].at("recipient"));
    EXPECT_EQ("carl", letters[1].at("recipient"));
    EXPECT_EQ("Plans", letters[0].at("name"));
    EXPECT_EQ("a=b&c \xC3\xA4", letters[0].at("message"));
    EXPECT_EQ(nlohmann::json({"/a & c", "/b"}), letters[0].at("paths"));
    EXPECT_EQ(0u, letters[0].at("link").get<std::string>().find(Server().HttpUrl() + "/share/"));
}

TEST_F(NamespaceTest, ShareOfNothingIsRefused) {
    StartAndLogin();
    EXPECT_EQ((StatusPair{21001, 2}), Client()->GenerateLink(std::make_shared<ShareRequest>(), nullptr));
    const auto request = std::make_shared<ShareRequest>();
    request->paths = {QM_W("/missing")};
    EXPECT_EQ((StatusPair{21002, 1}), Client()->GenerateLink(request, nullptr));
    EXPECT_TRUE(Server().Letters().empty());
}

TEST_F(NamespaceTest, StatisticsArriveAsTheyWereGiven) {
    StartAndLogin({"--no-sync", "--audit"});
    EXPECT_EQ(Success, Client()->PublishSyncStats("{\"files\": 3, \"name\": \"\xC3\xA4+&=%\"}", nullptr));
    EXPECT_EQ(Success, Client()->PublishSyncStats("", nullptr));
    EXPECT_EQ((std::vector<std::string>{"{\"files\": 3, \"name\": \"\xC3\xA4+&=%\"}", ""}), Server().AuditTexts());
}

TEST_F(NamespaceTest, StatisticsWithoutALoggingEndpointGive1341AndSendNothing) {
    StartAndLogin();
    Server().ResetStatistics();
    EXPECT_EQ((StatusPair{1341, 0}), Client()->PublishSyncStats("{}", nullptr));
    EXPECT_EQ(0u, Server().ConnectionCount());
    EXPECT_TRUE(Server().AuditTexts().empty());
}

}  // namespace
}  // namespace quillmark::testing
