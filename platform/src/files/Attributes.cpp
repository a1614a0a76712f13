// Attributes and times.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <limits>
#include <memory>
#include <string>

#include "files/FileInfo.h"
#include "files/FileObject.h"
#include "files/Outcome.h"
#include "files/PathName.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "time/Ticks.h"

namespace quillmark::platform {
namespace {

DWORD InfoOf(LPCWSTR name, std::string& path, FileInfo& info) {
    if (const DWORD code = PathBytes(name, path); code != ERROR_SUCCESS) {
        return code;
    }
    const int error = ReadInfo(AT_FDCWD, path.c_str(), Links::Follow, info);
    return error == 0 ? ERROR_SUCCESS : ErrorForPath(error, path);
}

DWORD SetAttributes(LPCWSTR name, DWORD attributes) {
    std::string path;
    FileInfo info;
    if (const DWORD code = InfoOf(name, path, info); code != ERROR_SUCCESS) {
        return code;
    }
    const bool readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (!info.IsRegular() || readOnly == info.IsReadOnly()) {
        return ERROR_SUCCESS;
    }
    constexpr mode_t writers = S_IWUSR | S_IWGRP | S_IWOTH;
    const mode_t mode = readOnly ? info.mode & ~writers : info.mode | S_IWUSR;
    return ::chmod(path.c_str(), mode & 07777) == 0 ? ERROR_SUCCESS : ErrorForPath(errno, path);
}

// One time of SetFileTime as futimens takes it.
DWORD RequestedTime(const FILETIME* time, timespec& requested) {
    constexpr std::uint64_t untouched = std::numeric_limits<std::uint64_t>::max();
    if (time == nullptr || TicksOf(*time) == 0 || TicksOf(*time) == untouched) {
        requested = {0, UTIME_OMIT};
        return ERROR_SUCCESS;
    }
    if (TicksOf(*time) > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return ERROR_INVALID_PARAMETER;
    }
    requested = ToTimespec(TicksOf(*time));
    return ERROR_SUCCESS;
}

DWORD SetTimes(HANDLE handle, const FILETIME* creation, const FILETIME* access, const FILETIME* write) {
    std::shared_ptr<FileObject> file;
    if (const DWORD code = FindFile(handle, file); code != ERROR_SUCCESS) {
        return code;
    }
    if (!file->Has(FILE_WRITE_ATTRIBUTES)) {
        return ERROR_ACCESS_DENIED;
    }
    timespec ignored{};
    timespec times[2]{};
    for (const DWORD code :
         {RequestedTime(creation, ignored), RequestedTime(access, times[0]), RequestedTime(write, times[1])}) {
        if (code != ERROR_SUCCESS) {
            return code;
        }
    }
    return ::futimens(file->RawDescriptor(), times) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
}

DWORD GetTimes(HANDLE handle, FILETIME* creation, FILETIME* access, FILETIME* write) {
    std::shared_ptr<FileObject> file;
    if (const DWORD code = FindFile(handle, file); code != ERROR_SUCCESS) {
        return code;
    }
    FileInfo info;
    if (const int error = ReadInfo(file->RawDescriptor(), info); error != 0) {
        return ErrorFromErrno(error);
    }
    const auto give = [](FILETIME* target, const FILETIME& time) {
        if (target != nullptr) {
            *target = time;
        }
    };
    give(creation, info.creation);
    give(access, info.access);
    give(write, info.write);
    return ERROR_SUCCESS;
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

DWORD WINAPI GetFileAttributesW(LPCWSTR lpFileName) {
    FileInfo info;
    const DWORD code = CodeOf([&] {
        std::string path;
        return InfoOf(lpFileName, path, info);
    });
    return Answer(code) ? info.Attributes() : INVALID_FILE_ATTRIBUTES;
}

BOOL WINAPI GetFileAttributesExW(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId, LPVOID lpFileInformation) {
    return Answer(CodeOf([&]() -> DWORD {
        if (fInfoLevelId != GetFileExInfoStandard || lpFileInformation == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        std::string path;
        FileInfo info;
        if (const DWORD code = InfoOf(lpFileName, path, info); code != ERROR_SUCCESS) {
            return code;
        }
        *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(lpFileInformation) = {info.Attributes(),
                                                                       info.creation,
                                                                       info.access,
                                                                       info.write,
                                                                       static_cast<DWORD>(info.size >> 32),
                                                                       static_cast<DWORD>(info.size)};
        return ERROR_SUCCESS;
    }));
}

BOOL WINAPI SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes) {
    return Answer(CodeOf([&] { return SetAttributes(lpFileName, dwFileAttributes); }));
}

BOOL WINAPI GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                        LPFILETIME lpLastWriteTime) {
    return Answer(CodeOf([&] { return GetTimes(hFile, lpCreationTime, lpLastAccessTime, lpLastWriteTime); }));
}

BOOL WINAPI SetFileTime(HANDLE hFile, const FILETIME* lpCreationTime, const FILETIME* lpLastAccessTime,
                        const FILETIME* lpLastWriteTime) {
    return Answer(CodeOf([&] { return SetTimes(hFile, lpCreationTime, lpLastAccessTime, lpLastWriteTime); }));
}
