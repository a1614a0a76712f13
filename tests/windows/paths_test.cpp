// The ways in which Windows names a file, in the arguments of quillmark.exe.
#include "CommandLine.h"

namespace quillmark::test {
namespace {

class PathsTest : public CommandLineTest {
protected:
    void SetUp() override {
        ASSERT_EQ(Login().exitCode, 0u);
        Write(L"file", "content");
    }
    // Has the programs that are started from now on begin in the test's folder; gives back its drive, "C:".
    [[nodiscard]] std::wstring BeginHere() const {
        const std::wstring folder = Path(L"");
        EXPECT_TRUE(::SetCurrentDirectoryW(folder.c_str()));
        return std::filesystem::path(folder).root_name().wstring();
    }
};

TEST_F(PathsTest, ABackslashAtTheEndNamesAFolderOfTheServer) {
    ASSERT_EQ(Run({L"mkdir", L"\\one", L"\\two"}).exitCode, 0u);
    // In quotation marks the last backslash would belong to the mark: it is doubled there.
    EXPECT_EQ(Run({L"put", Path(L"file"), L"\\one\\\\"}).exitCode, 0u);
    EXPECT_EQ(Run({L"ls", L"\\one"}).output, "file\n");
    EXPECT_EQ(Run({L"mv", L"\\one\\file", L"\\two\\\\"}).exitCode, 0u);
    EXPECT_EQ(Run({L"ls", L"\\two"}).output, "file\n");
}

TEST_F(PathsTest, ADriveWithoutABackslashMeansItsCurrentFolder) {
    const std::wstring drive = BeginHere();
    ASSERT_EQ(Run({L"mkdir", L"/in"}).exitCode, 0u);
    const Outcome sent = Run({L"put", drive + L"file", L"/in/"});
    EXPECT_EQ(sent.exitCode, 0u) << sent.errors;
    EXPECT_EQ(Run({L"ls", L"/in"}).output, "file\n");
    std::filesystem::remove(Path(L"file"));
    const Outcome fetched = Run({L"get", L"/in/file", drive});
    EXPECT_EQ(fetched.exitCode, 0u) << fetched.errors;
    EXPECT_EQ(Read(L"file"), "content");
    EXPECT_EQ(Run({L"get", L"/in", drive + L"copy"}).exitCode, 0u);
    EXPECT_EQ(Read(L"copy/file"), "content");
}

TEST_F(PathsTest, PathsOfMoreThan260CharactersAreFoundPlainAndWithoutParsing) {
    std::filesystem::path deep = L"tree";
    for (int level = 0; level < 10; ++level) {
        deep /= std::wstring(30, L'd');
    }
    const std::wstring exact = L"\\\\?\\" + std::filesystem::path(Path(L"")).make_preferred().wstring();
    std::filesystem::create_directories(exact + deep.make_preferred().wstring());
    Write(deep.wstring() + L"/file", "deep");
    for (const std::wstring& tree : {Path(L"tree"), exact + L"tree"}) {
        const Outcome sent = Run({L"put", L"--always", tree, L"/tree"});
        EXPECT_EQ(sent.exitCode, 0u) << sent.errors;
    }
    const Outcome fetched = Run({L"get", L"/tree", exact + L"copy"});
    EXPECT_EQ(fetched.exitCode, 0u) << fetched.errors;
    EXPECT_EQ(Read(L"copy" + deep.wstring().substr(4) + L"/file"), "deep");
}

// Wine takes them in any case.
TEST_F(PathsTest, TheProgramAsksTheSystemForLongPaths) {
    const HMODULE program = ::LoadLibraryExW(L"quillmark.exe", nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(program, nullptr);
    const HRSRC found = ::FindResourceW(program, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24));
    ASSERT_NE(found, nullptr);
    const std::string manifest(static_cast<const char*>(::LockResource(::LoadResource(program, found))),
                               ::SizeofResource(program, found));
    EXPECT_NE(manifest.find("WindowsSettings\">true</longPathAware>"), std::string::npos) << manifest;
    ::FreeLibrary(program);
}

TEST_F(PathsTest, NamesOfDevicesAndTheirLikeInATreeAreToldEachWithItsReason) {
    ASSERT_EQ(Run({L"mkdir", L"/odd"}).exitCode, 0u);
    const std::vector<std::wstring> names = {L"NUL", L"CON.txt", L"a:b", L"dot.", L"space "};
    for (const std::wstring& name : names) {
        ASSERT_EQ(Run({L"put", Path(L"file"), L"/odd/" + name}).exitCode, 0u);
    }
    ASSERT_EQ(Run({L"put", Path(L"file"), L"/odd/plain"}).exitCode, 0u);
    const Outcome outcome = Run({L"get", L"/odd", Path(L"copy")});
    EXPECT_EQ(outcome.exitCode, 1u);
    for (const std::wstring& name : names) {
        const std::string line = "/copy/" + std::string(name.begin(), name.end()) + ": it cannot be a local name (123)";
        EXPECT_NE(outcome.errors.find(line), std::string::npos) << line << "\n" << outcome.errors;
    }
    EXPECT_EQ(NamesIn(L"copy"), std::vector<std::wstring>{L"plain"});
}

}  // namespace
}  // namespace quillmark::test
