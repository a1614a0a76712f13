// A registry of the test's own: a folder of registry files that stands in for the system's while it lives.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/ModuleState.h"

namespace quillmark::test {

class SettingsFolder {
public:
    SettingsFolder() {
        std::string folder = (std::filesystem::temp_directory_path() / "quillmark-settings-XXXXXX").string();
        m_folder = ::mkdtemp(folder.data()) != nullptr ? folder : std::string();
        ::setenv("QUILLMARK_REGISTRY", m_folder.c_str(), 1);
        InstallServices(nullptr);
    }
    ~SettingsFolder() {
        ::unsetenv("QUILLMARK_REGISTRY");
        std::filesystem::remove_all(m_folder);
    }
    SettingsFolder(const SettingsFolder&) = delete;
    SettingsFolder& operator=(const SettingsFolder&) = delete;

    // The machine's settings from now on: lines such as "\"UploadExpiry\"=dword:0000000c\n".
    void Write(const std::string& values) const {
        std::ofstream(m_folder / "a.reg") << "Windows Registry Editor Version 5.00\n\n"
                                             "[HKEY_LOCAL_MACHINE\\Software\\Brevant\\Quillmark]\n"
                                          << values;
    }

private:
    std::filesystem::path m_folder;
};

}  // namespace quillmark::test
