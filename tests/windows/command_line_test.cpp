// quillmark.exe as a person at a prompt has it.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "LoadedLibrary.h"

namespace quillmark::test {
namespace {

struct Outcome {
    DWORD exitCode = 0;
    std::string output;
    std::string errors;
};

std::wstring Quoted(const std::wstring& argument) {
    return L"\"" + argument + L"\"";
}

class CommandLineTest : public ::testing::Test {
protected:
    CommandLineTest() {
        ::SetEnvironmentVariableW(L"QUILLMARK_PASSWORD", L"secret");
        m_session = (m_folder.Path() / "state" / "session").wstring();
    }

    [[nodiscard]] std::wstring Path(const std::wstring& name) const { return (m_folder.Path() / name).wstring(); }
    void Write(const std::wstring& name, const std::string& content) const {
        std::ofstream(m_folder.Path() / name, std::ios::binary) << content;
    }
    [[nodiscard]] std::string Read(const std::wstring& name) const {
        std::ifstream file(m_folder.Path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Runs the program with these arguments, its login kept in the test's folder.
    Outcome Run(const std::vector<std::wstring>& arguments) const {
        std::wstring line = L"quillmark.exe --session " + Quoted(m_session);
        for (const std::wstring& argument : arguments) {
            line += L" " + Quoted(argument);
        }
        return RunLine(line);
    }
    // Runs any program.
    Outcome RunLine(std::wstring line) const {
        SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
        STARTUPINFOW start = {};
        start.cb = sizeof(start);
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdOutput = OpenFor(L"output", inherited);
        start.hStdError = OpenFor(L"errors", inherited);
        PROCESS_INFORMATION process = {};
        Outcome outcome;
        EXPECT_TRUE(
            ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process));
        ::WaitForSingleObject(process.hProcess, INFINITE);
        ::GetExitCodeProcess(process.hProcess, &outcome.exitCode);
        for (const HANDLE handle : {process.hProcess, process.hThread, start.hStdOutput, start.hStdError}) {
            ::CloseHandle(handle);
        }
        outcome.output = Read(L"output");
        outcome.errors = Read(L"errors");
        return outcome;
    }
    Outcome Login(const std::string& url = HttpUrl()) const {
        return Run({L"login", std::wstring(url.begin(), url.end()), L"--user", L"anna"});
    }

private:
    [[nodiscard]] HANDLE OpenFor(const wchar_t* name, SECURITY_ATTRIBUTES& inherited) const {
        return ::CreateFileW(Path(name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
    }

    TempFolder m_folder{"prompt"};
    std::wstring m_session;
};

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
        return RunLine(L"regedit.exe /S " + Quoted(Path(L"settings.reg"))).exitCode;
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

}  // namespace
}  // namespace quillmark::test
