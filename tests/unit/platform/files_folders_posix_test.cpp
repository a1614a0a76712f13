// Folders of the user as the environment names them, and names of files as bytes.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

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

class FoldersPosixTest : public FilesTestFolder {};

TEST_F(FoldersPosixTest, SaysWhyItCannotMakeOne) {
    EXPECT_FALSE(CreateDirectoryW(Path(u"\xD800").c_str(), nullptr));
    EXPECT_EQ(GetLastError(), 123u);
    EXPECT_FALSE(CreateDirectoryW(Path(std::string(256, 'a')).c_str(), nullptr));
    EXPECT_EQ(GetLastError(), 206u);
}

TEST_F(FoldersPosixTest, RemovesNoLinkToAFolder) {
    MakeFolder("d");
    ASSERT_EQ(::symlink("d", File("link").c_str()), 0);
    EXPECT_FALSE(RemoveDirectoryW(Path("link").c_str()));
    EXPECT_EQ(GetLastError(), 267u);
    EXPECT_TRUE(Exists("link"));
}

TEST_F(FoldersPosixTest, ACurrentFolderThatWasRemovedIsNoLongerFound) {
    const std::filesystem::path before = std::filesystem::current_path();
    MakeFolder("gone");
    std::filesystem::current_path(File("gone"));
    EXPECT_TRUE(RemoveDirectoryW(Path("gone").c_str()));
    EXPECT_EQ(GetCurrentDirectoryW(0, nullptr), 0u);
    EXPECT_EQ(GetLastError(), 3u);
    std::filesystem::current_path(before);
}

class TempFileNamePosixTest : public FilesTestFolder {
protected:
    std::array<WCHAR, MAX_PATH> m_name{};
};

TEST_F(TempFileNamePosixTest, ANewFileIsItsOwnersAlone) {
    ASSERT_NE(GetTempFileNameW(Root().string<WCHAR>().c_str(), u"qm", 0, m_name.data()), 0u);
    struct stat data {};
    ASSERT_EQ(::stat(std::filesystem::path(m_name.data()).c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & 0777u, 0600u);
}

TEST_F(TempFileNamePosixTest, NumbersHaveUpperCaseDigitsAndTheFolderIsNotLookedFor) {
    EXPECT_EQ(GetTempFileNameW(Path("none").c_str(), u"q", 0xABCD, m_name.data()), 0xABCDu);
    EXPECT_EQ(WideText(m_name.data()), Path("none/qABCD.tmp"));
    EXPECT_EQ(GetTempFileNameW(nullptr, u"q", 1, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 267u);
}

TEST_F(TempFileNamePosixTest, CutsNoCharacterOfThePrefixInTwo) {
    EXPECT_EQ(GetTempFileNameW(Root().string<WCHAR>().c_str(), u"ab\xD83D\xDE00", 0xF, m_name.data()), 15u);
    EXPECT_EQ(WideText(m_name.data()), Path("abF.tmp"));
}

TEST_F(TempFileNamePosixTest, TakesTheNumbersThatAreLeftAndThenFailsWith80) {
    Make("used0", "kept");
    Make("used1", "kept");
    for (UINT number = 1; number <= 0xFFFF; ++number) {
        if (number != 0x1234 && number != 0xFFFF) {
            const std::filesystem::path used = File(number % 2 == 0 ? "used0" : "used1");
            std::array<char, 16> name{};
            std::snprintf(name.data(), name.size(), "qm%X.tmp", number);
            std::filesystem::create_hard_link(used, File(name.data()));
        }
    }
    const std::set<UINT> numbers = {GetTempFileNameW(Root().string<WCHAR>().c_str(), u"qm", 0, m_name.data()),
                                    GetTempFileNameW(Root().string<WCHAR>().c_str(), u"qm", 0, m_name.data())};
    EXPECT_EQ(numbers, (std::set<UINT>{0x1234, 0xFFFF}));
    EXPECT_EQ(GetTempFileNameW(Root().string<WCHAR>().c_str(), u"qm", 0, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 80u);
}

class FolderPathPosixTest : public FilesTestFolder {
protected:
    HRESULT Get(int csidl, HANDLE token = nullptr, DWORD flags = SHGFP_TYPE_CURRENT) {
        m_path.fill(u'x');
        return SHGetFolderPathW(nullptr, csidl, token, flags, m_path.data());
    }
    WideText Result() const { return m_path.data(); }
    std::array<WCHAR, MAX_PATH> m_path{};
};

TEST_F(FoldersPosixTest, TheTemporaryFolderIsThatOfTheEnvironment) {
    std::array<WCHAR, 300> buffer{};
    {
        const Variable variable("TMPDIR", "/var/tmp");
        EXPECT_EQ(GetTempPathW(300, buffer.data()), 9u);
        EXPECT_EQ(WideText(buffer.data()), u"/var/tmp/");
        EXPECT_EQ(GetTempPathW(9, buffer.data()), 10u);
        EXPECT_EQ(GetTempPathW(10, buffer.data()), 9u);
    }
    {
        const Variable variable("TMPDIR", "/var/tmp/");
        EXPECT_EQ(GetTempPathW(0, nullptr), 10u);
    }
    const Variable variable("TMPDIR", "");
    EXPECT_EQ(GetTempPathW(300, buffer.data()), 5u);
    EXPECT_EQ(WideText(buffer.data()), u"/tmp/");
}

TEST_F(FolderPathPosixTest, FollowsTheEnvironment) {
    const Variable home("HOME", Root().string());
    const Variable config("XDG_CONFIG_HOME", File("config").string());
    const Variable data("XDG_DATA_HOME", "relative/is/ignored");
    const Variable documents("XDG_DOCUMENTS_DIR", "");
    const std::pair<int, WideText> cases[] = {{0x28, Root().string<WCHAR>()},
                                              {0x1A, Path("config")},
                                              {0x1C, Path(".local/share")},
                                              {0x05, Path("Documents")}};
    for (const auto& [csidl, expected] : cases) {
        EXPECT_EQ(Get(csidl | CSIDL_FLAG_DONT_VERIFY), 0);
        EXPECT_EQ(Result(), expected);
    }
    EXPECT_EQ(Get(CSIDL_PROFILE), 0);
}

TEST_F(FolderPathPosixTest, AMissingFolderIsOneUnlessItIsToBeMade) {
    const Variable home("HOME", Root().string());
    const Variable data("XDG_DATA_HOME", "");
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA), 1);
    EXPECT_EQ(Result(), u"");
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE), 0);
    EXPECT_TRUE(std::filesystem::is_directory(File(".local/share")));
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA), 0);
    EXPECT_EQ(Result(), Path(".local/share"));
}

TEST_F(FolderPathPosixTest, RefusesOtherFoldersTokensAndFlags) {
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

TEST_F(FolderPathPosixTest, AFileInTheWayIsReported) {
    const Variable home("HOME", Root().string());
    const Variable data("XDG_DATA_HOME", "");
    Make(".local", "");
    EXPECT_EQ(Get(CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE), static_cast<HRESULT>(0x80070003u));
}

TEST(QueryDosDevicePosixTest, KnowsNoDevices) {
    std::array<WCHAR, 16> buffer{};
    EXPECT_EQ(QueryDosDeviceW(u"C:", buffer.data(), 16), 0u);
    EXPECT_EQ(GetLastError(), 2u);
    EXPECT_EQ(QueryDosDeviceW(nullptr, buffer.data(), 16), 0u);
    EXPECT_EQ(GetLastError(), 2u);
    EXPECT_EQ(QueryDosDeviceW(u"C:", nullptr, 0), 0u);
    EXPECT_EQ(GetLastError(), 122u);
}

TEST(PathNamePosixTest, EveryByteStringComesBackAsItWas) {
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

TEST(PathNamePosixTest, TheEdgesOfUtf8AreDecodedAndWhatIsBeyondIsKeptAsBytes) {
    EXPECT_EQ(PathFromBytes("\x7F\xC2\x80\xDF\xBF"), u"\x7F\x80\x7FF");
    EXPECT_EQ(PathFromBytes("\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"), u"\x800\xD7FF\xE000\xFFFF");
    EXPECT_EQ(PathFromBytes("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"), u"\xD800\xDC00\xDBFF\xDFFF");
    EXPECT_EQ(PathFromBytes("\xF4\x90\x80\x80"), u"\xDCF4\xDC90\xDC80\xDC80");
    EXPECT_EQ(PathFromBytes("\xE0\x9F\xBF"), u"\xDCE0\xDC9F\xDCBF");
    EXPECT_EQ(PathFromBytes("\xF0\x8F\xBF\xBF"), u"\xDCF0\xDC8F\xDCBF\xDCBF");
    EXPECT_EQ(PathFromBytes("\xC1\xBF"), u"\xDCC1\xDCBF");
}

TEST(PathNamePosixTest, TextThatNamesNothingIsRefused) {
    std::string bytes;
    EXPECT_FALSE(PathToBytes(u"a\xD800", bytes));
    EXPECT_FALSE(PathToBytes(u"\xDC7F", bytes));
    EXPECT_FALSE(PathToBytes(u"\xDD00", bytes));
    EXPECT_FALSE(PathToBytes(WideView(u"a\0b", 3), bytes));
    EXPECT_TRUE(PathToBytes(u"\xDC80\xDCFF", bytes));
    EXPECT_EQ(bytes, "\x80\xFF");
}

}  // namespace
