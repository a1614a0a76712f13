// Short forms of the calls that most tests of the registry make.
#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "unit/platform/WideText.h"

namespace quillmark::test {

// An open key, closed at the end of its test.
class Key {
public:
    Key(const WideText& path, REGSAM rights, HKEY root = HKEY_CURRENT_USER) {
        EXPECT_EQ(RegOpenKeyExW(root, path.c_str(), 0, rights, &m_key), 0);
    }
    static Key Create(const WideText& path) {
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
    // With the nulls that are stored.
    WideText Text(LPCWSTR name) const {
        const std::vector<BYTE> data = Data(name);
        WideText text;
        for (std::size_t at = 0; at + 1 < data.size(); at += 2) {
            text.push_back(static_cast<WCHAR>(data[at] | data[at + 1] << 8));
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
    LSTATUS SetText(LPCWSTR name, const WideText& text) const {
        return RegSetValueExW(m_key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                              static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
    }

private:
    explicit Key(HKEY key) : m_key(key) {}

    HKEY m_key = nullptr;
};

// In whatever order they come.
using KeyNames = std::multiset<WideText>;

inline KeyNames SubKeys(HKEY key) {
    KeyNames names;
    WCHAR name[256];
    DWORD length = 256;
    while (RegEnumKeyExW(key, static_cast<DWORD>(names.size()), name, &length, nullptr, nullptr, nullptr, nullptr) ==
           0) {
        names.emplace(name, length);
        length = 256;
    }
    return names;
}

inline KeyNames ValueNames(HKEY key) {
    KeyNames names;
    std::vector<WCHAR> name(16384);
    DWORD length = 16384;
    while (RegEnumValueW(key, static_cast<DWORD>(names.size()), name.data(), &length, nullptr, nullptr, nullptr,
                         nullptr) == 0) {
        names.emplace(name.data(), length);
        length = 16384;
    }
    return names;
}

}  // namespace quillmark::test
