// quillmark.exe as a person at a prompt has it.
#include <gtest/gtest.h>

#include <algorithm>

#include "BareWinHttp.h"
#include "CommandLine.h"
#include "TrustedAuthority.h"

namespace quillmark::test {
namespace {

TEST_F(CommandLineTest, UploadsListsAndDownloadsFilesWithBackslashesInTheirPaths) {
    ASSERT_EQ(Login().exitCode, 0u);
    const std::string content = Pattern(1'000'000);
    Write(L"file.bin", content);
    EXPECT_EQ(Run({L"put", Path(L"file.bin"), L"/"}).exitCode, 0u);
    EXPECT_EQ(Run({L"ls", L"/"}).output, "file.bin\n");
    EXPECT_EQ(Run({L"get", L"/file.bin", Path(L"back.bin")}).exitCode, 0u);
    EXPECT_TRUE(Read(L"back.bin") == content);
}

TEST_F(CommandLineTest, NamesInAnyScriptGoThereAndBack) {
    ASSERT_EQ(Login().exitCode, 0u);
    const std::wstring name = L"\x00E4 \x65E5\x672C\x8A9E \xD83D\xDE00";
    Write(name, "content");
    EXPECT_EQ(Run({L"put", Path(name), L"/"}).exitCode, 0u);
    EXPECT_EQ(Run({L"ls", L"/"}).output, "\xC3\xA4 \xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E \xF0\x9F\x98\x80\n");
    EXPECT_EQ(Run({L"get", L"/" + name, Path(L"back")}).exitCode, 0u);
    EXPECT_EQ(Read(L"back"), "content");
}

TEST_F(CommandLineTest, ResumableUploadsAndDeltasStoreTheContent) {
    ASSERT_EQ(Login().exitCode, 0u);
    const std::string old = Pattern(2'000'000);
    const std::string changed = old.substr(0, 1'000'000) + "changed" + old.substr(1'000'000);
    Write(L"old", old);
    Write(L"new", changed);
    EXPECT_EQ(Run({L"put", L"--resumable", Path(L"old"), L"/data"}).exitCode, 0u);
    const Outcome delta = Run({L"put", L"--delta", Path(L"old"), Path(L"new"), L"/data"});
    EXPECT_EQ(delta.exitCode, 0u) << delta.errors;
    EXPECT_EQ(Run({L"get", L"/data", Path(L"back")}).exitCode, 0u);
    EXPECT_TRUE(Read(L"back") == changed);
}

TEST_F(CommandLineTest, AnAuthorityThatTheSystemDoesNotTrustIsNotImportedButNamed) {
    const std::string url = HttpsUrl();
    const std::string file = AuthorityFile();
    const Outcome outcome = Run({L"--ca", std::wstring(file.begin(), file.end()), L"login",
                                 std::wstring(url.begin(), url.end()), L"--user", L"anna"});
    EXPECT_EQ(outcome.exitCode, 8u);
    EXPECT_NE(outcome.errors.find("store of trusted root certificates"), std::string::npos) << outcome.errors;
}

TEST_F(CommandLineTest, NamesThatThisSystemWouldTakeForSomethingElseAreNotWritten) {
    ASSERT_EQ(Login().exitCode, 0u);
    Write(L"plain", "content");
    ASSERT_EQ(Run({L"mkdir", L"/folder"}).exitCode, 0u);
    for (const wchar_t* name : {L"/folder/NUL", L"/folder/a:b", L"/folder/dot."}) {
        ASSERT_EQ(Run({L"put", Path(L"plain"), name}).exitCode, 0u);
    }
    const Outcome outcome = Run({L"get", L"/folder", Path(L"copy")});
    EXPECT_EQ(outcome.exitCode, 1u);
    EXPECT_TRUE(std::filesystem::is_empty(Path(L"copy")));
}

TEST_F(CommandLineTest, AFileWithSuchANameGoesIntoNoFolderButUnderAnotherName) {
    ASSERT_EQ(Login().exitCode, 0u);
    Write(L"plain", "content");
    std::filesystem::create_directory(Path(L"folder"));
    for (const wchar_t* name : {L"/NUL", L"/a:b", L"/dot."}) {
        ASSERT_EQ(Run({L"put", Path(L"plain"), name}).exitCode, 0u);
        for (const std::wstring& target : {Path(L"folder"), Path(L"new") + L"/"}) {
            const Outcome outcome = Run({L"get", name, target});
            EXPECT_EQ(outcome.exitCode, 8u);
            EXPECT_NE(outcome.errors.find("cannot be a local name"), std::string::npos) << outcome.errors;
        }
        EXPECT_EQ(Run({L"get", L"--range", L"0-3", name, Path(L"folder")}).exitCode, 8u);
        EXPECT_EQ(Run({L"get", name, Path(L"back")}).exitCode, 0u);
        EXPECT_EQ(Read(L"back"), "content");
    }
    EXPECT_TRUE(std::filesystem::is_empty(Path(L"folder")));
    EXPECT_FALSE(std::filesystem::exists(Path(L"new")));
}

// The machine's settings that a test has imported, gone with it.
class ImportedSettings {
public:
    ImportedSettings() = default;
    ~ImportedSettings() {
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\Policies\\Brevant");
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\Brevant");
    }
    ImportedSettings(const ImportedSettings&) = delete;
    ImportedSettings& operator=(const ImportedSettings&) = delete;
};

TEST_F(CommandLineTest, SettingsThatRegeditHasImportedHoldAndAPolicyBeforeThem) {
    const ImportedSettings imported;
    const auto import = [this](const std::string& key, const std::string& hours) {
        Write(L"settings.reg", "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\" + key +
                                   "]\r\n\"UploadExpiry\"=dword:" + hours + "\r\n");
        return RunLine(L"regedit.exe /S \"" + Path(L"settings.reg") + L"\"").exitCode;
    };
    const auto expiryIsTheLastDay = [this] {
        EXPECT_EQ(Run({L"--log", Path(L"log"), L"put", L"--resumable", Path(L"file"), L"/data"}).exitCode, 0u);
        const std::string log = Read(L"log");
        EXPECT_NE(log.find("Sending expiry: "), std::string::npos);
        ::DeleteFileW(Path(L"log").c_str());
        return log.find("Sending expiry: 9999-12-31T23:59:59.999Z") != std::string::npos;
    };
    ASSERT_EQ(Login().exitCode, 0u);
    Write(L"file", "content");
    ASSERT_EQ(import("Brevant\\Quillmark", "00000001"), 0u);
    EXPECT_FALSE(expiryIsTheLastDay());
    ASSERT_EQ(import("Policies\\Brevant\\Quillmark", "ffffffff"), 0u);
    EXPECT_TRUE(expiryIsTheLastDay());
}

// A tree with names in several scripts goes there and comes back; then its large file as the server's only copy of it
// changes: in chunks, as a delta either way, in pieces.
class MainJobTest : public CommandLineTest {
protected:
    void DoAllOfIt(const std::string& url) {
        ASSERT_EQ(Login(url).exitCode, 0u);
        PutATreeAndGetItBack();
        SendInChunksAndByDelta();
        GetByDeltaAndInPieces();
    }

private:
    void PutATreeAndGetItBack() const {
        const std::wstring names[] = {L"empty", L"one chunk", L"\x00E4\x00DF \x65E5\x672C\x8A9E",
                                      L"\x0440\x0443\x0441 \xD83D\xDE00", L"100% & a+b #c;d"};
        std::filesystem::create_directories(Path(L"tree/inner folder"));
        std::size_t size = 0;
        for (const std::wstring& name : names) {
            Write(L"tree/" + name, Pattern(size));
            Write(L"tree/inner folder/" + name, Pattern(size + 1));
            size += 16384;
        }
        const Outcome sent = Run({L"put", L"--quiet", Path(L"tree"), L"/tree"});
        EXPECT_EQ(sent.exitCode, 0u) << sent.errors;
        const std::string listed = Run({L"ls", L"-R", L"/tree"}).output;
        EXPECT_EQ(std::count(listed.begin(), listed.end(), '\n'), 11) << listed;
        EXPECT_EQ(Run({L"get", L"--quiet", L"/tree", Path(L"copy")}).exitCode, 0u);
        for (const std::wstring& name : names) {
            EXPECT_TRUE(Read(L"copy/" + name) == Read(L"tree/" + name)) << NarrowUtf8(name);
            EXPECT_TRUE(Read(L"copy/inner folder/" + name) == Read(L"tree/inner folder/" + name)) << NarrowUtf8(name);
            EXPECT_EQ(ModifiedMilliseconds(L"copy/" + name), ModifiedMilliseconds(L"tree/" + name)) << NarrowUtf8(name);
        }
    }
    [[nodiscard]] std::uint64_t ModifiedMilliseconds(const std::wstring& name) const {
        WIN32_FILE_ATTRIBUTE_DATA data = {};
        EXPECT_TRUE(::GetFileAttributesExW(Path(name).c_str(), GetFileExInfoStandard, &data)) << NarrowUtf8(name);
        return ((std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32) | data.ftLastWriteTime.dwLowDateTime) /
               10'000;
    }
    void SendInChunksAndByDelta() const {
        Write(L"old", m_old);
        Write(L"new", m_new);
        const Outcome whole = Run({L"put", L"--resumable", L"--chunk", L"1M", Path(L"old"), L"/data"});
        EXPECT_EQ(whole.exitCode, 0u) << whole.errors;
        const Outcome delta = Run({L"put", L"--delta", Path(L"old"), Path(L"new"), L"/data"});
        EXPECT_EQ(delta.exitCode, 0u) << delta.errors;
        const Outcome job = Run({L"put", L"--async-delta", Path(L"new"), Path(L"old"), L"/data"});
        EXPECT_EQ(job.exitCode, 0u) << job.errors;
        EXPECT_EQ(Run({L"get", L"/data", Path(L"back")}).exitCode, 0u);
        EXPECT_TRUE(Read(L"back") == m_old);
        EXPECT_EQ(Run({L"put", L"--delta", Path(L"old"), Path(L"new"), L"/data"}).exitCode, 0u);
    }
    void GetByDeltaAndInPieces() const {
        const Outcome delta = Run({L"get", L"--delta", Path(L"old"), L"/data", Path(L"by delta")});
        EXPECT_EQ(delta.exitCode, 0u) << delta.errors;
        EXPECT_TRUE(Read(L"by delta") == m_new);
        EXPECT_EQ(Run({L"get", L"--range", L"1M-", L"/data", Path(L"pieces")}).exitCode, 0u);
        EXPECT_EQ(Run({L"get", L"--range", L"0-1M", L"/data", Path(L"pieces")}).exitCode, 0u);
        EXPECT_TRUE(Read(L"pieces") == m_new);
    }

    const std::string m_old = Pattern(3'000'000);
    const std::string m_new = m_old.substr(0, 1'000'000) + "changed" + m_old.substr(1'000'000);
};

TEST_F(MainJobTest, OverHttpEveryByteComesBack) {
    DoAllOfIt(HttpUrl());
}

TEST_F(MainJobTest, OverHttpsEveryByteComesBack) {
    const TrustedAuthority trusted;
    DoAllOfIt(HttpsUrl());
}

TEST_F(CommandLineTest, AResumableUploadThatWasKilledIsContinuedByTheSameCommand) {
    ASSERT_EQ(Login().exitCode, 0u);
    const std::string content = Pattern(6'000'000);
    Write(L"large", content);
    const std::vector<std::wstring> command = {L"put", L"--resumable", L"--chunk", L"1M", Path(L"large"), L"/large"};
    HoldUpTheThirdChunk(5000);
    Program program = Start(command);
    AwaitHeldUp();
    program.Kill();
    const Outcome killed = Finish(program);
    EXPECT_EQ(killed.exitCode, Program::Killed);
    // Two chunks are there, and the one that was on its way may be.
    const std::string state = Run({L"uploads", L"state", L"/large"}).output;
    EXPECT_NE(state.find("\t6000000\t"), std::string::npos) << state;
    const Outcome again = Run(command);
    EXPECT_EQ(again.exitCode, 0u) << again.errors;
    EXPECT_EQ(Run({L"uploads"}).output, "");
    EXPECT_EQ(Run({L"get", L"/large", Path(L"back")}).exitCode, 0u);
    EXPECT_TRUE(Read(L"back") == content);
}

}  // namespace
}  // namespace quillmark::test
