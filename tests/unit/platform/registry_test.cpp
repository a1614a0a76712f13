#include "quillmark/platform/Registry.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "quillmark/platform/Events.h"
#include "unit/platform/RegistryTestFolder.h"

namespace {

using quillmark::test::Key;
using quillmark::test::RegistryTestFolder;

constexpr const char* TwoKeys =
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_CURRENT_USER\\Software\\Example]\r\n"
    "@=\"default\"\r\n\"Number\"=dword:0000000a\r\n\"Text\"=\"abc\"\r\n"
    "[HKEY_CURRENT_USER\\Software\\Other\\Sub]\r\n";

class RegistryTest : public RegistryTestFolder {};

TEST_F(RegistryTest, OpensKeysWithoutRegardToCase) {
    Write("a.reg", TwoKeys);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"software\\EXAMPLE", 0, KEY_READ, &key), 0);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Example\\", 0, KEY_READ, &key), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
    // A key is there when one below it is.
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Other", 0, KEY_READ, &key), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, SaysWhyAKeyDoesNotOpen) {
    Write("a.reg", TwoKeys);
    HKEY key = HKEY_USERS;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\None", 0, KEY_READ, &key), 2);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"Software\\Example", 0, KEY_READ, &key), 2);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"\\Software", 0, KEY_READ, &key), 161);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software", 0x10, KEY_READ, &key), 87);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software", 0, KEY_READ, nullptr), 87);
    EXPECT_EQ(RegOpenKeyExW(nullptr, u"Software", 0, KEY_READ, &key), 6);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, std::u16string(256, u'a').c_str(), 0, KEY_READ, &key), 87);
}

TEST_F(RegistryTest, AnEmptySubKeyOpensTheKeyItselfAgain) {
    Write("a.reg", TwoKeys);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, 0, KEY_READ, &key), 0);
    EXPECT_EQ(key, HKEY_CURRENT_USER);
    const Key example(u"Software\\Example", KEY_READ);
    EXPECT_EQ(RegOpenKeyExW(example, u"", 0, KEY_READ, &key), 0);
    EXPECT_NE(key, HKEY{example});
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, ClosingTwiceFailsAndClosingARootDoesNothing) {
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

TEST_F(RegistryTest, EveryFunctionRefusesAClosedKeyWith6) {
    Write("a.reg", TwoKeys);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software", 0, KEY_ALL_ACCESS, &key), 0);
    ASSERT_EQ(RegCloseKey(key), 0);
    WCHAR name[10];
    DWORD length = 10;
    HKEY other = nullptr;
    SetLastError(1234);
    EXPECT_EQ(RegOpenKeyExW(key, u"a", 0, KEY_READ, &other), 6);
    EXPECT_EQ(RegCreateKeyExW(key, u"a", 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 6);
    EXPECT_EQ(RegDeleteKeyExW(key, u"a", 0, 0), 6);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 6);
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 6);
    EXPECT_EQ(RegQueryValueExW(key, u"a", nullptr, nullptr, nullptr, nullptr), 6);
    EXPECT_EQ(RegSetValueExW(key, u"a", 0, REG_BINARY, nullptr, 0), 6);
    EXPECT_EQ(RegDeleteValueW(key, u"a"), 6);
    EXPECT_EQ(RegNotifyChangeKeyValue(key, TRUE, REG_NOTIFY_CHANGE_NAME, nullptr, FALSE), 6);
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(RegistryTest, QueriesKindSizeAndData) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_QUERY_VALUE);
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key, u"number", nullptr, &type, nullptr, &size), 0);
    EXPECT_EQ(type, 4u);
    EXPECT_EQ(size, 4u);
    DWORD number = 0;
    EXPECT_EQ(RegQueryValueExW(key, u"Number", nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size), 0);
    EXPECT_EQ(number, 10u);
    EXPECT_EQ(key.Text(u"Text"), std::u16string(u"abc\0", 4));
    EXPECT_EQ(key.Text(nullptr), std::u16string(u"default\0", 8));
    EXPECT_EQ(key.Text(u""), std::u16string(u"default\0", 8));
    EXPECT_EQ(RegQueryValueExW(key, u"Number", nullptr, nullptr, nullptr, nullptr), 0);
}

TEST_F(RegistryTest, ATooSmallBufferGives234TheSizeAndTheKindAndStaysUntouched) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_QUERY_VALUE);
    std::array<BYTE, 8> buffer{};
    DWORD type = 0;
    DWORD size = 7;
    EXPECT_EQ(RegQueryValueExW(key, u"Text", nullptr, &type, buffer.data(), &size), 234);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(buffer, (std::array<BYTE, 8>{}));
    EXPECT_EQ(RegQueryValueExW(key, u"Text", nullptr, &type, buffer.data(), &size), 0);
}

TEST_F(RegistryTest, RefusesWrongArgumentsAndMissingValues) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_ALL_ACCESS);
    DWORD reserved = 0;
    BYTE byte = 0;
    HKEY other = nullptr;
    EXPECT_EQ(RegQueryValueExW(key, u"None", nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(RegQueryValueExW(key, u"Text", &reserved, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegQueryValueExW(key, u"Text", nullptr, nullptr, &byte, nullptr), 87);
    EXPECT_EQ(RegQueryValueExW(HKEY_CURRENT_USER, nullptr, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(RegSetValueExW(key, u"a", 1, REG_BINARY, &byte, 1), 87);
    EXPECT_EQ(RegSetValueExW(key, u"a", 0, REG_BINARY, nullptr, 1), 87);
    EXPECT_EQ(RegSetValueExW(key, std::u16string(16384, u'a').c_str(), 0, REG_BINARY, &byte, 1), 87);
    EXPECT_EQ(RegSetValueExW(key, u"line\nbreak", 0, REG_BINARY, &byte, 1), 87);
    const std::vector<BYTE> large(1024 * 1024 + 1);
    EXPECT_EQ(RegSetValueExW(key, u"a", 0, REG_BINARY, large.data(), static_cast<DWORD>(large.size())), 1450);
    EXPECT_EQ(RegDeleteValueW(key, u"None"), 2);
    EXPECT_EQ(RegCreateKeyExW(key, nullptr, 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 87);
    EXPECT_EQ(RegCreateKeyExW(key, u"a", 1, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 87);
    EXPECT_EQ(RegCreateKeyExW(key, u"a", 0, nullptr, 0, KEY_READ, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegCreateKeyExW(key, u"a", 0, nullptr, REG_OPTION_VOLATILE, KEY_READ, nullptr, &other, nullptr), 50);
    EXPECT_EQ(RegCreateKeyExW(key, u"a\nb", 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 87);
    EXPECT_EQ(RegCreateKeyExW(key, u"\\a", 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 161);
    EXPECT_EQ(RegDeleteKeyExW(key, nullptr, 0, 0), 87);
    EXPECT_EQ(RegDeleteKeyExW(key, u"a", KEY_READ, 0), 87);
    EXPECT_EQ(RegDeleteKeyExW(key, u"a", 0, 1), 87);
    EXPECT_EQ(RegDeleteKeyExW(key, u"a", KEY_WOW64_64KEY, 0), 2);
    EXPECT_FALSE(Exists("quillmark.reg"));
}

TEST_F(RegistryTest, ChecksTheRightsOfTheHandle) {
    Write("a.reg", TwoKeys);
    const Key notify(u"Software\\Example", KEY_NOTIFY);
    const Key query(u"Software\\Example", KEY_QUERY_VALUE);
    WCHAR name[10];
    DWORD length = 10;
    EXPECT_EQ(RegQueryValueExW(notify, u"Text", nullptr, nullptr, nullptr, nullptr), 5);
    EXPECT_EQ(RegEnumValueW(notify, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 5);
    EXPECT_EQ(RegEnumKeyExW(query, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 5);
    EXPECT_EQ(RegSetValueExW(query, u"a", 0, REG_BINARY, nullptr, 0), 5);
    EXPECT_EQ(RegDeleteValueW(query, u"Text"), 5);
    EXPECT_EQ(RegNotifyChangeKeyValue(query, TRUE, REG_NOTIFY_CHANGE_NAME, nullptr, FALSE), 5);
    // A generic right stands for the registry's own.
    const Key generic(u"Software\\Example", 0x80000000u);
    EXPECT_EQ(RegQueryValueExW(generic, u"Text", nullptr, nullptr, nullptr, nullptr), 0);
    const Key maximum(u"Software\\Example", MAXIMUM_ALLOWED);
    EXPECT_EQ(RegSetValueExW(maximum, u"a", 0, REG_BINARY, nullptr, 0), 0);
}

TEST_F(RegistryTest, CreatesKeysAndTellsWhetherTheyWereThere) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    EXPECT_EQ(
        RegCreateKeyExW(HKEY_CURRENT_USER, u"A\\B\\C", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition), 0);
    EXPECT_EQ(disposition, 1u);
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"a\\b", 0, nullptr, 0, KEY_READ, nullptr, &key, &disposition), 0);
    EXPECT_EQ(disposition, 2u);
    EXPECT_EQ(quillmark::test::SubKeys(key), (std::vector<std::u16string>{u"C"}));
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, SetsReplacesAndDeletesValues) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_READ | KEY_WRITE);
    const DWORD number = 99;
    EXPECT_EQ(RegSetValueExW(key, u"NUMBER", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4), 0);
    DWORD got = 0;
    DWORD size = 4;
    EXPECT_EQ(RegQueryValueExW(key, u"Number", nullptr, nullptr, reinterpret_cast<BYTE*>(&got), &size), 0);
    EXPECT_EQ(got, 99u);
    EXPECT_EQ(RegDeleteValueW(key, u"number"), 0);
    EXPECT_EQ(RegQueryValueExW(key, u"Number", nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(RegDeleteValueW(key, u"Number"), 2);
    EXPECT_EQ(RegDeleteValueW(key, nullptr), 0);
    EXPECT_EQ(quillmark::test::ValueNames(key), (std::vector<std::u16string>{u"Text"}));
    // The other file is as it was.
    EXPECT_EQ(Read("a.reg"), TwoKeys);
}

TEST_F(RegistryTest, KeepsEveryKindOfValueByteForByte) {
    const Key key = Key::Create(u"Kinds");
    const std::u16string text = u"quote \" backslash \\ ä 中 \xD83D\xDE00 [x] ;";
    std::vector<BYTE> all(256);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<BYTE>(i);
    }
    const auto bytesOf = [](const std::u16string& units, std::size_t count) {
        const auto* first = reinterpret_cast<const BYTE*>(units.data());
        return std::vector<BYTE>(first, first + count * 2);
    };
    const std::u16string broken = u"a\nb";
    const std::u16string list(u"one\0two\0\0", 9);
    const std::tuple<std::u16string, DWORD, std::vector<BYTE>> values[] = {
        {u"", REG_SZ, bytesOf(text, text.size() + 1)},
        {u"no null", REG_SZ, bytesOf(text, text.size())},
        {u"odd", REG_SZ, {1, 2, 3}},
        {u"empty text", REG_SZ, {0, 0}},
        {u"no bytes", REG_SZ, {}},
        {u"line break", REG_SZ, bytesOf(broken, 4)},
        {u"inner null", REG_SZ, bytesOf(list, 9)},
        {u"lone half", REG_SZ, bytesOf(u"\xD800", 2)},
        {u"expand", REG_EXPAND_SZ, bytesOf(text, text.size() + 1)},
        {u"multi", REG_MULTI_SZ, bytesOf(list, 9)},
        {u"all bytes", REG_BINARY, all},
        {u"nothing", REG_NONE, {}},
        {u"dword", REG_DWORD, {1, 2, 3, 0xFF}},
        {u"short dword", REG_DWORD, {1, 2}},
        {u"qword", REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 8}},
        {u"unknown \"kind\" \\ =", 0xFFFF1234u, {7}},
    };
    for (const auto& [name, type, data] : values) {
        ASSERT_EQ(RegSetValueExW(key, name.c_str(), 0, type, data.data(), static_cast<DWORD>(data.size())), 0);
    }
    for (const auto& [name, type, data] : values) {
        DWORD gotType = 77;
        EXPECT_EQ(key.Data(name.c_str(), &gotType), data);
        EXPECT_EQ(gotType, type);
    }
}

TEST_F(RegistryTest, EnumeratesValuesWithTheirData) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_READ);
    WCHAR name[16];
    DWORD length = 16;
    DWORD type = 0;
    BYTE data[16];
    DWORD size = 16;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, nullptr, &type, data, &size), 0);
    EXPECT_EQ(std::u16string(name, length), u"");
    EXPECT_EQ(size, 16u);
    length = 16;
    size = 3;
    EXPECT_EQ(RegEnumValueW(key, 1, name, &length, nullptr, &type, data, &size), 234);
    EXPECT_EQ(size, 4u);
    length = 6;
    EXPECT_EQ(RegEnumValueW(key, 1, name, &length, nullptr, nullptr, nullptr, nullptr), 234);
    length = 7;
    EXPECT_EQ(RegEnumValueW(key, 1, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(std::u16string(name), u"Number");
    EXPECT_EQ(length, 6u);
    length = 16;
    EXPECT_EQ(RegEnumValueW(key, 3, name, &length, nullptr, nullptr, nullptr, nullptr), 259);
    EXPECT_EQ(RegEnumValueW(key, 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumValueW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, &type, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, nullptr, nullptr, data, nullptr), 87);
}

TEST_F(RegistryTest, EnumeratesSubKeys) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software", KEY_READ);
    WCHAR name[16];
    DWORD length = 16;
    WCHAR keyClass[4] = {u'x'};
    DWORD classLength = 4;
    FILETIME written{};
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &length, nullptr, keyClass, &classLength, &written), 0);
    EXPECT_EQ(std::u16string(name), u"Example");
    EXPECT_EQ(length, 7u);
    EXPECT_EQ(classLength, 0u);
    EXPECT_EQ(keyClass[0], u'\0');
    EXPECT_NE(written.dwHighDateTime, 0u);
    length = 7;
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 234);
    length = 16;
    EXPECT_EQ(RegEnumKeyExW(key, 2, name, &length, nullptr, nullptr, nullptr, nullptr), 259);
    DWORD reserved = 0;
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &length, &reserved, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumKeyExW(key, 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &length, nullptr, keyClass, nullptr, nullptr), 87);
}

TEST_F(RegistryTest, DeletesKeysButNotThoseWithSubKeysNorRoots) {
    Write("a.reg", TwoKeys);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"Software\\Other", 0, 0), 5);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"", 0, 0), 5);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"None", 0, 0), 2);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"Software\\Other\\Sub", 0, 0), 0);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"Software\\Other", 0, 0), 0);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Other", 0, KEY_READ, &key), 2);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Example", 0, KEY_READ, &key), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, AHandleOfADeletedKeyGives1018AlsoWhenTheKeyIsMadeAnew) {
    Write("a.reg", TwoKeys);
    const Key old(u"Software\\Example", KEY_ALL_ACCESS);
    ASSERT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"SOFTWARE\\example", 0, 0), 0);
    EXPECT_EQ(RegQueryValueExW(old, u"Text", nullptr, nullptr, nullptr, nullptr), 1018);
    EXPECT_EQ(RegSetValueExW(old, u"Text", 0, REG_BINARY, nullptr, 0), 1018);
    const Key anew = Key::Create(u"Software\\Example");
    EXPECT_EQ(RegQueryValueExW(old, u"Text", nullptr, nullptr, nullptr, nullptr), 1018);
    EXPECT_EQ(RegQueryValueExW(anew, u"Text", nullptr, nullptr, nullptr, nullptr), 2);
    HKEY other = nullptr;
    EXPECT_EQ(RegOpenKeyExW(old, u"", 0, KEY_READ, &other), 1018);
}

TEST_F(RegistryTest, AKeyThatLeftTheFilesIsDeleted) {
    Write("a.reg", TwoKeys);
    const Key key(u"Software\\Example", KEY_READ);
    Write("a.reg", "");
    EXPECT_EQ(RegQueryValueExW(key, u"Text", nullptr, nullptr, nullptr, nullptr), 1018);
}

TEST_F(RegistryTest, ThreadsDoNotLoseEachOthersChanges) {
    constexpr int threads = 4;
    constexpr int values = 10;
    const Key key = Key::Create(u"Shared");
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([&key, t] {
            for (int i = 0; i < values; ++i) {
                const std::u16string name = {static_cast<char16_t>(u'a' + t), static_cast<char16_t>(u'0' + i)};
                EXPECT_EQ(RegSetValueExW(key, name.c_str(), 0, REG_BINARY, nullptr, 0), 0);
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(quillmark::test::ValueNames(key).size(), 40u);
}

}  // namespace
