// The main road against servers of several API versions, over HTTP and HTTPS.
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

struct ServerKind {
    const char* name;
    std::vector<std::string> options;
    bool secure;
    std::string base;                  // of the operations' paths, "TOKEN" standing for the session token
    std::uint64_t looksAfterDownload;  // second requests for the record that comes with a download
};

void PrintTo(const ServerKind& kind, std::ostream* stream) {
    *stream << kind.name;
}

class ApiVersionTest : public ClientTest, public ::testing::WithParamInterface<ServerKind> {
protected:
    void SetUp() override { StartAndLogin(GetParam().options, GetParam().secure); }

    // The server's path of an item.
    std::string PathOf(const std::string& item) {
        std::string path = GetParam().base + "/folders" + item;
        const std::size_t at = path.find("TOKEN");
        return at == std::string::npos ? path : path.replace(at, 5, Token());
    }
};

INSTANTIATE_TEST_SUITE_P(
    Servers, ApiVersionTest,
    ::testing::Values(ServerKind{"Api10", {"--no-sync", "--api", "1.0=/api/1.0"}, false, "/api/TOKEN", 1},
                      ServerKind{"Api10OverHttps", {"--no-sync", "--api", "1.0=/sync"}, true, "/api/TOKEN", 1},
                      ServerKind{"BareMajorNumber", {"--no-sync", "--api", "1=/api/1"}, false, "/api/TOKEN", 1},
                      ServerKind{"Api11", {"--no-sync", "--api", "1.1"}, false, "/api/1.1", 1},
                      ServerKind{"Api12", {"--no-sync", "--api", "1.2"}, false, "/api/1.2", 0},
                      ServerKind{"Api17", {"--no-sync"}, false, "/api/1.7", 0},
                      ServerKind{"Api17OverHttps", {"--no-sync"}, true, "/api/1.7", 0},
                      ServerKind{"HighestOfSeveral",
                                 {"--no-sync", "--api", "1.0", "--api", "1.3", "--api", "1.12", "--api", "1.51",
                                  "--api", "2.0"},
                                 false,
                                 "/api/1.12",
                                 0}),
    [](const auto& instance) { return instance.param.name; });

TEST_P(ApiVersionTest, FileGoesUpIsListedAndComesBack) {
    ASSERT_EQ(0u, MakeFolder("/folder"));
    const std::string content = Pattern(300'000);
    ASSERT_EQ(0u, Upload("/folder/item", content));
    EXPECT_EQ(1u, Server().RequestCount("POST", PathOf("/folder/item")));

    ItemList children;
    Attributes self;
    ASSERT_EQ(0u, Client()->GetPathListing(QM_W("/folder"), children, self, nullptr).error);
    ASSERT_EQ(1u, children.size());
    EXPECT_TRUE(children.front()->GetName() == QM_W("item"));
    EXPECT_EQ(300'000, children.front()->GetSize());
    EXPECT_EQ("2026-01-02T03:04:05.678Z", NarrowUtf8(children.front()->GetLastWriteTime().ToText()));

    EXPECT_TRUE(ContentOf("/folder/item") == content);
}

TEST_P(ApiVersionTest, RecordOfADownloadIsAskedForBelowApi12Only) {
    ASSERT_EQ(0u, Upload("/item", "content"));
    Attributes expected;
    ASSERT_EQ(0u, Look("/item", &expected));
    Server().ResetStatistics();
    const Attributes record = MakeAttributes();
    ASSERT_EQ(0u, Client()->DownloadFile(QM_W("/item"), WidenUtf8(LocalPath("item")), expected, record, QM_W(""),
                                         nullptr, nullptr, 0));
    EXPECT_TRUE(record->Equals(*expected));
    EXPECT_EQ(1 + GetParam().looksAfterDownload, Server().RequestCount("GET", PathOf("/item")));
}

TEST_P(ApiVersionTest, AttributesAreSetAndRead) {
    ASSERT_EQ(0u, Upload("/item", "content"));
    Attributes values = MakeAttributes();
    const CAttributeTime creation = CAttributeTime::Parse("1999-12-31T23:59:59.999Z");
    const CAttributeTime write = CAttributeTime::Parse("2040-02-29T12:00:00.001Z");
    values->SetCreationTime(creation);
    values->SetLastWriteTime(write);
    values->SetFileAttributes(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    ASSERT_EQ(0u, Client()->SetPathAttributes(QM_W("/item"), values, nullptr).error);
    Attributes record;
    ASSERT_EQ(0u, Look("/item", &record));
    EXPECT_TRUE(record->Equals(*values));
    EXPECT_EQ(creation, record->GetCreationTime());
    EXPECT_EQ(write, record->GetLastWriteTime());
    EXPECT_EQ(static_cast<DWORD>(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN), record->GetFileAttributes());
    EXPECT_EQ(7, record->GetSize());
}

TEST_P(ApiVersionTest, VersionTextIsRead) {
    WideString version;
    ASSERT_EQ(0u, Client()->Version(version));
    EXPECT_EQ("0.1.0", NarrowUtf8(version));
}

class UnknownApiTest : public ClientTest {};

TEST_F(UnknownApiTest, ServerOfAnotherMajorVersionIsIncompatible) {
    Start({"--no-sync", "--api", "2.0", "--api", "1.51"});
    EXPECT_EQ(19006u, Client().Login());
}

TEST_F(UnknownApiTest, ServerThatCannotBeReachedGives12029AndLaterWorks) {
    Start();
    Server().Kill();
    EXPECT_EQ(12029u, Client().Login());
    Server().Start();
    EXPECT_EQ(0u, Client().Login());
}

}  // namespace
}  // namespace quillmark::testing
