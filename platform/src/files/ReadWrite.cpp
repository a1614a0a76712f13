// ReadFile and WriteFile.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>

#include "files/FileObject.h"
#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

namespace quillmark::platform {
namespace {

constexpr std::int64_t LargestOffset = std::numeric_limits<std::int64_t>::max();
// Both halves of an offset all ones: a write at the end of the file.
constexpr std::uint64_t EndOfFile = std::numeric_limits<std::uint64_t>::max();

std::uint64_t OffsetOf(const OVERLAPPED& overlapped) {
    return (std::uint64_t{overlapped.OffsetHigh} << 32) | overlapped.Offset;
}

// Repeats a call that a signal interrupted.
template <typename Call>
ssize_t Uninterrupted(Call&& call) {
    ssize_t result = 0;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

DWORD ReadPositioned(FileObject& file, BYTE* buffer, DWORD wanted, DWORD& got) {
    const std::int64_t room = LargestOffset - file.position;
    const DWORD limit = static_cast<DWORD>(std::min<std::int64_t>(wanted, room));
    while (got < limit) {
        const ssize_t count =
            Uninterrupted([&] { return ::pread(file.RawDescriptor(), buffer + got, limit - got, file.position); });
        if (count < 0) {
            return ErrorFromErrno(errno);
        }
        if (count == 0) {
            break;
        }
        got += static_cast<DWORD>(count);
        file.position += count;
    }
    return ERROR_SUCCESS;
}

DWORD ReadStream(FileObject& file, BYTE* buffer, DWORD wanted, DWORD& got) {
    if (wanted == 0) {
        return ERROR_SUCCESS;
    }
    if (const DWORD code = file.WaitForStream(POLLIN); code != ERROR_SUCCESS) {
        return code;
    }
    const ssize_t count = Uninterrupted([&] { return ::read(file.RawDescriptor(), buffer, wanted); });
    if (count < 0) {
        return ErrorFromErrno(errno);
    }
    got = static_cast<DWORD>(count);
    return ERROR_SUCCESS;
}

DWORD WritePositioned(FileObject& file, const BYTE* buffer, DWORD wanted, DWORD& written) {
    if (wanted > LargestOffset - file.position) {
        return ERROR_FILE_TOO_LARGE;
    }
    while (written < wanted) {
        const ssize_t count = Uninterrupted(
            [&] { return ::pwrite(file.RawDescriptor(), buffer + written, wanted - written, file.position); });
        if (count < 0) {
            return ErrorFromErrno(errno);
        }
        written += static_cast<DWORD>(count);
        file.position += count;
    }
    return ERROR_SUCCESS;
}

// Pieces of PIPE_BUF bytes: what a pipe that polls writable takes without waiting.
DWORD WriteStream(FileObject& file, const BYTE* buffer, DWORD wanted, DWORD& written) {
    while (written < wanted) {
        if (const DWORD code = file.WaitForStream(POLLOUT); code != ERROR_SUCCESS) {
            return code;
        }
        const DWORD piece = std::min<DWORD>(wanted - written, PIPE_BUF);
        const ssize_t count = Uninterrupted([&] { return ::write(file.RawDescriptor(), buffer + written, piece); });
        if (count < 0) {
            return ErrorFromErrno(errno);
        }
        written += static_cast<DWORD>(count);
    }
    return ERROR_SUCCESS;
}

// What both calls check before they touch anything.
DWORD CheckTransfer(HANDLE handle, const void* buffer, DWORD wanted, const DWORD* done, const OVERLAPPED* overlapped,
                    DWORD anyOfRights, DWORD missingBuffer, std::shared_ptr<FileObject>& file) {
    if (done == nullptr && overlapped == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    if (const DWORD code = FindFile(handle, file); code != ERROR_SUCCESS) {
        return code;
    }
    if (file->GetKind() == FileObject::Kind::Folder) {
        return ERROR_INVALID_FUNCTION;
    }
    if (!file->Has(anyOfRights)) {
        return ERROR_ACCESS_DENIED;
    }
    return buffer == nullptr && wanted != 0 ? missingBuffer : ERROR_SUCCESS;
}

// Puts the position where an OVERLAPPED asks for it.
DWORD MoveTo(FileObject& file, std::uint64_t offset) {
    if (offset > static_cast<std::uint64_t>(LargestOffset)) {
        return ERROR_INVALID_PARAMETER;
    }
    file.position = static_cast<std::int64_t>(offset);
    return ERROR_SUCCESS;
}

DWORD Read(FileObject& file, BYTE* buffer, DWORD wanted, DWORD& got, const OVERLAPPED* overlapped) {
    const std::lock_guard guard(file.lock);
    if (file.GetKind() == FileObject::Kind::Stream) {
        return ReadStream(file, buffer, wanted, got);
    }
    if (overlapped == nullptr) {
        return ReadPositioned(file, buffer, wanted, got);
    }
    if (const DWORD code = MoveTo(file, OffsetOf(*overlapped)); code != ERROR_SUCCESS) {
        return code;
    }
    const DWORD code = ReadPositioned(file, buffer, wanted, got);
    return code == ERROR_SUCCESS && got == 0 && wanted != 0 ? ERROR_HANDLE_EOF : code;
}

DWORD Write(FileObject& file, const BYTE* buffer, DWORD wanted, DWORD& written, const OVERLAPPED* overlapped) {
    const std::lock_guard guard(file.lock);
    if (file.GetKind() == FileObject::Kind::Stream) {
        return WriteStream(file, buffer, wanted, written);
    }
    const bool atEnd = file.IsAppendOnly() || (overlapped != nullptr && OffsetOf(*overlapped) == EndOfFile);
    if (atEnd && wanted != 0) {
        if (const DWORD code = SizeOf(file, file.position); code != ERROR_SUCCESS) {
            return code;
        }
    } else if (!atEnd && overlapped != nullptr) {
        if (const DWORD code = MoveTo(file, OffsetOf(*overlapped)); code != ERROR_SUCCESS) {
            return code;
        }
    }
    return WritePositioned(file, buffer, wanted, written);
}

}  // namespace
}  // namespace quillmark::platform

BOOL WINAPI ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
                     LPOVERLAPPED lpOverlapped) {
    using namespace quillmark::platform;
    DWORD got = 0;
    const DWORD code = CodeOf([&]() -> DWORD {
        std::shared_ptr<FileObject> file;
        const DWORD check = CheckTransfer(hFile, lpBuffer, nNumberOfBytesToRead, lpNumberOfBytesRead, lpOverlapped,
                                          FILE_READ_DATA | FILE_EXECUTE, ERROR_NOACCESS, file);
        if (check != ERROR_SUCCESS) {
            return check;
        }
        return Read(*file, static_cast<BYTE*>(lpBuffer), nNumberOfBytesToRead, got, lpOverlapped);
    });
    if (lpNumberOfBytesRead != nullptr) {
        *lpNumberOfBytesRead = got;
    }
    return Answer(code);
}

BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
                      LPOVERLAPPED lpOverlapped) {
    using namespace quillmark::platform;
    DWORD written = 0;
    const DWORD code = CodeOf([&]() -> DWORD {
        std::shared_ptr<FileObject> file;
        const DWORD check = CheckTransfer(hFile, lpBuffer, nNumberOfBytesToWrite, lpNumberOfBytesWritten, lpOverlapped,
                                          FILE_WRITE_DATA | FILE_APPEND_DATA, ERROR_INVALID_USER_BUFFER, file);
        if (check != ERROR_SUCCESS) {
            return check;
        }
        return Write(*file, static_cast<const BYTE*>(lpBuffer), nNumberOfBytesToWrite, written, lpOverlapped);
    });
    if (lpNumberOfBytesWritten != nullptr) {
        *lpNumberOfBytesWritten = written;
    }
    return Answer(code);
}
