// A folder of the test's own, gone with it, with files to write and to read back.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Texts.h"
#include "quillmark/WideString.h"

namespace quillmark::test {

class HostFolder {
public:
    HostFolder() {
        GUID unique = {};
        static_cast<void>(CoCreateGuid(&unique));
        m_path = std::filesystem::temp_directory_path() / ("quillmark-host-" + cli::GuidText(unique));
        std::filesystem::create_directories(m_path);
    }
    ~HostFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    HostFolder(const HostFolder&) = delete;
    HostFolder& operator=(const HostFolder&) = delete;

    // With "/" on every system: that is how the commands have paths.
    [[nodiscard]] std::string Path(const std::string& name) const { return (m_path / name).generic_string(); }
    [[nodiscard]] WideString Wide(const std::string& name) const { return WidenUtf8(Path(name)); }

    // Writes a file and gives back its path.
    WideString Write(const std::string& name, const std::string& content) const {
        std::ofstream(m_path / name, std::ios::binary) << content;
        return Wide(name);
    }
    [[nodiscard]] std::string Read(const std::string& name) const {
        std::ifstream file(m_path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_path;
};

// So many bytes that do not repeat in any short distance.
inline std::string Noise(std::size_t size, std::uint32_t seed = 1) {
    std::string bytes(size, '\0');
    std::uint32_t state = seed;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

}  // namespace quillmark::test
