// What the suites of tree transfers share: trees to write, and summaries to compare.
#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <sstream>

#include "integration/cli/CliTest.h"
#include "integration/cli/Facts.h"

namespace quillmark::testing {

class TransferTreeTest : public CliTest {
protected:
    void SetUp() override { StartAndLogin(); }

    // Bytes that do not repeat in any short distance.
    static std::string Noise(std::size_t size, std::uint32_t seed = 1) {
        std::string bytes(size, '\0');
        std::uint32_t state = seed;
        for (char& byte : bytes) {
            state = state * 1664525u + 1013904223u;
            byte = static_cast<char>(state >> 24);
        }
        return bytes;
    }
    // Writes a file with this last-write time, in whole seconds before now.
    std::string WriteAged(const std::string& name, const std::string& content, int seconds) const {
        const std::string path = Write(name, content);
        Age(path, seconds);
        return path;
    }
    static void Age(const std::string& path, int seconds) {
        std::filesystem::last_write_time(path,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::seconds(seconds));
    }
    // A file, a folder with a file, an empty folder.
    std::string WriteTree() const {
        Write("tree/one", "1");
        Write("tree/sub/two", "22");
        std::filesystem::create_directories(Local("tree/empty"));
        return Local("tree");
    }

    // The lines of a text in the order of their letters: with several jobs theirs is free.
    static std::vector<std::string> SortedLines(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }
    // The contents of a local tree by path; folders end in a slash.
    static std::map<std::string, std::string> TreeAt(const std::string& top) {
        std::map<std::string, std::string> tree;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
            const std::string path = entry.path().lexically_relative(top).string();
            entry.is_directory() ? tree[path + "/"] = "" : tree[path] = Read(entry.path().string());
        }
        return tree;
    }
    // The same of a folder of the server, through a download.
    std::map<std::string, std::string> TreeOnServer(const std::string& path) const {
        std::filesystem::remove_all(Local("seen"));
        EXPECT_EQ(0, Quillmark({"get", "-q", path, Local("seen")}).exitCode);
        return TreeAt(Local("seen"));
    }

    // Runs a command; its exit code, what it prints and its summary are these.
    void Expect(int exitCode, const std::string& output, const std::string& errors, const Arguments& arguments) const {
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(exitCode, result.exitCode);
        EXPECT_EQ(output, result.output);
        EXPECT_EQ(errors, Facts(result.errors));
    }
};

}  // namespace quillmark::testing
