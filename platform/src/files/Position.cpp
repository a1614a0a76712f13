// Position and size of an open file, and what makes them last.
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <mutex>

#include "files/FileObject.h"
#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/Handles.h"

namespace quillmark::platform {
namespace {

DWORD LowHalf(std::int64_t value) {
    return static_cast<DWORD>(value);
}

DWORD HighHalf(std::int64_t value) {
    return static_cast<DWORD>(static_cast<std::uint64_t>(value) >> 32);
}

// Moves the position unless the new one would be beyond the limit.
DWORD Move(HANDLE handle, std::int64_t distance, DWORD method, std::int64_t limit, std::int64_t& position) {
    std::shared_ptr<FileObject> file;
    if (const DWORD code = FindPositionedFile(handle, file); code != ERROR_SUCCESS) {
        return code;
    }
    const std::lock_guard guard(file->lock);
    std::int64_t start = 0;
    if (method == FILE_CURRENT) {
        start = file->position;
    } else if (method == FILE_END) {
        if (const DWORD code = SizeOf(*file, start); code != ERROR_SUCCESS) {
            return code;
        }
    } else if (method != FILE_BEGIN) {
        return ERROR_INVALID_PARAMETER;
    }
    // A sum that overflows is negative, and so Windows takes it.
    if (__builtin_add_overflow(start, distance, &position) || position < 0) {
        return ERROR_NEGATIVE_SEEK;
    }
    if (position > limit) {
        return ERROR_INVALID_PARAMETER;
    }
    file->position = position;
    return ERROR_SUCCESS;
}

DWORD Size(HANDLE handle, std::int64_t& size) {
    std::shared_ptr<FileObject> file;
    const DWORD code = FindPositionedFile(handle, file);
    return code != ERROR_SUCCESS ? code : SizeOf(*file, size);
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

BOOL WINAPI SetFilePointerEx(HANDLE hFile, LARGE_INTEGER liDistanceToMove, PLARGE_INTEGER lpNewFilePointer,
                             DWORD dwMoveMethod) {
    std::int64_t position = 0;
    const DWORD code =
        CodeOf([&] { return Move(hFile, liDistanceToMove.QuadPart, dwMoveMethod, INT64_MAX, position); });
    if (code == ERROR_SUCCESS && lpNewFilePointer != nullptr) {
        lpNewFilePointer->QuadPart = position;
    }
    return Answer(code);
}

DWORD WINAPI SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh, DWORD dwMoveMethod) {
    std::int64_t position = 0;
    const DWORD code = CodeOf([&] {
        if (lpDistanceToMoveHigh == nullptr) {
            return Move(hFile, lDistanceToMove, dwMoveMethod, UINT32_MAX, position);
        }
        const std::uint64_t high = static_cast<std::uint32_t>(*lpDistanceToMoveHigh);
        const std::uint64_t distance = (high << 32) | static_cast<std::uint32_t>(lDistanceToMove);
        return Move(hFile, static_cast<std::int64_t>(distance), dwMoveMethod, INT64_MAX, position);
    });
    if (!Answer(code)) {
        return INVALID_SET_FILE_POINTER;
    }
    if (lpDistanceToMoveHigh != nullptr) {
        *lpDistanceToMoveHigh = static_cast<LONG>(HighHalf(position));
    }
    if (LowHalf(position) == INVALID_SET_FILE_POINTER) {
        SetLastError(NO_ERROR);
    }
    return LowHalf(position);
}

BOOL WINAPI SetEndOfFile(HANDLE hFile) {
    return Answer(CodeOf([&]() -> DWORD {
        std::shared_ptr<FileObject> file;
        if (const DWORD code = FindPositionedFile(hFile, file); code != ERROR_SUCCESS) {
            return code;
        }
        if (!file->Has(FILE_WRITE_DATA)) {
            return ERROR_ACCESS_DENIED;
        }
        const std::lock_guard guard(file->lock);
        return ::ftruncate(file->RawDescriptor(), file->position) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }));
}

BOOL WINAPI FlushFileBuffers(HANDLE hFile) {
    return Answer(CodeOf([&]() -> DWORD {
        std::shared_ptr<FileObject> file;
        if (const DWORD code = FindFile(hFile, file); code != ERROR_SUCCESS) {
            return code;
        }
        if (!file->CanWrite()) {
            return ERROR_ACCESS_DENIED;
        }
        // EINVAL: a device or pipe, which holds nothing back.
        return ::fsync(file->RawDescriptor()) == 0 || errno == EINVAL ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }));
}

DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh) {
    std::int64_t size = 0;
    if (!Answer(CodeOf([&] { return Size(hFile, size); }))) {
        return INVALID_FILE_SIZE;
    }
    if (lpFileSizeHigh != nullptr) {
        *lpFileSizeHigh = HighHalf(size);
    }
    if (LowHalf(size) == INVALID_FILE_SIZE) {
        SetLastError(NO_ERROR);
    }
    return LowHalf(size);
}

BOOL WINAPI GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize) {
    return Answer(CodeOf([&]() -> DWORD {
        if (lpFileSize == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        std::int64_t size = 0;
        const DWORD code = Size(hFile, size);
        if (code == ERROR_SUCCESS) {
            lpFileSize->QuadPart = size;
        }
        return code;
    }));
}
