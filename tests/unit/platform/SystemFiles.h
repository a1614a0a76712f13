// What the tests of the platform functions need of a system beside these functions and the standard library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace quillmark::test {

// Sets the times of a file or folder, in 100 ns since 1601.
void SetTimes(const std::filesystem::path& path, std::uint64_t access, std::uint64_t write);

// Takes away what would keep the folder's entries from being removed.
void MakeRemovable(const std::filesystem::path& folder);

// How many handles this process has open.
[[nodiscard]] std::size_t OpenHandles();

}  // namespace quillmark::test
