// A folder of a test's own for its log files, removed at the end.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace quillmark {

class LogFolder {
public:
    LogFolder() {
        std::random_device random;
        do {
            m_folder = std::filesystem::temp_directory_path() / ("quillmark-log-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_folder));
    }
    ~LogFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    LogFolder(const LogFolder&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;

    [[nodiscard]] std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(Path(name), std::ios::binary) << text;
    }
    // The lines of a file; a last line without its end counts too.
    [[nodiscard]] std::vector<std::string> Lines(const std::string& name) const {
        std::ifstream file(Path(name), std::ios::binary);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    std::filesystem::path m_folder;
};

}  // namespace quillmark
