// What this system's registry does where Windows leaves it open, or does otherwise.
#include <array>
#include <vector>

#include "unit/platform/RegistryTestFolder.h"

namespace {

using quillmark::test::Key;
using quillmark::test::RegistryTestFolder;

constexpr const char* TwoKeys =
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_CURRENT_USER\\Software\\Example]\r\n"
    "@=\"default\"\r\n\"Number\"=dword:0000000a\r\n\"Text\"=\"abc\"\r\n"
    "[HKEY_CURRENT_USER\\Software\\Other\\Sub]\r\n";

class RegistryPosixTest : public RegistryTestFolder {};

TEST_F(RegistryPosixTest, ClosingTwiceFailsAndClosingARootDoesNothing) {
    Write("a.reg", TwoKeys);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software", 0, KEY_READ, &key), 0);
    EXPECT_FALSE(CloseHandle(key));
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(RegCloseKey(key), 6);
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(RegCloseKey(static_cast<HKEY>(event)), 6);
    EXPECT_TRUE(CloseHandle(event));
}

TEST_F(RegistryPosixTest, AKeyThatLeftTheFilesIsDeleted) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_READ);
    Write("a.reg", "");
    EXPECT_EQ(RegQueryValueExW(key, u"Text", nullptr, nullptr, nullptr, nullptr), 1018);
}

TEST_F(RegistryPosixTest, AKeyThatDoesNotOpenGivesNull) {
    HKEY key = HKEY_USERS;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"None", 0, KEY_READ, &key), 2);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"None", 0x10, KEY_READ, &key), 87);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, std::u16string(256, u'a').c_str(), 0, KEY_READ, &key), 87);
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"a", 0, nullptr, 0, KEY_READ, nullptr, nullptr, nullptr), 87);
}

TEST_F(RegistryPosixTest, LeavesTheLastErrorAlone) {
    HKEY other = nullptr;
    SetLastError(1234);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"None", 0, KEY_READ, &other), 2);
    EXPECT_EQ(RegQueryValueExW(nullptr, u"a", nullptr, nullptr, nullptr, nullptr), 6);
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(RegistryPosixTest, ATooSmallBufferStaysUntouched) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_QUERY_VALUE);
    std::array<BYTE, 8> buffer{};
    DWORD size = 7;
    EXPECT_EQ(RegQueryValueExW(key, u"Text", nullptr, nullptr, buffer.data(), &size), 234);
    EXPECT_EQ(buffer, (std::array<BYTE, 8>{}));
}

TEST_F(RegistryPosixTest, RefusesWhatAFileCannotHold) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_ALL_ACCESS);
    BYTE byte = 0;
    HKEY other = nullptr;
    EXPECT_EQ(RegSetValueExW(key, u"line\nbreak", 0, REG_BINARY, &byte, 1), 87);
    const std::vector<BYTE> large(1024 * 1024 + 1);
    EXPECT_EQ(RegSetValueExW(key, u"a", 0, REG_BINARY, large.data(), static_cast<DWORD>(large.size())), 1450);
    EXPECT_EQ(RegSetValueExW(key, u"a", 0, REG_BINARY, nullptr, 1), 87);
    EXPECT_EQ(RegCreateKeyExW(key, u"a", 0, nullptr, REG_OPTION_VOLATILE, KEY_READ, nullptr, &other, nullptr), 50);
    EXPECT_EQ(RegCreateKeyExW(key, u"a\nb", 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 87);
    EXPECT_EQ(RegDeleteKeyExW(key, u"a", KEY_READ, 0), 87);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"", 0, 0), 5);
    EXPECT_FALSE(Exists("quillmark.reg"));
}

TEST_F(RegistryPosixTest, EnumeratingNeedsAPlaceForTheNameOfAKey) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software", KEY_READ);
    WCHAR name[16];
    DWORD length = 16;
    EXPECT_EQ(RegEnumKeyExW(key, 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
}

TEST_F(RegistryPosixTest, ChangesAreInAFileOfTheirOwn) {
    Write("a.reg", TwoKeys);
    EXPECT_EQ(Key(u"Software\\Example", KEY_SET_VALUE).SetNumber(u"Number", 11), 0);
    EXPECT_EQ(Read("a.reg"), TwoKeys);
    EXPECT_TRUE(Exists("quillmark.reg"));
}

TEST_F(RegistryPosixTest, NamesComeInTheirOrder) {
    Write("a.reg",
          "[HKEY_CURRENT_USER\\K\\c]\n[HKEY_CURRENT_USER\\K\\A]\n[HKEY_CURRENT_USER\\K\\b]\n"
          "[HKEY_CURRENT_USER\\K]\n\"z\"=\"\"\n@=\"\"\n\"Y\"=\"\"\n");
    const Key key(u"K", KEY_READ);
    WideText keys;
    WideText values;
    for (DWORD index = 0; index < 3; ++index) {
        WCHAR name[8];
        DWORD length = 8;
        EXPECT_EQ(RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
        keys += name;
        length = 8;
        EXPECT_EQ(RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
        values += WideText(name) + u";";
    }
    EXPECT_EQ(keys, u"Abc");
    EXPECT_EQ(values, u";Y;z;");
}

// Windows may add a null to them.
TEST_F(RegistryPosixTest, TextsWithoutTheirNullStayAsTheyAre) {
    const Key key = Key::Create(u"Kinds");
    const std::vector<BYTE> texts[] = {{'a', 0, 'b', 0}, {1, 2, 3}, {}, {0x00, 0xD8}};
    for (const DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ}) {
        for (const std::vector<BYTE>& text : texts) {
            ASSERT_EQ(RegSetValueExW(key, u"text", 0, type, text.data(), static_cast<DWORD>(text.size())), 0);
            EXPECT_EQ(key.Data(u"text"), text);
        }
    }
}

}  // namespace
