// What registry files mean: as the registry editor imports them.
#include <string>
#include <vector>

#include "support/Wine.h"
#include "unit/platform/OwnRegistry.h"
#include "unit/platform/RegistryKeys.h"

namespace {

using quillmark::test::Key;
using quillmark::test::KeyNames;
using quillmark::test::RegistryFile;
using quillmark::test::UnderWine;

class RegistryFilesTest : public ::testing::Test {
protected:
    // A file with one key, whose lines are given.
    void ImportKey(const WideText& lines) {
        m_registry.Import(RegistryFile(QM_W("[HKEY_CURRENT_USER\\K]\r\n") + lines));
    }

    quillmark::test::OwnRegistry m_registry;
};

TEST_F(RegistryFilesTest, NamesAndTextsMayHoldAnyCharacters) {
    m_registry.Import(
        RegistryFile(QM_W("[HKEY_CURRENT_USER\\Schl\u00FCssel]\r\n\"N\u00E4me\"=\"\u4E2D\xD83D\xDE00\"\r\n")));
    EXPECT_EQ(Key(QM_W("SCHLÜSSEL"), KEY_READ).Text(QM_W("nÄME")), WideText(QM_W("中\xD83D\xDE00\0"), 4));
}

TEST_F(RegistryFilesTest, KeyNamesMayHoldBrackets) {
    m_registry.Import(RegistryFile(QM_W("[HKEY_CURRENT_USER\\a]b[c]\r\n\"x\"=dword:00000001\r\n")));
    EXPECT_EQ(Key(QM_W("a]b[c"), KEY_READ).Number(QM_W("x")), 1u);
}

TEST_F(RegistryFilesTest, WidensTextsOfTheOlderFormat) {
    m_registry.Import(
        "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\K]\r\n\"e\"=hex(2):25,41,25,00\r\n\"m\"=hex(7):61,00,62,00,00\r\n"
        "\"b\"=hex:61,00\r\n\"s\"=\"text\"\r\n");
    const Key key(QM_W("K"), KEY_READ);
    EXPECT_EQ(key.Text(QM_W("e")), WideText(QM_W("%A%\0"), 4));
    EXPECT_EQ(key.Text(QM_W("m")), WideText(QM_W("a\0b\0\0"), 5));
    EXPECT_EQ(key.Data(QM_W("b")), (std::vector<BYTE>{0x61, 0}));
    EXPECT_EQ(key.Text(QM_W("s")), WideText(QM_W("text\0"), 5));
}

TEST_F(RegistryFilesTest, ReadsEveryKindOfValue) {
    ImportKey(
        QM_W("@=\"d\"\r\n\"s\"=\"a\\\\b\\\"c\"\r\n\"n\"=dword:FFfffffe\r\n\"short\"=dword:1f\r\n\"b\"=hex:01,fF\r\n"
             "\"none\"=hex(0):\r\n\"e\"=hex(2):41,00,00,00\r\n\"q\"=hex(b):01,02,03,04,05,06,07,08\r\n"
             "; a comment\r\n  \"blank\"  =  dword:00000001  ; comment\r\n"));
    const Key key(QM_W("K"), KEY_READ);
    DWORD type = 99;
    EXPECT_EQ(key.Text(nullptr), WideText(QM_W("d\0"), 2));
    EXPECT_EQ(key.Text(QM_W("s")), WideText(QM_W("a\\b\"c\0"), 6));
    EXPECT_EQ(key.Number(QM_W("n")), 0xFFFFFFFEu);
    EXPECT_EQ(key.Number(QM_W("short")), 0x1Fu);
    EXPECT_EQ(key.Data(QM_W("b"), &type), (std::vector<BYTE>{1, 0xFF}));
    EXPECT_EQ(type, 3u);
    EXPECT_EQ(key.Data(QM_W("none"), &type), std::vector<BYTE>{});
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(key.Data(QM_W("e"), &type), (std::vector<BYTE>{0x41, 0, 0, 0}));
    EXPECT_EQ(type, 2u);
    EXPECT_EQ(key.Data(QM_W("q"), &type).size(), 8u);
    EXPECT_EQ(type, 11u);
    EXPECT_EQ(key.Number(QM_W("blank")), 1u);
}

TEST_F(RegistryFilesTest, ContinuesLinesAndTexts) {
    ImportKey(QM_W("\"b\"=hex:01,\\\r\n  02,\\\r\n  03\r\n\"t\"=\"two\r\nlines\"\r\n\"after\"=dword:00000001\r\n"));
    const Key key(QM_W("K"), KEY_READ);
    EXPECT_EQ(key.Data(QM_W("b")), (std::vector<BYTE>{1, 2, 3}));
    // Wine's editor takes no text of two lines.
    if (!UnderWine() || key.Query(QM_W("t")) != 2) {
        EXPECT_EQ(key.Text(QM_W("t")), WideText(QM_W("two\r\nlines\0"), 11));
    }
    EXPECT_EQ(key.Number(QM_W("after")), 1u);
}

TEST_F(RegistryFilesTest, SkipsLinesThatMeanNothing) {
    ImportKey(QM_W(
        "\"before\"=dword:00000001\r\nrubbish\r\n\"x\"\r\n\"x\"=\r\n\"x\"=dword:\r\n\"x\"=dword:g\r\n\"x\"=hex:0g\r\n"
        "\"x\"=\"a\"b\r\n=\"a\"\r\n\"x\"=qword:0\r\n\"after\"=dword:00000002\r\n"));
    const Key key(QM_W("K"), KEY_READ);
    EXPECT_EQ(key.Number(QM_W("before")), 1u);
    EXPECT_EQ(key.Number(QM_W("after")), 2u);
    EXPECT_EQ(quillmark::test::ValueNames(key), (KeyNames{QM_W("before"), QM_W("after")}));
}

TEST_F(RegistryFilesTest, TheFileThatIsReadLaterWins) {
    ImportKey(QM_W("\"x\"=dword:00000001\r\n\"y\"=dword:00000001\r\n\"z\"=dword:00000001\r\n"));
    ImportKey(QM_W("\"x\"=dword:00000002\r\n\"y\"=-\r\n"));
    const Key key(QM_W("K"), KEY_READ);
    EXPECT_EQ(key.Number(QM_W("x")), 2u);
    EXPECT_EQ(key.Query(QM_W("y")), 2);
    EXPECT_EQ(key.Number(QM_W("z")), 1u);
}

TEST_F(RegistryFilesTest, DeletesKeysWithAllBelowThem) {
    m_registry.Import(RegistryFile(
        QM_W("[HKEY_CURRENT_USER\\K\\Sub\\Deep]\r\n\"x\"=dword:00000001\r\n\r\n[-HKEY_CURRENT_USER\\K\\sub]\r\n\r\n"
             "[HKEY_CURRENT_USER\\K\\Sub]\r\n\"new\"=dword:00000001\r\n")));
    const Key key(QM_W("K\\Sub"), KEY_READ);
    EXPECT_EQ(quillmark::test::SubKeys(key), KeyNames{});
    EXPECT_EQ(key.Number(QM_W("new")), 1u);
}

// Such lines has the file that the POSIX side writes.
TEST_F(RegistryFilesTest, ImportsWhatThisSystemWrites) {
    ImportKey(QM_W("\"gone\"=dword:00000001\r\n\r\n[HKEY_CURRENT_USER\\Old]\r\n"));
    m_registry.Import(
        RegistryFile(QM_W("[HKEY_CURRENT_USER]\r\n\r\n[HKEY_CURRENT_USER\\K]\r\n@=dword:00000abc\r\n"
                          "\"B\"=hex:01,ff\r\n\"gone\"=-\r\n\"L\"=hex(1):61,00,0a,00,00,00\r\n"
                          "\"M\"=hex(7):61,00,00,00,00,00\r\n\"T\\\"\"=\"a\\\\\\\"ä\"\r\n\r\n"
                          "[-HKEY_CURRENT_USER\\Old]\r\n")));
    const Key key(QM_W("K"), KEY_READ);
    EXPECT_EQ(key.Number(nullptr), 0xABCu);
    EXPECT_EQ(key.Data(QM_W("B")), (std::vector<BYTE>{1, 0xFF}));
    EXPECT_EQ(key.Query(QM_W("gone")), 2);
    EXPECT_EQ(key.Text(QM_W("L")), WideText(QM_W("a\n\0"), 3));
    DWORD type = 0;
    EXPECT_EQ(key.Data(QM_W("M"), &type), (std::vector<BYTE>{0x61, 0, 0, 0, 0, 0}));
    EXPECT_EQ(type, DWORD{REG_MULTI_SZ});
    EXPECT_EQ(key.Text(QM_W("T\"")), WideText(QM_W("a\\\"ä\0"), 5));
    HKEY old = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, QM_W("Old"), 0, KEY_READ, &old), 2);
}

}  // namespace
