// Names in every script, and names that no URL can carry.
#include <filesystem>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

struct Name {
    const char* title;
    std::string text;  // UTF-8
};

void PrintTo(const Name& name, std::ostream* stream) {
    *stream << name.title;
}

std::string Repeat(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

class NameTest : public ClientTest, public ::testing::WithParamInterface<Name> {};

INSTANTIATE_TEST_SUITE_P(
    Names, NameTest,
    ::testing::Values(Name{"Spaces", "two  spaces and more "}, Name{"Plus", "a+b ++"},
                      Name{"Percent", "100% %41 %zz %"}, Name{"UrlMarks", "a?b#c&d=e;f:g@h!i$j'k(l)m*n,o"},
                      Name{"Quotes", "\"quoted\" \\back\\ `tick`"}, Name{"Brackets", "<a>[b]{c}|d^"},
                      Name{"Tilde", "~tilde~"}, Name{"Dots", "...three.dots..."},
                      Name{"Umlauts", "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F"}, Name{"Decomposed", "a\xCC\x88o\xCC\x88"},
                      Name{"Chinese", "\xE4\xB8\xAD\xE6\x96\x87"}, Name{"Arabic", "\xD8\xB9\xD8\xB1\xD8\xA8\xD9\x8A"},
                      Name{"Emoji", "\xF0\x9F\x93\x81\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB"},
                      Name{"ControlCharacters", "tab\tline\nbell\x07"}, Name{"Last", "\xF4\x8F\xBF\xBD"},
                      Name{"Ascii255", std::string(255, 'n')}, Name{"Euros255", Repeat("\xE2\x82\xAC", 85)},
                      Name{"Emoji252", Repeat("\xF0\x9F\x98\x80", 63)}),
    [](const auto& instance) { return instance.param.title; });

TEST_P(NameTest, FolderAndFileOfThatNameGoUpAreListedAndComeBack) {
    StartAndLogin();
    const std::string& name = GetParam().text;
    const std::string folder = "/" + name;
    const std::string path = folder + "/" + name;
    ASSERT_EQ(0u, MakeFolder(folder));
    // The local file has the name too.
    std::filesystem::create_directory(LocalPath("there"));
    const std::string local = LocalPath("there/") + name;
    const Attributes stored = UploadAttributes(7);
    ASSERT_EQ(0u, Client()->UploadFile(WriteFileAt(local, "content"), WidenUtf8(path), stored, nullptr, nullptr, 0));
    EXPECT_EQ(name, NarrowUtf8(stored->GetName()));

    ItemList children;
    Attributes self;
    ASSERT_EQ(0u, Client()->GetPathListing(WidenUtf8(folder), children, self, nullptr).error);
    EXPECT_EQ(name, NarrowUtf8(self->GetName()));
    ASSERT_EQ(1u, children.size());
    EXPECT_EQ(name, NarrowUtf8(children.front()->GetName()));

    std::filesystem::remove(local);
    ASSERT_EQ(0u, Client()->DownloadFile(WidenUtf8(path), WidenUtf8(local), nullptr, MakeAttributes(), QM_W(""),
                                         nullptr, nullptr, 0));
    EXPECT_EQ("content", ReadFileAt(local));
    Attributes values = UploadAttributes(0);
    ASSERT_EQ(0u, Client()->SetPathAttributes(WidenUtf8(path), values, nullptr).error);
    EXPECT_EQ(name, NarrowUtf8(values->GetName()));
}

class UnmappableNameTest : public ClientTest {};

TEST_F(UnmappableNameTest, LoneSurrogateIsRefusedWith1113ByEveryOperation) {
    StartAndLogin();
    Server().ResetStatistics();
    const char16_t lone[] = {u'/', u'a', 0xD800, u'b', 0};
    const WideString path(lone);
    ItemList children;
    Attributes record = UploadAttributes(7);
    EXPECT_EQ(1113u, Client()->GetPathListing(path, children, record, nullptr).error);
    EXPECT_EQ(1113u, Client()->GetPathAttributes(path, record, nullptr).error);
    EXPECT_EQ(1113u, Client()->CreateFolder(path, record, nullptr).error);
    EXPECT_EQ(1113u, Client()->CreateFolder(path + QM_W("/new"), record, nullptr).error);
    record = UploadAttributes(7);
    EXPECT_EQ(1113u, Client()->SetPathAttributes(path, record, nullptr).error);
    EXPECT_EQ(1113u, Client()->UploadFile(WriteFileAt(LocalPath("local"), "content"), path, UploadAttributes(7),
                                          nullptr, nullptr, 0));
    EXPECT_EQ(1113u, Client()->DownloadFile(path, WidenUtf8(LocalPath("local")), nullptr, MakeAttributes(), QM_W(""),
                                            nullptr, nullptr, 0));
    EXPECT_EQ("content", ReadFileAt(LocalPath("local")));
    EXPECT_EQ(0u, Server().ConnectionCount());
}

TEST_F(UnmappableNameTest, LocalFileWhoseNameIsNotUtf8IsStillUploaded) {
    StartAndLogin();
    // The byte 0xFF of the file system's name is U+DCFF in paths.
    WriteFileAt(LocalPath("a\xFF"
                          "b"),
                "content");
    const char16_t leaf[] = {u'/', u'a', 0xDCFF, u'b', 0};
    EXPECT_EQ(0u,
              Client()->UploadFile(WidenUtf8(LocalPath("")).Substring(0, WidenUtf8(LocalPath("")).size() - 1) + leaf,
                                   QM_W("/named"), UploadAttributes(7), nullptr, nullptr, 0));
    EXPECT_EQ("content", ContentOf("/named"));
}

}  // namespace
}  // namespace quillmark::testing
