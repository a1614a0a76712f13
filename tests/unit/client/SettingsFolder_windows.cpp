// A key of the test's own, which this process sees as the machine's registry.
#include <sstream>
#include <stdexcept>

#include "SettingsFolder.h"
#include "common/ModuleState.h"
#include "support/TestRegistry.h"

namespace quillmark::test {

struct SettingsFolder::Place {
    TestRegistry registry;
};

SettingsFolder::SettingsFolder() : m_place(std::make_unique<Place>()) {
    InstallServices(nullptr);
}

SettingsFolder::~SettingsFolder() = default;

void SettingsFolder::Write(const std::string& values) const {
    constexpr const char* Settings = "Software\\Brevant\\Quillmark";
    ::RegDeleteKeyA(HKEY_LOCAL_MACHINE, Settings);
    HKEY key = nullptr;
    if (::RegCreateKeyExA(HKEY_LOCAL_MACHINE, Settings, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr) != 0) {
        throw std::runtime_error("no key for the settings");
    }
    std::istringstream lines(values);
    for (std::string line; std::getline(lines, line);) {
        constexpr const char* Mark = "\"=dword:";
        const std::size_t end = line.find(Mark);
        if (line.front() != '"' || end == std::string::npos) {
            throw std::runtime_error("no number: " + line);
        }
        const DWORD number = static_cast<DWORD>(std::stoul(line.substr(end + std::string(Mark).size()), nullptr, 16));
        ::RegSetValueExA(key, line.substr(1, end - 1).c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                         sizeof(number));
    }
    ::RegCloseKey(key);
}

}  // namespace quillmark::test
