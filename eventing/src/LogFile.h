// LogFile: where the records of one log go, a file that is appended to or standard error.
#pragma once

#include <string_view>

#include "quillmark/Platform.h"

namespace Eventing {

class LogFile {
public:
    LogFile() noexcept = default;
    LogFile(LogFile&& other) noexcept;
    LogFile& operator=(LogFile&& other) noexcept;
    ~LogFile();

    // path: UTF-8; "-" is standard error, which stays open at the end. A file that is made here can be read by its
    // owner only. Returns 0 or a Windows error code.
    [[nodiscard]] DWORD Open(const char* path) noexcept;

    // Appends the record in one piece, so that records of several threads and processes do not mix. A failure (a full
    // disk) loses the record: logging has nobody to complain to.
    void Write(std::string_view record) const noexcept;

private:
#ifdef _WIN32
    HANDLE m_file = INVALID_HANDLE_VALUE;
#else
    int m_descriptor = -1;
#endif
};

}  // namespace Eventing
