// Windows: a registry of the test's own. While it lives, this process sees two empty keys as the machine's and the
// user's registry; what it writes there is gone with it.
#pragma once

#include <random>
#include <stdexcept>
#include <string>

#include "quillmark/Platform.h"

namespace quillmark::test {

class TestRegistry {
public:
    TestRegistry() : m_path("Software\\QuillmarkTests\\" + std::to_string(std::random_device()())) {
        m_machine = Make("\\machine");
        m_user = Make("\\user");
        Replace(HKEY_LOCAL_MACHINE, m_machine);
        Replace(HKEY_CURRENT_USER, m_user);
    }
    ~TestRegistry() {
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        ::RegCloseKey(m_machine);
        ::RegCloseKey(m_user);
        ::RegDeleteTreeA(HKEY_CURRENT_USER, m_path.c_str());
    }
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;

    // Where other programs find the key that this process sees as the user's: below the user's own.
    [[nodiscard]] std::string UsersKey() const { return m_path + "\\user"; }

private:
    [[nodiscard]] HKEY Make(const char* part) const {
        HKEY key = nullptr;
        if (::RegCreateKeyExA(HKEY_CURRENT_USER, (m_path + part).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              nullptr) != 0) {
            throw std::runtime_error("no key for the test's registry");
        }
        return key;
    }
    static void Replace(HKEY root, HKEY key) {
        if (::RegOverridePredefKey(root, key) != 0) {
            throw std::runtime_error("the registry cannot be replaced");
        }
    }

    std::string m_path;
    HKEY m_machine = nullptr;
    HKEY m_user = nullptr;
};

}  // namespace quillmark::test
