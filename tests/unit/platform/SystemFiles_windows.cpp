#include <stdexcept>

#include "quillmark/Platform.h"
#include "unit/platform/SystemFiles.h"

namespace quillmark::test {

void SetTimes(const std::filesystem::path& path, std::uint64_t access, std::uint64_t write) {
    const auto toFileTime = [](std::uint64_t ticks) {
        return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    };
    const FILETIME accessTime = toFileTime(access);
    const FILETIME writeTime = toFileTime(write);
    const HANDLE file = ::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    const BOOL set = ::SetFileTime(file, nullptr, &accessTime, &writeTime);
    ::CloseHandle(file);
    if (!set) {
        throw std::runtime_error("the times of a test's file cannot be set");
    }
}

// What is read-only cannot be removed.
void MakeRemovable(const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_directory()) {
            ::SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
        }
    }
}

std::size_t OpenHandles() {
    DWORD count = 0;
    if (::GetProcessHandleCount(::GetCurrentProcess(), &count) == FALSE) {
        throw std::runtime_error("this process does not know its handles");
    }
    return count;
}

}  // namespace quillmark::test
