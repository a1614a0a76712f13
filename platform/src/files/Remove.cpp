// DeleteFileW and RemoveDirectoryW.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "files/FileInfo.h"
#include "files/Outcome.h"
#include "files/PathName.h"
#include "files/ShareTable.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

namespace quillmark::platform {
namespace {

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

DWORD RemoveFile(LPCWSTR name) {
    std::string path;
    if (const DWORD code = PathBytes(name, path); code != ERROR_SUCCESS) {
        return code;
    }
    FileInfo info;
    if (const int error = ReadInfo(AT_FDCWD, path.c_str(), Links::Keep, info); error != 0) {
        return ErrorForPath(error, path);
    }
    if (info.IsFolder() || info.IsReadOnly()) {
        return ERROR_ACCESS_DENIED;
    }
    ShareTicket ticket;
    if (const DWORD code = AcquireShare(info.id, {DELETE, ShareAll}, ticket); code != ERROR_SUCCESS) {
        return code;
    }
    return ::unlink(path.c_str()) == 0 ? ERROR_SUCCESS : ErrorForPath(errno, path);
}

DWORD RemoveFolder(LPCWSTR name) {
    std::string path;
    if (const DWORD code = PathBytes(name, path); code != ERROR_SUCCESS) {
        return code;
    }
    if (::rmdir(path.c_str()) == 0) {
        return ERROR_SUCCESS;
    }
    const int error = errno;
    if (error == ENOTDIR) {
        // Either this entry is no folder, or one on the way to it is none.
        FileInfo info;
        const bool found = ReadInfo(AT_FDCWD, path.c_str(), Links::Keep, info) == 0;
        return found ? ERROR_DIRECTORY : ERROR_PATH_NOT_FOUND;
    }
    return error == EEXIST ? ERROR_DIR_NOT_EMPTY : ErrorForPath(error, path);
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

BOOL WINAPI DeleteFileW(LPCWSTR lpFileName) {
    return Answer(CodeOf([&] { return RemoveFile(lpFileName); }));
}

BOOL WINAPI RemoveDirectoryW(LPCWSTR lpPathName) {
    return Answer(CodeOf([&] { return RemoveFolder(lpPathName); }));
}
