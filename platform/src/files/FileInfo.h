// What the file system knows of an entry, in Windows terms.
#pragma once

#include <cstdint>
#include <string>

#include "quillmark/platform/Types.h"

struct timespec;

namespace quillmark::platform {

// Which file this is, whatever path or link leads to it.
struct FileId {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend bool operator==(const FileId&, const FileId&) = default;
};

struct FileInfo {
    FileId id;
    std::uint32_t mode = 0;
    std::uint64_t size = 0;  // 0 for anything but a regular file
    FILETIME creation{};
    FILETIME access{};
    FILETIME write{};
    bool isLink = false;  // set by the caller that followed a link to get here

    [[nodiscard]] bool IsFolder() const;
    [[nodiscard]] bool IsRegular() const;
    [[nodiscard]] bool IsReadOnly() const;  // a file whose owner may not write it
    [[nodiscard]] DWORD Attributes() const;
};

enum class Links { Follow, Keep };

// Both return 0 or an errno value. The path is taken relative to the folder (AT_FDCWD for the current one).
[[nodiscard]] int ReadInfo(int folder, const char* path, Links links, FileInfo& info);
[[nodiscard]] int ReadInfo(int descriptor, FileInfo& info);

// 100 ns since 1601 from a POSIX time; times before 1601 are 0, those past the last tick are the last whole second.
[[nodiscard]] FILETIME ToFileTime(std::int64_t seconds, std::uint32_t nanoseconds);
[[nodiscard]] timespec ToTimespec(std::uint64_t ticks);

}  // namespace quillmark::platform
