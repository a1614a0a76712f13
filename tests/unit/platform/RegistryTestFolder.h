// A folder of registry files of its own for each test, for what this system alone makes of them.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "support/TempFolder.h"
#include "unit/platform/RegistryKeys.h"

namespace quillmark::test {

class RegistryTestFolder : public ::testing::Test {
protected:
    RegistryTestFolder() { ::setenv("QUILLMARK_REGISTRY", Root().c_str(), 1); }
    ~RegistryTestFolder() override { ::unsetenv("QUILLMARK_REGISTRY"); }

    std::string Root() const { return m_folder.Path().string(); }
    bool Exists(std::string_view name) const { return std::filesystem::exists(m_folder.Path() / name); }
    void Write(std::string_view name, std::string_view contents) const {
        std::ofstream(m_folder.Path() / name, std::ios::binary) << contents;
    }
    std::string Read(std::string_view name) const {
        std::ifstream file(m_folder.Path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    TempFolder m_folder{"registry"};
};

}  // namespace quillmark::test
