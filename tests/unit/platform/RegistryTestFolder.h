// A registry of its own for each test, and short forms of the calls that most of them make.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"
#include "quillmark/platform/Registry.h"

namespace quillmark::test {

class RegistryTestFolder : public ::testing::Test {
protected:
    RegistryTestFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "registry_test_XXXXXX").string();
        m_root = ::mkdtemp(pattern.data());
        ::setenv("QUILLMARK_REGISTRY", m_root.c_str(), 1);
    }
    ~RegistryTestFolder() override {
        ::unsetenv("QUILLMARK_REGISTRY");
        std::filesystem::remove_all(m_root);
    }

    const std::string& Root() const { return m_root; }
    bool Exists(std::string_view name) const { return std::filesystem::exists(m_root + "/" + std::string(name)); }
    void Write(std::string_view name, std::string_view contents) const {
        std::ofstream(m_root + "/" + std::string(name), std::ios::binary) << contents;
    }
    std::string Read(std::string_view name) const {
        std::ifstream file(m_root + "/" + std::string(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string m_root;
};

// An open key, closed at the end of its test.
class Key {
public:
    Key(const std::u16string& path, REGSAM rights, HKEY root = HKEY_CURRENT_USER) {
        EXPECT_EQ(RegOpenKeyExW(root, path.c_str(), 0, rights, &m_key), 0);
    }
    static Key Create(const std::u16string& path) {
        HKEY key = nullptr;
        EXPECT_EQ(
            RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
        return Key(key);
    }
    ~Key() { RegCloseKey(m_key); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    operator HKEY() const { return m_key; }

    std::vector<BYTE> Data(LPCWSTR name, DWORD* type = nullptr) const {
        DWORD size = 0;
        EXPECT_EQ(RegQueryValueExW(m_key, name, nullptr, type, nullptr, &size), 0);
        std::vector<BYTE> data(size + 1);
        EXPECT_EQ(RegQueryValueExW(m_key, name, nullptr, type, data.data(), &size), 0);
        data.resize(size);
        return data;
    }
    std::u16string Text(LPCWSTR name) const {
        const std::vector<BYTE> data = Data(name);
        std::u16string text;
        for (std::size_t at = 0; at + 1 < data.size(); at += 2) {
            text.push_back(static_cast<char16_t>(data[at] | data[at + 1] << 8));
        }
        return text;
    }
    DWORD Number(LPCWSTR name) const {
        const std::vector<BYTE> data = Data(name);
        EXPECT_EQ(data.size(), 4u);
        return data.size() != 4 ? 0 : data[0] | DWORD{data[1]} << 8 | DWORD{data[2]} << 16 | DWORD{data[3]} << 24;
    }
    LSTATUS Query(LPCWSTR name) const { return RegQueryValueExW(m_key, name, nullptr, nullptr, nullptr, nullptr); }
    LSTATUS SetNumber(LPCWSTR name, DWORD number) const {
        return RegSetValueExW(m_key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
    }

private:
    explicit Key(HKEY key) : m_key(key) {}

    HKEY m_key = nullptr;
};

inline std::vector<std::u16string> SubKeys(HKEY key) {
    std::vector<std::u16string> names;
    WCHAR name[256];
    DWORD length = 256;
    while (RegEnumKeyExW(key, static_cast<DWORD>(names.size()), name, &length, nullptr, nullptr, nullptr, nullptr) ==
           0) {
        names.emplace_back(name, length);
        length = 256;
    }
    return names;
}

inline std::vector<std::u16string> ValueNames(HKEY key) {
    std::vector<std::u16string> names;
    std::vector<WCHAR> name(16384);
    DWORD length = 16384;
    while (RegEnumValueW(key, static_cast<DWORD>(names.size()), name.data(), &length, nullptr, nullptr, nullptr,
                         nullptr) == 0) {
        names.emplace_back(name.data(), length);
        length = 16384;
    }
    return names;
}

}  // namespace quillmark::test
