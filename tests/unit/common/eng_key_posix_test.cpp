// Settings as an administrator of this system gives them: registry files in a folder.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/EngKey.h"
#include "common/ModuleState.h"
#include "fakes/RecordingEventing.h"

namespace quillmark {
namespace {

using fakes::RecordedLog;

class EngKeyFilesTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string folder = (std::filesystem::temp_directory_path() / "quillmark-settings-XXXXXX").string();
        ASSERT_NE(::mkdtemp(folder.data()), nullptr);
        m_folder = folder;
        ::setenv("QUILLMARK_REGISTRY", folder.c_str(), 1);
        InstallServices(nullptr);
    }
    void TearDown() override {
        ::unsetenv("QUILLMARK_REGISTRY");
        std::filesystem::remove_all(m_folder);
    }

    void Write(const char* file, const std::string& keys) const {
        std::ofstream(m_folder / file) << "Windows Registry Editor Version 5.00\n\n" << keys;
    }

    std::filesystem::path m_folder;
};

TEST_F(EngKeyFilesTest, ReadsANumber) {
    Write("a.reg", "[HKEY_LOCAL_MACHINE\\Software\\Brevant\\Quillmark]\n\"HTTPSendRequestTimeout\"=dword:00007530\n");
    EXPECT_EQ(ReadSetting(QM_W("HTTPSendRequestTimeout"), 60000), 30000u);
    EXPECT_EQ(ReadSetting(QM_W("HTTPReceiveResponseTimeout"), 60000), 60000u);
}

TEST_F(EngKeyFilesTest, LetsThePolicyWin) {
    Write("a.reg",
          "[HKEY_CURRENT_USER\\Software\\Brevant\\Quillmark]\n\"ServerLockHTTPTimeout\"=dword:00000005\n"
          "[HKEY_LOCAL_MACHINE\\Software\\Policies\\Brevant\\Quillmark]\n\"ServerLockHTTPTimeout\"=dword:00000007\n");
    EXPECT_EQ(ReadSetting(QM_W("ServerLockHTTPTimeout"), 10), 7u);
}

TEST_F(EngKeyFilesTest, SkipsATextAndSaysSo) {
    const RecordedLog log;
    Write("a.reg",
          "[HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark]\n\"UploadExpiry\"=\"12\"\n"
          "[HKEY_CURRENT_USER\\Software\\Brevant\\Quillmark]\n\"UploadExpiry\"=dword:0000000c\n");
    EXPECT_EQ(ReadSetting(QM_W("UploadExpiry"), 0), 12u);
    EXPECT_TRUE(log.Has(103, "EngKey", "EngKey::GetValueData",
                        "Registry value HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark\\UploadExpiry not of "
                        "expected type"));
}

TEST_F(EngKeyFilesTest, LogsNothingWithoutAProductKey) {
    const RecordedLog log;
    EXPECT_EQ(ReadSetting(QM_W("OfflineMappointTimeout"), 30), 30u);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(EngKeyFilesTest, ReadsTheKeysOfAGivenUser) {
    Write("a.reg", "[HKEY_USERS\\S-1-5-21\\Software\\Brevant\\Quillmark]\n\"UploadExpiry\"=dword:00000102\n");
    EXPECT_EQ(EngKey::GetValueData(QM_W("UploadExpiry"), QM_W("S-1-5-21")), (std::vector<BYTE>{2, 1, 0, 0}));
    EXPECT_EQ(EngKey::GetValueData(QM_W("UploadExpiry"), QM_W("S-1-5-22")), std::nullopt);
}

}  // namespace
}  // namespace quillmark
