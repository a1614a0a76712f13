#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::platform::PathFromBytes;
using quillmark::platform::PathToBytes;
using quillmark::test::FilesTestFolder;

// An environment variable that has its old value again after the test.
class Variable {
public:
    Variable(const char* name, const std::string& value) : m_name(name) {
        if (const char* old = ::getenv(name)) {
            m_old = old;
        }
        ::setenv(name, value.c_str(), 1);
    }
    ~Variable() { m_old ? ::setenv(m_name, m_old->c_str(), 1) : ::unsetenv(m_name); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_old;
};

class FoldersTest : public FilesTestFolder {};

TEST_F(FoldersTest, MakesAndRemovesAFolder) {
    EXPECT_TRUE(CreateDirectoryW(Path(u"ö").c_str(), nullptr));
    EXPECT_TRUE(std::filesystem::is_directory(Bytes("ö")));
    EXPECT_TRUE(RemoveDirectoryW(Path(u"ö").c_str()));
    EXPECT_FALSE(Exists("ö"));
}

TEST_F(FoldersTest, SaysWhyItCannotMakeOne) {
    Make("file", "");
    const std::pair<std::u16string, DWORD> cases[] = {{Path(u"file"), 183},
                                                      {Path(u"."), 183},
                                                      {Path(u"none/d"), 3},
                                                      {Path(u"file/d"), 3},
                                                      {u"", 3},
                                                      {Path(u"\xD800"), 123},
                                                      {Path(std::u16string(256, u'a')), 206}};
    for (const auto& [path, error] : cases) {
        EXPECT_FALSE(CreateDirectoryW(path.c_str(), nullptr));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_FALSE(CreateDirectoryW(nullptr, nullptr));
    EXPECT_EQ(GetLastError(), 3u);
}

TEST_F(FoldersTest, SaysWhyItCannotRemoveOne) {
    Make("file", "");
    ASSERT_TRUE(CreateDirectoryW(Path(u"full").c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(Path(u"full/d").c_str(), nullptr));
    ASSERT_EQ(::symlink("full/d", Bytes("link").c_str()), 0);
    const std::pair<std::u16string, DWORD> cases[] = {{Path(u"full"), 145},
                                                      {Path(u"file"), 267},
                                                      {Path(u"link"), 267},
                                                      {Path(u"none"), 2},
                                                      {Path(u"none/d"), 3},
                                                      {Path(u"file/d"), 3},
                                                      {u"", 3}};
    for (const auto& [path, error] : cases) {
        EXPECT_FALSE(RemoveDirectoryW(path.c_str()));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_FALSE(RemoveDirectoryW(nullptr));
    EXPECT_EQ(GetLastError(), 3u);
}

TEST_F(FoldersTest, GivesTheCurrentFolderOrTheSizeItNeeds) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Root());
    const std::u16string expected = PathFromBytes(std::filesystem::current_path().string());
    const auto length = static_cast<DWORD>(expected.size());
    EXPECT_EQ(GetCurrentDirectoryW(0, nullptr), length + 1);
    std::u16string buffer(length + 1, u'x');
    EXPECT_EQ(GetCurrentDirectoryW(length, buffer.data()), length + 1);
    EXPECT_EQ(GetCurrentDirectoryW(length + 1, buffer.data()), length);
    EXPECT_EQ(std::u16string(buffer.c_str()), expected);
    ASSERT_TRUE(CreateDirectoryW(Path(u"gone").c_str(), nullptr));
    std::filesystem::current_path(Bytes("gone"));
    ASSERT_TRUE(RemoveDirectoryW(Path(u"gone").c_str()));
    EXPECT_EQ(GetCurrentDirectoryW(0, nullptr), 0u);
    EXPECT_EQ(GetLastError(), 3u);
    std::filesystem::current_path(before);
}

TEST_F(FoldersTest, TheTemporaryFolderEndsInASeparator) {
    std::array<WCHAR, 300> buffer{};
    {
        const Variable variable("TMPDIR", "/var/tmp");
        EXPECT_EQ(GetTempPathW(300, buffer.data()), 9u);
        EXPECT_EQ(std::u16string(buffer.data()), u"/var/tmp/");
        EXPECT_EQ(GetTempPathW(9, buffer.data()), 10u);
        EXPECT_EQ(GetTempPathW(10, buffer.data()), 9u);
    }
    {
        const Variable variable("TMPDIR", "/var/tmp/");
        EXPECT_EQ(GetTempPathW(0, nullptr), 10u);
    }
    const Variable variable("TMPDIR", "");
    EXPECT_EQ(GetTempPathW(300, buffer.data()), 5u);
    EXPECT_EQ(std::u16string(buffer.data()), u"/tmp/");
}

class TempFileNameTest : public FilesTestFolder {
protected:
    std::u16string Root16() const { return PathFromBytes(Root()); }
    std::array<WCHAR, MAX_PATH> m_name{};
};

TEST_F(TempFileNameTest, MakesTheNameOfAGivenNumberAndNoFile) {
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), u"prefix", 0x1A2B, m_name.data()), 0x1A2Bu);
    EXPECT_EQ(std::u16string(m_name.data()), Path(u"pre1A2B.tmp"));
    EXPECT_EQ(GetTempFileNameW((Root16() + u"/").c_str(), u"", 0xABC0005, m_name.data()), 5u);
    EXPECT_EQ(std::u16string(m_name.data()), Path(u"5.tmp"));
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), nullptr, 0xF, m_name.data()), 15u);
    EXPECT_EQ(std::u16string(m_name.data()), Path(u"F.tmp"));
    EXPECT_TRUE(std::filesystem::is_empty(Root()));
}

TEST_F(TempFileNameTest, CutsNoCharacterOfThePrefixInTwo) {
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), u"ab\xD83D\xDE00", 0xF, m_name.data()), 15u);
    EXPECT_EQ(std::u16string(m_name.data()), Path(u"abF.tmp"));
}

TEST_F(TempFileNameTest, CreatesAFileOfAFreeNumber) {
    std::set<std::u16string> names;
    for (int i = 0; i < 100; ++i) {
        const UINT number = GetTempFileNameW(Root16().c_str(), u"qm", 0, m_name.data());
        ASSERT_NE(number, 0u);
        ASSERT_LE(number, 0xFFFFu);
        names.insert(m_name.data());
        std::string bytes;
        ASSERT_TRUE(PathToBytes(m_name.data(), bytes));
        struct stat data {};
        ASSERT_EQ(::stat(bytes.c_str(), &data), 0);
        EXPECT_EQ(data.st_size, 0);
        EXPECT_EQ(data.st_mode & 0777u, 0600u);
    }
    EXPECT_EQ(names.size(), 100u);
}

TEST_F(TempFileNameTest, TakesTheNumbersThatAreLeftAndThenFailsWith80) {
    Make("used0", "kept");
    Make("used1", "kept");
    for (UINT number = 1; number <= 0xFFFF; ++number) {
        if (number != 0x1234 && number != 0xFFFF) {
            const std::string used = Bytes(number % 2 == 0 ? "used0" : "used1");
            std::array<char, 16> name{};
            std::snprintf(name.data(), name.size(), "qm%X.tmp", number);
            ASSERT_EQ(::link(used.c_str(), Bytes(name.data()).c_str()), 0);
        }
    }
    const std::set<UINT> numbers = {GetTempFileNameW(Root16().c_str(), u"qm", 0, m_name.data()),
                                    GetTempFileNameW(Root16().c_str(), u"qm", 0, m_name.data())};
    EXPECT_EQ(numbers, (std::set<UINT>{0x1234, 0xFFFF}));
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), u"qm", 0, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 80u);
}

TEST_F(TempFileNameTest, SaysWhyItCannot) {
    Make("file", "");
    EXPECT_EQ(GetTempFileNameW(Path(u"none").c_str(), u"qm", 0, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 267u);
    EXPECT_EQ(GetTempFileNameW(Path(u"file").c_str(), u"qm", 0, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 267u);
    EXPECT_EQ(GetTempFileNameW(nullptr, u"qm", 0, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 267u);
    EXPECT_EQ(GetTempFileNameW(std::u16string(247, u'a').c_str(), u"qm", 1, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 111u);
    EXPECT_EQ(GetTempFileNameW(std::u16string(246, u'a').c_str(), u"qmx", 0xFFFF, m_name.data()), 0xFFFFu);
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), u"qm", 0, nullptr), 0u);
    EXPECT_EQ(GetLastError(), 87u);
}

class FolderPathTest : public FilesTestFolder {
protected:
    HRESULT Get(int csidl, HANDLE token = nullptr, DWORD flags = SHGFP_TYPE_CURRENT) {
        m_path.fill(u'x');
        return SHGetFolderPathW(nullptr, csidl, token, flags, m_path.data());
    }
    std::u16string Result() const { return m_path.data(); }
    std::array<WCHAR, MAX_PATH> m_path{};
};

TEST_F(FolderPathTest, FollowsTheEnvironment) {
    const Variable home("HOME", Root());
    const Variable config("XDG_CONFIG_HOME", Bytes("config"));
    const Variable data("XDG_DATA_HOME", "relative/is/ignored");
    const Variable documents("XDG_DOCUMENTS_DIR", "");
    const std::pair<int, std::u16string> cases[] = {{0x28, PathFromBytes(Root())},
                                                    {0x1A, Path(u"config")},
                                                    {0x1C, Path(u".local/share")},
                                                    {0x05, Path(u"Documents")}};
    for (const auto& [csidl, expected] : cases) {
        EXPECT_EQ(Get(csidl | CSIDL_FLAG_DONT_VERIFY), 0);
        EXPECT_EQ(Result(), expected);
    }
    EXPECT_EQ(Get(CSIDL_PROFILE), 0);
}

TEST_F(FolderPathTest, AMissingFolderIsOneUnlessItIsToBeMade) {
    const Variable home("HOME", Root());
    const Variable data("XDG_DATA_HOME", "");
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA), 1);
    EXPECT_EQ(Result(), u"");
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE), 0);
    EXPECT_TRUE(std::filesystem::is_directory(Bytes(".local/share")));
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA), 0);
    EXPECT_EQ(Result(), Path(u".local/share"));
}

TEST_F(FolderPathTest, RefusesOtherFoldersTokensAndFlags) {
    const HRESULT invalid = static_cast<HRESULT>(0x80070057u);
    SetLastError(1234);
    EXPECT_EQ(Get(0x02), invalid);
    EXPECT_EQ(Result(), u"");
    EXPECT_EQ(Get(CSIDL_PROFILE | 0x100), invalid);
    EXPECT_EQ(Get(CSIDL_PROFILE, INVALID_HANDLE_VALUE), invalid);
    EXPECT_EQ(Get(CSIDL_PROFILE, nullptr, 2), invalid);
    EXPECT_EQ(SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, 0, nullptr), invalid);
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(FolderPathTest, AFileInTheWayIsReported) {
    const Variable home("HOME", Root());
    const Variable data("XDG_DATA_HOME", "");
    Make(".local", "");
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE), static_cast<HRESULT>(0x80070003u));
}

TEST(QueryDosDeviceTest, KnowsNoDevices) {
    std::array<WCHAR, 16> buffer{};
    EXPECT_EQ(QueryDosDeviceW(u"C:", buffer.data(), 16), 0u);
    EXPECT_EQ(GetLastError(), 2u);
    EXPECT_EQ(QueryDosDeviceW(nullptr, buffer.data(), 16), 0u);
    EXPECT_EQ(GetLastError(), 2u);
    EXPECT_EQ(QueryDosDeviceW(u"C:", nullptr, 0), 0u);
    EXPECT_EQ(GetLastError(), 122u);
}

TEST(PathNameTest, EveryByteStringComesBackAsItWas) {
    std::string bytes;
    for (int lead = 1; lead < 256; ++lead) {
        for (int next = 1; next < 256; ++next) {
            bytes = {static_cast<char>(lead), static_cast<char>(next), '\x80', 'a'};
            std::string back;
            ASSERT_TRUE(PathToBytes(PathFromBytes(bytes), back));
            ASSERT_EQ(back, bytes);
        }
    }
    EXPECT_EQ(PathFromBytes(""), u"");
}

TEST(PathNameTest, TheEdgesOfUtf8AreDecodedAndWhatIsBeyondIsKeptAsBytes) {
    EXPECT_EQ(PathFromBytes("\x7F\xC2\x80\xDF\xBF"), u"\x7F\x80\x7FF");
    EXPECT_EQ(PathFromBytes("\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"), u"\x800\xD7FF\xE000\xFFFF");
    EXPECT_EQ(PathFromBytes("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"), u"\xD800\xDC00\xDBFF\xDFFF");
    EXPECT_EQ(PathFromBytes("\xF4\x90\x80\x80"), u"\xDCF4\xDC90\xDC80\xDC80");
    EXPECT_EQ(PathFromBytes("\xE0\x9F\xBF"), u"\xDCE0\xDC9F\xDCBF");
    EXPECT_EQ(PathFromBytes("\xF0\x8F\xBF\xBF"), u"\xDCF0\xDC8F\xDCBF\xDCBF");
    EXPECT_EQ(PathFromBytes("\xC1\xBF"), u"\xDCC1\xDCBF");
}

TEST(PathNameTest, TextThatNamesNothingIsRefused) {
    std::string bytes;
    EXPECT_FALSE(PathToBytes(u"a\xD800", bytes));
    EXPECT_FALSE(PathToBytes(u"\xDC7F", bytes));
    EXPECT_FALSE(PathToBytes(u"\xDD00", bytes));
    EXPECT_FALSE(PathToBytes(std::u16string_view(u"a\0b", 3), bytes));
    EXPECT_TRUE(PathToBytes(u"\xDC80\xDCFF", bytes));
    EXPECT_EQ(bytes, "\x80\xFF");
}

}  // namespace
