#include "transfer/UploadStore.h"

#include <gtest/gtest.h>

#include "support/Rights.h"
#include "unit/host/HostFolder.h"

namespace quillmark::cli {
namespace {

class UploadStoreTest : public ::testing::Test {
protected:
    UploadStoreTest() : store(folder.Wide("session")) {
        record.key = {"https://files.example.com", "anna", QM_W("/Shared/a\nb"), QM_W("/home/anna/a\\b")};
        record.id = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
        record.file = {5368709120, CAttributeTime(132500000000000001), CAttributeTime(132400000000000002)};
        record.chunk = 65536;
        record.revision = "r 7";
        record.fingerprint = {1048576, "a448017aaf21d8525fc10ae87aa6729d"};
    }
    // The one file in the folder.
    [[nodiscard]] std::filesystem::path File() const {
        return std::filesystem::directory_iterator(folder.Path("uploads"))->path();
    }
    void Replace(const std::string& text, const std::string& by) const {
        std::string content = folder.Read("uploads/" + File().filename().string());
        content.replace(content.find(text), text.size(), by);
        static_cast<void>(folder.Write("uploads/" + File().filename().string(), content));
    }

    test::HostFolder folder;
    UploadStore store;
    UploadRecord record;
};

TEST_F(UploadStoreTest, WritesTheseLines) {
    ASSERT_EQ(store.Save(record), 0u);
    EXPECT_EQ(folder.Read("uploads/" + File().filename().string()),
              "quillmark upload 1\n"
              "server https://files.example.com\n"
              "user anna\n"
              "remote /Shared/a\\nb\n"
              "local /home/anna/a\\\\b\n"
              "id 0F8FAD5B-D9CB-469F-A165-70867728950E\n"
              "size 5368709120\n"
              "modified 132500000000000001\n"
              "created 132400000000000002\n"
              "chunk 65536\n"
              "revision r 7\n"
              "covered 1048576\n"
              "fingerprint a448017aaf21d8525fc10ae87aa6729d\n"
              "conflict 0\n");
}

TEST_F(UploadStoreTest, GivesBackWhatItWasGiven) {
    record.conflict = true;
    ASSERT_EQ(store.Save(record), 0u);
    UploadRecord loaded;
    ASSERT_EQ(store.Load(record.key, loaded), 0u);
    EXPECT_EQ(loaded.key, record.key);
    EXPECT_EQ(loaded.id, record.id);
    EXPECT_EQ(loaded.file, record.file);
    EXPECT_EQ(loaded.chunk, 65536);
    EXPECT_EQ(loaded.revision, "r 7");
    EXPECT_EQ(loaded.fingerprint, record.fingerprint);
    EXPECT_TRUE(loaded.conflict);
}

TEST_F(UploadStoreTest, KeepsFileAndFolderToTheirOwner) {
    ASSERT_EQ(store.Save(record), 0u);
    EXPECT_TRUE(test::IsItsOwnersAlone(File()));
    EXPECT_TRUE(test::IsItsOwnersAlone(folder.Path("uploads")));
}

TEST_F(UploadStoreTest, HasOneRecordForEachWay) {
    UploadRecord other = record;
    other.key.local = QM_W("/home/anna/other");
    other.chunk = 1;
    ASSERT_EQ(store.Save(record), 0u);
    ASSERT_EQ(store.Save(other), 0u);
    record.chunk = 2;
    ASSERT_EQ(store.Save(record), 0u);
    UploadRecord loaded;
    ASSERT_EQ(store.Load(other.key, loaded), 0u);
    EXPECT_EQ(loaded.chunk, 1);
    ASSERT_EQ(store.Load(record.key, loaded), 0u);
    EXPECT_EQ(loaded.chunk, 2);
}

TEST_F(UploadStoreTest, RemovesARecordOnce) {
    ASSERT_EQ(store.Save(record), 0u);
    EXPECT_EQ(store.Remove(record.key), 0u);
    EXPECT_EQ(store.Remove(record.key), 0u);
    UploadRecord loaded;
    EXPECT_EQ(store.Load(record.key, loaded), 2u);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path("uploads")));
}

TEST_F(UploadStoreTest, KnowsNothingWithoutItsFolder) {
    std::vector<UploadRecord> records;
    EXPECT_EQ(store.Load(record.key, record), 2u);
    EXPECT_EQ(store.Remove(record.key), 0u);
    EXPECT_EQ(store.List("https://files.example.com", "anna", records), 0u);
    EXPECT_TRUE(records.empty());
}

TEST_F(UploadStoreTest, TakesADamagedRecordForNone) {
    const std::pair<const char*, const char*> damages[] = {{"quillmark upload 1", "quillmark upload 2"},
                                                           {"id 0F8FAD5B", "id 0F8FAD5"},
                                                           {"size 53", "size x"},
                                                           {"chunk 65536", "chunk 0"},
                                                           {"covered 1048576", "covered 9999999999"},
                                                           {"user ", "usr "},
                                                           {"remote /", "remote \\x/"},
                                                           {"conflict 0\n", "conflict 0"}};
    for (const auto& [text, by] : damages) {
        ASSERT_EQ(store.Save(record), 0u);
        Replace(text, by);
        UploadRecord loaded;
        EXPECT_EQ(store.Load(record.key, loaded), 2u) << text;
    }
}

TEST_F(UploadStoreTest, DoesNotTakeAnotherUploadsFile) {
    ASSERT_EQ(store.Save(record), 0u);
    Replace("user anna", "user ben ");
    UploadRecord loaded;
    EXPECT_EQ(store.Load(record.key, loaded), 2u);
}

TEST_F(UploadStoreTest, ListsWhatOneUserHasOnOneServerInOrder) {
    UploadRecord second = record;
    second.key.remote = QM_W("/Shared/Z");
    UploadRecord ofBen = record;
    ofBen.key.user = "ben";
    UploadRecord elsewhere = record;
    elsewhere.key.server = "https://other.example.com";
    for (const UploadRecord& saved : {record, second, ofBen, elsewhere}) {
        ASSERT_EQ(store.Save(saved), 0u);
    }
    static_cast<void>(folder.Write("uploads/stray.upload", "no record"));
    static_cast<void>(folder.Write("uploads/half.upload.new", "quillmark upload 1\n"));
    std::vector<UploadRecord> records;
    ASSERT_EQ(store.List("https://files.example.com", "anna", records), 0u);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].key.remote, QM_W("/Shared/Z"));
    EXPECT_EQ(records[1].key.remote, QM_W("/Shared/a\nb"));
}

}  // namespace
}  // namespace quillmark::cli
