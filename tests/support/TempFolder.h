// A folder of a test's own, empty at first, removed with all that is in it.
#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace quillmark::test {

class TempFolder {
public:
    // name: what the test is about; it begins the folder's name.
    explicit TempFolder(const std::string& name) {
        std::random_device random;
        do {
            m_path = std::filesystem::temp_directory_path() / ("quillmark-" + name + "-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

}  // namespace quillmark::test
