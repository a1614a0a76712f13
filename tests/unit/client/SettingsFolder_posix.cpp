// A folder of registry files.
#include <cstdlib>
#include <fstream>

#include "SettingsFolder.h"
#include "common/ModuleState.h"
#include "support/TempFolder.h"

namespace quillmark::test {

struct SettingsFolder::Place {
    TempFolder folder{"settings"};
};

SettingsFolder::SettingsFolder() : m_place(std::make_unique<Place>()) {
    ::setenv("QUILLMARK_REGISTRY", m_place->folder.Path().c_str(), 1);
    InstallServices(nullptr);
}

SettingsFolder::~SettingsFolder() {
    ::unsetenv("QUILLMARK_REGISTRY");
}

void SettingsFolder::Write(const std::string& values) const {
    std::ofstream(m_place->folder.Path() / "a.reg") << "Windows Registry Editor Version 5.00\n\n"
                                                       "[HKEY_LOCAL_MACHINE\\Software\\Brevant\\Quillmark]\n"
                                                    << values;
}

}  // namespace quillmark::test
