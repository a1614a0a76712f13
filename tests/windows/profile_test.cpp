// Logins under names of their own, which lie in the user's local data.
#include "CommandLine.h"

// After the platform's header, which has its own order of the system's.
#include <aclapi.h>
#include <shlobj.h>

#include <fstream>
#include <sstream>

namespace quillmark::test {
namespace {

class ProfileTest : public CommandLineTest {
protected:
    ~ProfileTest() override { ::DeleteFileW(File().c_str()); }

    // Other cases use the same user's data at the same time: each has a name of its own.
    const std::wstring name = L"test-" + std::to_wstring(::GetCurrentProcessId());

    [[nodiscard]] std::wstring File() const {
        WCHAR folder[MAX_PATH] = {};
        ::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
        return std::wstring(folder) + L"\\quillmark\\profiles\\" + name;
    }
    [[nodiscard]] Outcome Plain(const std::wstring& arguments) const {
        return RunLine(L"quillmark.exe --profile " + name + L" " + arguments);
    }
    [[nodiscard]] Outcome LoginTo() const {
        const std::string url = HttpUrl();
        return Plain(L"login " + std::wstring(url.begin(), url.end()) + L" --user anna");
    }
    [[nodiscard]] static std::string Narrow(const std::wstring& text) { return {text.begin(), text.end()}; }
};

// Whether an entry of the list allows something to somebody else. Wine always adds the system itself.
bool AllowsOthers(PACL list, PSID owner) {
    for (DWORD index = 0; index < list->AceCount; ++index) {
        ACCESS_ALLOWED_ACE* entry = nullptr;
        EXPECT_TRUE(::GetAce(list, index, reinterpret_cast<void**>(&entry)));
        const bool allows = entry->Header.AceType == ACCESS_ALLOWED_ACE_TYPE && entry->Mask != 0;
        if (allows && ::EqualSid(&entry->SidStart, owner) == FALSE &&
            ::IsWellKnownSid(&entry->SidStart, WinLocalSystemSid) == FALSE) {
            return true;
        }
    }
    return false;
}

TEST_F(ProfileTest, ALoginsFileIsForItsOwnerOnly) {
    ASSERT_EQ(LoginTo().exitCode, 0u);
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ASSERT_EQ(
        ::GetNamedSecurityInfoW(File().data(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                &owner, nullptr, &list, nullptr, &descriptor),
        DWORD{ERROR_SUCCESS});
    ASSERT_NE(list, nullptr);
    EXPECT_GT(list->AceCount, 0);
    EXPECT_FALSE(AllowsOthers(list, owner));
    ::LocalFree(descriptor);
}

TEST_F(ProfileTest, IsListedToldAndForgotten) {
    ASSERT_EQ(LoginTo().exitCode, 0u);
    const std::string line = Narrow(name) + "\t" + HttpUrl() + "\tanna\n";
    const std::string listed = RunLine(L"quillmark.exe profiles").output;
    EXPECT_NE(listed.find(line), std::string::npos) << listed;
    const Outcome told = Plain(L"whoami");
    EXPECT_EQ(told.exitCode, 0u) << told.errors;
    EXPECT_NE(told.output.find(Narrow(name)), std::string::npos) << told.output;
    EXPECT_EQ(Plain(L"logout").exitCode, 0u);
    EXPECT_FALSE(std::filesystem::exists(File()));
    EXPECT_EQ(RunLine(L"quillmark.exe profiles").output.find(line), std::string::npos);
    EXPECT_EQ(Plain(L"ls /").exitCode, 4u);
}

TEST_F(ProfileTest, ASessionThatHasEndedIsRenewedWhenAPasswordIsAtHand) {
    ASSERT_EQ(LoginTo().exitCode, 0u);
    std::ifstream file(std::filesystem::path(File()), std::ios::binary);
    std::stringstream kept;
    kept << file.rdbuf();
    file.close();
    std::string text = kept.str();
    const std::size_t token = text.find("\ntoken ");
    ASSERT_NE(token, std::string::npos) << text;
    text.replace(token + 7, text.find('\n', token + 1) - token - 7, "ended");
    std::ofstream(std::filesystem::path(File()), std::ios::binary) << text;
    const Outcome renewed = Plain(L"ls /");
    EXPECT_EQ(renewed.exitCode, 0u) << renewed.errors;
    ::SetEnvironmentVariableW(L"QUILLMARK_PASSWORD", nullptr);
    EXPECT_EQ(Plain(L"ls /").exitCode, 0u);
}

}  // namespace
}  // namespace quillmark::test
