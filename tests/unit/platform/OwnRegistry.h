// A registry of its own for each test, empty at first, which the system's own way of importing registry files fills:
// a file in the registry's folder here, the registry editor on Windows.
#pragma once

#include <memory>
#include <string>

#include "unit/platform/WideText.h"

namespace quillmark::test {

class OwnRegistry {
public:
    OwnRegistry();
    ~OwnRegistry();
    OwnRegistry(const OwnRegistry&) = delete;
    OwnRegistry& operator=(const OwnRegistry&) = delete;

    // The bytes of a registry file with keys of HKEY_CURRENT_USER. What was imported before stays, as far as the file
    // says nothing else.
    void Import(const std::string& file);

private:
    struct Place;
    std::unique_ptr<Place> m_place;
};

// The bytes of a registry file with these lines, in UTF-16 as the registry editor writes them.
inline std::string RegistryFile(WideView lines) {
    const WideText text = QM_W("Windows Registry Editor Version 5.00\r\n\r\n") + WideText(lines);
    std::string bytes = "\xFF\xFE";
    for (const WCHAR unit : text) {
        bytes.push_back(static_cast<char>(unit & 0xFF));
        bytes.push_back(static_cast<char>(unit >> 8));
    }
    return bytes;
}

}  // namespace quillmark::test
