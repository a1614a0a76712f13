// The registry as text: which files count, what this system reads where the registry editor has nothing to say, what is
// written.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "unit/platform/OwnRegistry.h"
#include "unit/platform/RegistryTestFolder.h"

namespace {

using quillmark::test::Key;
using quillmark::test::RegistryFile;
using quillmark::test::RegistryTestFolder;

class RegistryFilesPosixTest : public RegistryTestFolder {
protected:
    // One file with one key, whose lines are given.
    void WriteKey(std::string_view lines) const {
        Write("a.reg", "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\K]\n" + std::string(lines));
    }
};

TEST_F(RegistryFilesPosixTest, ReadsUtf8WithAndWithoutAMarkAndReplacesWhatIsMalformed) {
    WriteKey("\"a\"=\"ä\xF0\x9F\x98\x80\xFF\"\n");
    EXPECT_EQ(Key(u"K", KEY_READ).Text(u"a"), WideText(u"ä\xD83D\xDE00\xFFFD\0", 5));
    Write("a.reg", "\xEF\xBB\xBFWindows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\K]\n\"a\"=\"b\"\n");
    EXPECT_EQ(Key(u"K", KEY_READ).Text(u"a"), WideText(u"b\0", 2));
}

TEST_F(RegistryFilesPosixTest, SkipsWhatItCannotReadAndKeepsTheRest) {
    const char* broken[] = {"rubbish",
                            "\"open\"=\"text",
                            "\"open",
                            "\"x\"",
                            "\"x\"=",
                            "\"x\"=dword:",
                            "\"x\"=dword:g",
                            "\"x\"=dword:123456789",
                            "\"x\"=hex:0g",
                            "\"x\"=hex(:00",
                            "\"x\"=hex(2:00",
                            "\"x\"=hex:00 11",
                            "\"x\"=\"a\"b",
                            "\"x\"=-1",
                            "=\"a\"",
                            "@\"a\"",
                            "\"x\"=hex:00,\\",
                            "\"x\"=qword:0",
                            "\x01\x02",
                            "\"x\"=dword:00000001 1",
                            "[",
                            "[]",
                            "[-]",
                            "[HKEY_NONE\\K]"};
    for (const char* line : broken) {
        SCOPED_TRACE(line);
        WriteKey(std::string("\"before\"=dword:00000001\n") + line +
                 "\n[HKEY_CURRENT_USER\\K]\n\"after\"=dword:00000002\n");
        const Key key(u"K", KEY_READ);
        EXPECT_EQ(key.Number(u"before"), 1u);
        EXPECT_EQ(key.Number(u"after"), 2u);
        EXPECT_EQ(quillmark::test::ValueNames(key).size(), 2u);
    }
}

TEST_F(RegistryFilesPosixTest, ValuesOfAKeyThatIsNotKeptAreNotPutElsewhere) {
    WriteKey("\"a\"=dword:00000001\n[HKEY_NONE\\X]\n\"b\"=dword:00000002\n[broken\n\"c\"=dword:00000003\n");
    EXPECT_EQ(quillmark::test::ValueNames(Key(u"K", KEY_READ)), quillmark::test::KeyNames{u"a"});
}

TEST_F(RegistryFilesPosixTest, SurvivesFilesCutOffAnywhere) {
    const std::string whole = RegistryFile(
        u"[HKEY_CURRENT_USER\\K]\r\n\"a\"=\"b\\\\\"\r\n\"h\"=hex(7):01,\\\r\n  "
        u"02\r\n[-HKEY_CURRENT_USER\\L]\r\n@=-\r\n");
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        Write("a.reg", whole.substr(0, size));
        HKEY key = nullptr;
        const LSTATUS opened = RegOpenKeyExW(HKEY_CURRENT_USER, u"K", 0, KEY_READ, &key);
        EXPECT_TRUE(opened == 0 || opened == 2);
        EXPECT_EQ(RegCloseKey(key), opened == 0 ? 0 : 6);
    }
}

TEST_F(RegistryFilesPosixTest, LaterFilesWinAndOurOwnComesLast) {
    const std::string head = "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\K]\n";
    Write("a.reg", head + "\"x\"=dword:00000001\n\"y\"=dword:00000001\n\"z\"=dword:00000001\n");
    Write("z.REG", head + "\"x\"=dword:00000002\n\"y\"=-\n");
    Write("quillmark.reg", head + "\"z\"=dword:00000003\n");
    Write("z.txt", head + "\"x\"=dword:00000009\n");
    Write(".reg", head + "\"x\"=dword:00000009\n");
    const Key key(u"K", KEY_READ);
    EXPECT_EQ(key.Number(u"x"), 2u);
    EXPECT_EQ(key.Query(u"y"), 2);
    EXPECT_EQ(key.Number(u"z"), 3u);
}

TEST_F(RegistryFilesPosixTest, ClassesRootIsBelowTheLocalMachine) {
    Write("a.reg", "[HKEY_CLASSES_ROOT\\.q]\n\"x\"=dword:00000001\n");
    EXPECT_EQ(Key(u"Software\\Classes\\.q", KEY_READ, HKEY_LOCAL_MACHINE).Number(u"x"), 1u);
    EXPECT_EQ(Key(u".q", KEY_READ, HKEY_CLASSES_ROOT).Number(u"x"), 1u);
}

TEST_F(RegistryFilesPosixTest, NoticesAnyChangeOfAFileAtTheNextCall) {
    WriteKey("\"x\"=dword:00000001\n");
    const Key key(u"K", KEY_READ);
    // Same size, same inode, possibly the same time: still seen.
    for (char digit = '2'; digit <= '9'; ++digit) {
        WriteKey(std::string("\"x\"=dword:0000000") + digit + "\n");
        EXPECT_EQ(key.Number(u"x"), static_cast<DWORD>(digit - '0'));
    }
    Write("b.reg", "[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000064\n");
    EXPECT_EQ(key.Number(u"x"), 100u);
    std::filesystem::remove(Root() + "/b.reg");
    EXPECT_EQ(key.Number(u"x"), 9u);
}

TEST_F(RegistryFilesPosixTest, LooksAtTheEnvironmentAtEachOpen) {
    WriteKey("\"x\"=dword:00000001\n");
    const Key first(u"K", KEY_READ);
    std::filesystem::create_directory(Root() + "/other");
    Write("other/a.reg", "[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000002\n");
    ::setenv("QUILLMARK_REGISTRY", (Root() + "/other").c_str(), 1);
    EXPECT_EQ(Key(u"K", KEY_READ).Number(u"x"), 2u);
    EXPECT_EQ(first.Number(u"x"), 1u);
}

TEST_F(RegistryFilesPosixTest, WithoutAFolderOfItsOwnTheUsersConfigurationHoldsTheCurrentUserAlone) {
    ::unsetenv("QUILLMARK_REGISTRY");
    const char* old = ::getenv("XDG_CONFIG_HOME");
    const std::optional<std::string> before = old == nullptr ? std::nullopt : std::optional<std::string>(old);
    ::setenv("XDG_CONFIG_HOME", Root().c_str(), 1);
    std::filesystem::create_directory(Root() + "/quillmark");
    Write("quillmark/a.reg",
          "[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000001\n[HKEY_LOCAL_MACHINE\\registry_test]\n\"x\"=dword:00000001\n");
    {
        const Key key(u"K", KEY_ALL_ACCESS);
        EXPECT_EQ(key.Number(u"x"), 1u);
        HKEY machine = nullptr;
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"registry_test", 0, KEY_READ, &machine), 2);
        EXPECT_EQ(key.SetNumber(u"y", 2), 0);
    }
    EXPECT_TRUE(Exists("quillmark/quillmark.reg"));
    before ? ::setenv("XDG_CONFIG_HOME", before->c_str(), 1) : ::unsetenv("XDG_CONFIG_HOME");
}

TEST_F(RegistryFilesPosixTest, WritesWhatTheRegistryEditorImports) {
    WriteKey("\"gone\"=dword:00000001\n[HKEY_CURRENT_USER\\Old]\n");
    {
        const Key key(u"K", KEY_ALL_ACCESS);
        const WideText text = u"a\\\"ä";
        EXPECT_EQ(RegSetValueExW(key, u"T\"", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), 10), 0);
        EXPECT_EQ(key.SetNumber(nullptr, 0xABC), 0);
        const BYTE bytes[] = {1, 0xFF};
        EXPECT_EQ(RegSetValueExW(key, u"B", 0, REG_BINARY, bytes, 2), 0);
        EXPECT_EQ(RegSetValueExW(key, u"M", 0, REG_MULTI_SZ, bytes, 2), 0);
        EXPECT_EQ(RegSetValueExW(key, u"L", 0, REG_SZ, reinterpret_cast<const BYTE*>(u"a\n"), 6), 0);
        EXPECT_EQ(RegDeleteValueW(key, u"gone"), 0);
        EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"Old", 0, 0), 0);
    }
    EXPECT_EQ(Read("quillmark.reg"), RegistryFile(u"[HKEY_CURRENT_USER]\r\n"
                                                  u"\r\n[HKEY_CURRENT_USER\\K]\r\n"
                                                  u"@=dword:00000abc\r\n"
                                                  u"\"B\"=hex:01,ff\r\n"
                                                  u"\"gone\"=-\r\n"
                                                  u"\"L\"=hex(1):61,00,0a,00,00,00\r\n"
                                                  u"\"M\"=hex(7):01,ff\r\n"
                                                  u"\"T\\\"\"=\"a\\\\\\\"ä\"\r\n"
                                                  u"\r\n[-HKEY_CURRENT_USER\\Old]\r\n"));
}

TEST_F(RegistryFilesPosixTest, WhatOnlyOurFileKnewIsForgottenWhenItIsDeleted) {
    {
        const Key key = Key::Create(u"K\\Sub");
        EXPECT_EQ(key.SetNumber(u"x", 1), 0);
        EXPECT_EQ(RegDeleteValueW(key, u"x"), 0);
    }
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"K\\Sub", 0, 0), 0);
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"K", 0, 0), 0);
    EXPECT_EQ(Read("quillmark.reg"), RegistryFile(u"[HKEY_CURRENT_USER]\r\n"));
}

TEST_F(RegistryFilesPosixTest, ADeletedKeyThatIsMadeAnewIsEmpty) {
    WriteKey("\"x\"=dword:00000001\n");
    EXPECT_EQ(RegDeleteKeyExW(HKEY_CURRENT_USER, u"K", 0, 0), 0);
    const Key key = Key::Create(u"K");
    EXPECT_EQ(quillmark::test::ValueNames(key), quillmark::test::KeyNames{});
    EXPECT_EQ(key.SetNumber(u"y", 2), 0);
    EXPECT_EQ(quillmark::test::ValueNames(key), quillmark::test::KeyNames{u"y"});
}

TEST_F(RegistryFilesPosixTest, WritingReplacesTheFileInOneStepAndKeepsItsMode) {
    const Key key = Key::Create(u"K");
    struct stat before {};
    struct stat after {};
    const std::string path = Root() + "/quillmark.reg";
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    ASSERT_EQ(::stat(path.c_str(), &before), 0);
    EXPECT_EQ(key.SetNumber(u"x", 1), 0);
    ASSERT_EQ(::stat(path.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode & 0777u, 0600u);
    // Beside it there is the lock file, and nothing is left over.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Root()), {}), 2);
}

TEST_F(RegistryFilesPosixTest, MakesTheFolderWhenItIsMissing) {
    ::setenv("QUILLMARK_REGISTRY", (Root() + "/deep/below").c_str(), 1);
    HKEY none = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"K", 0, KEY_READ, &none), 2);
    const Key key = Key::Create(u"K");
    EXPECT_TRUE(Exists("deep/below/quillmark.reg"));
}

TEST_F(RegistryFilesPosixTest, FilesThatAreNoFilesOrTooLargeAreSkipped) {
    WriteKey("\"x\"=dword:00000001\n");
    std::filesystem::create_directory(Root() + "/folder.reg");
    ASSERT_EQ(::mkfifo((Root() + "/pipe.reg").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("nowhere", (Root() + "/link.reg").c_str()), 0);
    Write("large.reg", "[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000002\n");
    ASSERT_EQ(::truncate((Root() + "/large.reg").c_str(), 16 * 1024 * 1024 + 1), 0);
    EXPECT_EQ(Key(u"K", KEY_READ).Number(u"x"), 1u);
}

TEST_F(RegistryFilesPosixTest, AFileOfItsOwnThatCannotBeReadIsNotReplaced) {
    WriteKey("");
    const std::string own = Root() + "/quillmark.reg";
    Write("quillmark.reg", "[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000002\n");
    const Key key(u"K", KEY_ALL_ACCESS);
    ASSERT_EQ(::truncate(own.c_str(), 16 * 1024 * 1024 + 1), 0);
    EXPECT_EQ(key.SetNumber(u"y", 1), 223);
    EXPECT_EQ(RegDeleteValueW(key, u"x"), 223);
    EXPECT_EQ(std::filesystem::file_size(own), 16u * 1024 * 1024 + 1);
    EXPECT_TRUE(Read("quillmark.reg").starts_with("[HKEY_CURRENT_USER\\K]\n\"x\"=dword:00000002\n"));

    ASSERT_EQ(::truncate(own.c_str(), 100), 0);
    EXPECT_EQ(key.SetNumber(u"y", 1), 0);
    EXPECT_EQ(key.Number(u"x"), 2u);
}

TEST_F(RegistryFilesPosixTest, WithoutDescriptorsWhatWasReadLastCountsAndNothingIsWritten) {
    WriteKey("\"x\"=dword:00000001\n");
    const Key key(u"K", KEY_ALL_ACCESS);
    EXPECT_EQ(key.SetNumber(u"own", 7), 0);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none = {.rlim_cur = 0, .rlim_max = limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const LSTATUS one = key.Query(u"x");
    const LSTATUS own = key.Query(u"own");
    const LSTATUS set = key.SetNumber(u"own", 8);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(one, 0);
    EXPECT_EQ(own, 0);
    EXPECT_EQ(set, 4);
    EXPECT_EQ(key.Number(u"own"), 7u);
    EXPECT_EQ(key.SetNumber(u"own", 8), 0);
    EXPECT_EQ(key.Number(u"own"), 8u);
    EXPECT_EQ(key.Number(u"x"), 1u);
}

TEST_F(RegistryFilesPosixTest, KeysAreAtMost512LevelsDeep) {
    std::string path = "HKEY_CURRENT_USER";
    WideText subKey;
    for (int level = 1; level < 512; ++level) {
        path += "\\k";
        subKey += level == 1 ? u"k" : u"\\k";
    }
    Write("a.reg", "[" + path + "]\n\"x\"=dword:00000001\n[" + path + "\\k]\n\"y\"=dword:00000001\n");
    const Key key(subKey, KEY_READ);
    EXPECT_EQ(key.Number(u"x"), 1u);
    EXPECT_EQ(quillmark::test::SubKeys(key), quillmark::test::KeyNames{});
    HKEY deeper = nullptr;
    EXPECT_EQ(RegCreateKeyExW(key, u"k", 0, nullptr, 0, KEY_READ, nullptr, &deeper, nullptr), 87);
}

}  // namespace
