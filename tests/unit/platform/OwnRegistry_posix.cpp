// A folder of registry files, of which the last in the order of their names counts.
#include "unit/platform/OwnRegistry.h"

#include <cstdlib>
#include <fstream>

#include "support/TempFolder.h"

namespace quillmark::test {

struct OwnRegistry::Place {
    TempFolder folder{"registry"};
    char nextFile = 'a';
};

OwnRegistry::OwnRegistry() : m_place(std::make_unique<Place>()) {
    ::setenv("QUILLMARK_REGISTRY", m_place->folder.Path().c_str(), 1);
}

OwnRegistry::~OwnRegistry() {
    ::unsetenv("QUILLMARK_REGISTRY");
}

void OwnRegistry::Import(const std::string& file) {
    const std::string name = {m_place->nextFile++, '.', 'r', 'e', 'g'};
    std::ofstream(m_place->folder.Path() / name, std::ios::binary) << file;
}

}  // namespace quillmark::test
