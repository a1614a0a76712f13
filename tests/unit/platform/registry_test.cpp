#include <array>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/Wine.h"
#include "unit/platform/OwnRegistry.h"
#include "unit/platform/RegistryKeys.h"

namespace {

using quillmark::test::Key;
using quillmark::test::KeyNames;
using quillmark::test::OrUnderWine;

class RegistryTest : public ::testing::Test {
protected:
    void ImportTwoKeys() {
        m_registry.Import(
            quillmark::test::RegistryFile(QM_W("[HKEY_CURRENT_USER\\Software\\Example]\r\n"
                                               "@=\"default\"\r\n\"Number\"=dword:0000000a\r\n\"Text\"=\"abc\"\r\n\r\n"
                                               "[HKEY_CURRENT_USER\\Software\\Other\\Sub]\r\n")));
    }

    quillmark::test::OwnRegistry m_registry;
};

TEST_F(RegistryTest, OpensKeysWithoutRegardToCase) {
    ImportTwoKeys();
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("software\\EXAMPLE"), 0, KEY_READ, &key), 0);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Software\\Example\\"), 0, KEY_READ, &key), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
    // A key is there when one below it is.
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Software\\Other"), 0, KEY_READ, &key), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, SaysWhyAKeyDoesNotOpen) {
    ImportTwoKeys();
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Software\\None"), 0, KEY_READ, &key), 2);
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, QM_W("Software\\Example"), 0, KEY_READ, &key), 2);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("\\Software"), 0, KEY_READ, &key), 161);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Software"), 0, KEY_READ, nullptr), 87);
    EXPECT_EQ(RegOpenKeyExW(nullptr, QM_W("Software"), 0, KEY_READ, &key), 6);
    EXPECT_NE(RegOpenKeyExW(HKEY_CURRENT_USER, WideText(256, QM_W('a')).c_str(), 0, KEY_READ, &key), 0);
}

TEST_F(RegistryTest, AnEmptySubKeyOpensTheKeyItselfAgain) {
    ImportTwoKeys();
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, 0, KEY_READ, &key), 0);
    EXPECT_EQ(key, HKEY_CURRENT_USER);
    const Key example(QM_W("Software\\Example"), KEY_READ);
    EXPECT_EQ(RegOpenKeyExW(example, QM_W(""), 0, KEY_READ, &key), 0);
    EXPECT_NE(key, HKEY{example});
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, EveryFunctionRefusesAClosedKeyWith6) {
    ImportTwoKeys();
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Software"), 0, KEY_ALL_ACCESS, &key), 0);
    ASSERT_EQ(RegCloseKey(key), 0);
    WCHAR name[10];
    DWORD length = 10;
    HKEY other = nullptr;
    EXPECT_EQ(RegOpenKeyExW(key, QM_W("a"), 0, KEY_READ, &other), 6);
    EXPECT_EQ(RegCreateKeyExW(key, QM_W("a"), 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 6);
    EXPECT_EQ(RegDeleteKeyExW(key, QM_W("a"), 0, 0), 6);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 6);
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 6);
    EXPECT_EQ(RegQueryValueExW(key, QM_W("a"), nullptr, nullptr, nullptr, nullptr), 6);
    EXPECT_EQ(RegSetValueExW(key, QM_W("a"), 0, REG_BINARY, nullptr, 0), 6);
    EXPECT_EQ(RegDeleteValueW(key, QM_W("a")), 6);
    EXPECT_EQ(RegNotifyChangeKeyValue(key, TRUE, REG_NOTIFY_CHANGE_NAME, nullptr, FALSE), 6);
}

TEST_F(RegistryTest, QueriesKindSizeAndData) {
    ImportTwoKeys();
    const Key key(QM_W("Software\\Example"), KEY_QUERY_VALUE);
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key, QM_W("number"), nullptr, &type, nullptr, &size), 0);
    EXPECT_EQ(type, 4u);
    EXPECT_EQ(size, 4u);
    DWORD number = 0;
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Number"), nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size), 0);
    EXPECT_EQ(number, 10u);
    EXPECT_EQ(key.Text(QM_W("Text")), WideText(QM_W("abc\0"), 4));
    EXPECT_EQ(key.Text(nullptr), WideText(QM_W("default\0"), 8));
    EXPECT_EQ(key.Text(QM_W("")), WideText(QM_W("default\0"), 8));
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Number"), nullptr, nullptr, nullptr, nullptr), 0);
}

TEST_F(RegistryTest, ATooSmallBufferGives234TheSizeAndTheKind) {
    ImportTwoKeys();
    const Key key(QM_W("Software\\Example"), KEY_QUERY_VALUE);
    std::array<BYTE, 8> buffer{};
    DWORD type = 0;
    DWORD size = 7;
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Text"), nullptr, &type, buffer.data(), &size), 234);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Text"), nullptr, &type, buffer.data(), &size), 0);
}

TEST_F(RegistryTest, RefusesWrongArgumentsAndMissingValues) {
    ImportTwoKeys();
    const Key key(QM_W("Software\\Example"), KEY_ALL_ACCESS);
    DWORD reserved = 0;
    BYTE byte = 0;
    EXPECT_EQ(RegQueryValueExW(key, QM_W("None"), nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Text"), &reserved, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Text"), nullptr, nullptr, &byte, nullptr), 87);
    EXPECT_EQ(RegQueryValueExW(HKEY_CURRENT_USER, nullptr, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(RegSetValueExW(key, WideText(16384, QM_W('a')).c_str(), 0, REG_BINARY, &byte, 1), 87);
    // Wine does not look at it.
    EXPECT_THAT(RegSetValueExW(key, QM_W("a"), 1, REG_BINARY, &byte, 1), OrUnderWine<LSTATUS>(87, 0));
    EXPECT_EQ(RegDeleteValueW(key, QM_W("None")), 2);
}

TEST_F(RegistryTest, MakesAndDeletesNoKeyWithWrongArguments) {
    const Key key = Key::Create(QM_W("K"));
    HKEY other = nullptr;
    EXPECT_EQ(RegCreateKeyExW(key, QM_W("a"), 1, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 87);
    EXPECT_EQ(RegCreateKeyExW(key, QM_W("\\a"), 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr), 161);
    // Wine takes no name for the key itself.
    EXPECT_THAT(RegCreateKeyExW(key, nullptr, 0, nullptr, 0, KEY_READ, nullptr, &other, nullptr),
                OrUnderWine<LSTATUS>(87, 0));
    RegCloseKey(other);
    EXPECT_EQ(quillmark::test::SubKeys(key), KeyNames{});
    EXPECT_EQ(RegDeleteKeyExW(key, nullptr, 0, 0), 87);
    // Wine does not look at it.
    EXPECT_THAT(RegDeleteKeyExW(key, QM_W("a"), 0, 1), OrUnderWine<LSTATUS>(87, 2));
    EXPECT_EQ(RegDeleteKeyExW(key, QM_W("a"), KEY_WOW64_64KEY, 0), 2);
}

TEST_F(RegistryTest, ChecksTheRightsOfTheHandle) {
    ImportTwoKeys();
    const Key notify(QM_W("Software\\Example"), KEY_NOTIFY);
    const Key query(QM_W("Software\\Example"), KEY_QUERY_VALUE);
    WCHAR name[10];
    DWORD length = 10;
    EXPECT_EQ(RegQueryValueExW(notify, QM_W("Text"), nullptr, nullptr, nullptr, nullptr), 5);
    EXPECT_EQ(RegEnumValueW(notify, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 5);
    EXPECT_EQ(RegEnumKeyExW(query, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 5);
    EXPECT_EQ(RegSetValueExW(query, QM_W("a"), 0, REG_BINARY, nullptr, 0), 5);
    EXPECT_EQ(RegDeleteValueW(query, QM_W("Text")), 5);
    EXPECT_EQ(RegNotifyChangeKeyValue(query, TRUE, REG_NOTIFY_CHANGE_NAME, nullptr, FALSE), 5);
    // A generic right stands for the registry's own.
    const Key generic(QM_W("Software\\Example"), 0x80000000u);
    EXPECT_EQ(RegQueryValueExW(generic, QM_W("Text"), nullptr, nullptr, nullptr, nullptr), 0);
    const Key maximum(QM_W("Software\\Example"), MAXIMUM_ALLOWED);
    EXPECT_EQ(RegSetValueExW(maximum, QM_W("a"), 0, REG_BINARY, nullptr, 0), 0);
}

TEST_F(RegistryTest, CreatesKeysAndTellsWhetherTheyWereThere) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    EXPECT_EQ(
        RegCreateKeyExW(HKEY_CURRENT_USER, QM_W("A\\B\\C"), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition),
        0);
    EXPECT_EQ(disposition, 1u);
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, QM_W("a\\b"), 0, nullptr, 0, KEY_READ, nullptr, &key, &disposition),
              0);
    EXPECT_EQ(disposition, 2u);
    EXPECT_EQ(quillmark::test::SubKeys(key), KeyNames{QM_W("C")});
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, SetsReplacesAndDeletesValues) {
    ImportTwoKeys();
    const Key key(QM_W("Software\\Example"), KEY_READ | KEY_WRITE);
    const DWORD number = 99;
    EXPECT_EQ(RegSetValueExW(key, QM_W("NUMBER"), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4), 0);
    DWORD got = 0;
    DWORD size = 4;
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Number"), nullptr, nullptr, reinterpret_cast<BYTE*>(&got), &size), 0);
    EXPECT_EQ(got, 99u);
    EXPECT_EQ(RegDeleteValueW(key, QM_W("number")), 0);
    EXPECT_EQ(RegQueryValueExW(key, QM_W("Number"), nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(RegDeleteValueW(key, QM_W("Number")), 2);
    EXPECT_EQ(RegDeleteValueW(key, nullptr), 0);
    EXPECT_EQ(quillmark::test::ValueNames(key), KeyNames{QM_W("Text")});
}

TEST_F(RegistryTest, KeepsEveryKindOfValueByteForByte) {
    const Key key = Key::Create(QM_W("Kinds"));
    const WideText text = QM_W("quote \" backslash \\ ä 中 \xD83D\xDE00 [x] ;");
    std::vector<BYTE> all(256);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<BYTE>(i);
    }
    const auto bytesOf = [](const WideText& units, std::size_t count) {
        const auto* first = reinterpret_cast<const BYTE*>(units.data());
        return std::vector<BYTE>(first, first + count * 2);
    };
    const WideText broken = QM_W("a\nb");
    const WideText list(QM_W("one\0two\0\0"), 9);
    const std::tuple<WideText, DWORD, std::vector<BYTE>> values[] = {
        {QM_W(""), REG_SZ, bytesOf(text, text.size() + 1)},
        {QM_W("empty text"), REG_SZ, {0, 0}},
        {QM_W("line break"), REG_SZ, bytesOf(broken, 4)},
        {QM_W("inner null"), REG_SZ, bytesOf(list, 9)},
        {QM_W("lone half"), REG_SZ, bytesOf(QM_W("\xD800"), 2)},
        {QM_W("expand"), REG_EXPAND_SZ, bytesOf(text, text.size() + 1)},
        {QM_W("multi"), REG_MULTI_SZ, bytesOf(list, 9)},
        {QM_W("all bytes"), REG_BINARY, all},
        {QM_W("nothing"), REG_NONE, {}},
        {QM_W("dword"), REG_DWORD, {1, 2, 3, 0xFF}},
        {QM_W("short dword"), REG_DWORD, {1, 2}},
        {QM_W("qword"), REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 8}},
        {QM_W("unknown \"kind\" \\ ="), 0xFFFF1234u, {7}},
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

// Names come in any order: the index of one of them.
template <typename Names>
DWORD IndexOf(const WideText& wanted, const Names& nameAt) {
    DWORD index = 0;
    while (nameAt(index) != wanted && index < 100) {
        ++index;
    }
    return index;
}

DWORD IndexOfValue(HKEY key, const WideText& wanted) {
    return IndexOf(wanted, [key](DWORD index) {
        WCHAR name[16];
        DWORD length = 16;
        EXPECT_EQ(RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
        return WideText(name, length);
    });
}

TEST_F(RegistryTest, EnumeratesValuesWithTheirData) {
    ImportTwoKeys();
    const Key key(QM_W("Software\\Example"), KEY_READ);
    WCHAR name[16];
    DWORD length = 16;
    DWORD type = 0;
    BYTE data[16];
    DWORD size = 16;
    EXPECT_EQ(RegEnumValueW(key, IndexOfValue(key, QM_W("")), name, &length, nullptr, &type, data, &size), 0);
    EXPECT_EQ(WideText(name, length), QM_W(""));
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(size, 16u);
    const DWORD number = IndexOfValue(key, QM_W("Number"));
    length = 16;
    size = 3;
    EXPECT_EQ(RegEnumValueW(key, number, name, &length, nullptr, &type, data, &size), 234);
    EXPECT_EQ(size, 4u);
    length = 6;
    EXPECT_EQ(RegEnumValueW(key, number, name, &length, nullptr, nullptr, nullptr, nullptr), 234);
    length = 7;
    EXPECT_EQ(RegEnumValueW(key, number, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(WideText(name), QM_W("Number"));
    EXPECT_EQ(length, 6u);
    length = 16;
    EXPECT_EQ(RegEnumValueW(key, 3, name, &length, nullptr, nullptr, nullptr, nullptr), 259);
}

TEST_F(RegistryTest, EnumeratingRefusesWrongArguments) {
    ImportTwoKeys();
    const Key key(QM_W("Software\\Example"), KEY_READ);
    const Key above(QM_W("Software"), KEY_READ);
    WCHAR name[16];
    WCHAR keyClass[16];
    DWORD length = 16;
    DWORD reserved = 0;
    BYTE data[16];
    EXPECT_EQ(RegEnumValueW(key, 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumValueW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, &reserved, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, nullptr, nullptr, data, nullptr), 87);
    EXPECT_EQ(RegEnumKeyExW(above, 0, name, &length, &reserved, nullptr, nullptr, nullptr), 87);
    // Wine gives no class where it cannot tell the length.
    length = 16;
    EXPECT_THAT(RegEnumKeyExW(above, 0, name, &length, nullptr, keyClass, nullptr, nullptr),
                OrUnderWine<LSTATUS>(87, 0));
}

TEST_F(RegistryTest, EnumeratesSubKeys) {
    ImportTwoKeys();
    const Key key(QM_W("Software"), KEY_READ);
    EXPECT_EQ(quillmark::test::SubKeys(key), (KeyNames{QM_W("Example"), QM_W("Other")}));
    const DWORD example = IndexOf(QM_W("Example"), [&key](DWORD index) {
        WCHAR name[16];
        DWORD length = 16;
        EXPECT_EQ(RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
        return WideText(name, length);
    });
    WCHAR name[16];
    DWORD length = 16;
    WCHAR keyClass[4] = {QM_W('x')};
    DWORD classLength = 4;
    FILETIME written{};
    EXPECT_EQ(RegEnumKeyExW(key, example, name, &length, nullptr, keyClass, &classLength, &written), 0);
    EXPECT_EQ(WideText(name), QM_W("Example"));
    EXPECT_EQ(length, 7u);
    EXPECT_EQ(classLength, 0u);
    EXPECT_EQ(keyClass[0], QM_W('\0'));
    EXPECT_NE(written.dwHighDateTime, 0u);
    length = 7;
    EXPECT_EQ(RegEnumKeyExW(key, example, name, &length, nullptr, nullptr, nullptr, nullptr), 234);
    length = 16;
    EXPECT_EQ(RegEnumKeyExW(key, 2, name, &length, nullptr, nullptr, nullptr, nullptr), 259);
}

TEST_F(RegistryTest, DeletesKeysButNotThoseWithSubKeysNorRoots) {
    ImportTwoKeys();
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, QM_W("Software\\Other"), 0, 0), 5);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, QM_W("None"), 0, 0), 2);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, QM_W("Software\\Other\\Sub"), 0, 0), 0);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, QM_W("Software\\Other"), 0, 0), 0);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Software\\Other"), 0, KEY_READ, &key), 2);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Software\\Example"), 0, KEY_READ, &key), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(RegistryTest, AHandleOfADeletedKeyGives1018AlsoWhenTheKeyIsMadeAnew) {
    ImportTwoKeys();
    const Key old(QM_W("Software\\Example"), KEY_ALL_ACCESS);
    ASSERT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, QM_W("SOFTWARE\\example"), 0, 0), 0);
    EXPECT_EQ(RegQueryValueExW(old, QM_W("Text"), nullptr, nullptr, nullptr, nullptr), 1018);
    EXPECT_EQ(RegSetValueExW(old, QM_W("Text"), 0, REG_BINARY, nullptr, 0), 1018);
    const Key anew = Key::Create(QM_W("Software\\Example"));
    EXPECT_EQ(RegQueryValueExW(old, QM_W("Text"), nullptr, nullptr, nullptr, nullptr), 1018);
    EXPECT_EQ(RegQueryValueExW(anew, QM_W("Text"), nullptr, nullptr, nullptr, nullptr), 2);
    HKEY other = nullptr;
    EXPECT_EQ(RegOpenKeyExW(old, QM_W(""), 0, KEY_READ, &other), 1018);
}

TEST_F(RegistryTest, ThreadsDoNotLoseEachOthersChanges) {
    constexpr int threads = 4;
    constexpr int values = 10;
    const Key key = Key::Create(QM_W("Shared"));
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([&key, t] {
            for (int i = 0; i < values; ++i) {
                const WideText name = {static_cast<WCHAR>(QM_W('a') + t), static_cast<WCHAR>(QM_W('0') + i)};
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
