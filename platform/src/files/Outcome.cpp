#include "files/Outcome.h"

#include <sys/stat.h>

#include <cerrno>
#include <new>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"

namespace quillmark::platform {
namespace {

struct Translation {
    int number;
    DWORD code;
};

constexpr Translation Translations[] = {
    {0, ERROR_SUCCESS},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {EROFS, ERROR_WRITE_PROTECT},
    {ENXIO, ERROR_NOT_READY},
    {ENODEV, ERROR_NOT_READY},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EEXIST, ERROR_FILE_EXISTS},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EPIPE, ERROR_BROKEN_PIPE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EILSEQ, ERROR_INVALID_NAME},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {EBUSY, ERROR_BUSY},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {EOVERFLOW, ERROR_FILE_TOO_LARGE},
    {EFAULT, ERROR_NOACCESS},
    {ESTALE, ERROR_FILE_INVALID},
    {EIO, ERROR_IO_DEVICE},
    {EMLINK, ERROR_TOO_MANY_LINKS},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {ESPIPE, ERROR_INVALID_FUNCTION},
};

// The folder that holds the path's last component.
std::string FolderOf(const std::string& path) {
    const std::size_t lastOfName = path.find_last_not_of('/');
    if (lastOfName == std::string::npos) {
        return "/";
    }
    const std::size_t separator = path.find_last_of('/', lastOfName);
    return separator == std::string::npos ? "." : path.substr(0, separator + 1);
}

}  // namespace

DWORD ErrorFromErrno(int number) {
    for (const Translation& translation : Translations) {
        if (translation.number == number) {
            return translation.code;
        }
    }
    return ERROR_GEN_FAILURE;
}

DWORD ErrorForPath(int number, const std::string& path) {
    if (number == ENOENT) {
        struct stat folder {};
        const bool found = ::stat(FolderOf(path).c_str(), &folder) == 0 && S_ISDIR(folder.st_mode);
        return found ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    }
    return ErrorFromErrno(number);
}

DWORD ErrorFromException() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (...) {
        return ERROR_INTERNAL_ERROR;
    }
}

BOOL Answer(DWORD code) noexcept {
    if (code == ERROR_SUCCESS) {
        return TRUE;
    }
    SetLastError(code);
    return FALSE;
}

}  // namespace quillmark::platform
