// CreateFileW.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "files/FileObject.h"
#include "files/Outcome.h"
#include "files/PathName.h"
#include "handles/HandleTable.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/Handles.h"

namespace quillmark::platform {
namespace {

constexpr DWORD AllShares = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD UnsupportedFlags = FILE_FLAG_OVERLAPPED | FILE_FLAG_OPEN_REPARSE_POINT;

struct Request {
    std::string path;
    DWORD access = 0;
    DWORD share = 0;
    DWORD disposition = 0;
    DWORD flags = 0;

    [[nodiscard]] bool Reads() const { return (access & (FILE_READ_DATA | FILE_EXECUTE)) != 0; }
    [[nodiscard]] bool Writes() const { return (access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) != 0; }
    [[nodiscard]] bool Truncates() const { return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING; }
    [[nodiscard]] bool Has(DWORD flag) const { return (flags & flag) != 0; }
};

DWORD ResolveGenericRights(DWORD access) {
    constexpr DWORD common = READ_CONTROL | SYNCHRONIZE | FILE_READ_ATTRIBUTES;
    if ((access & (GENERIC_READ | GENERIC_ALL)) != 0) {
        access |= common | FILE_READ_DATA;
    }
    if ((access & (GENERIC_WRITE | GENERIC_ALL)) != 0) {
        access |= common | FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_WRITE_ATTRIBUTES;
    }
    if ((access & (GENERIC_EXECUTE | GENERIC_ALL)) != 0) {
        access |= common | FILE_EXECUTE;
    }
    if ((access & GENERIC_ALL) != 0) {
        access |= DELETE;
    }
    return access & ~(GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL);
}

DWORD CheckArguments(DWORD access, DWORD share, DWORD disposition, DWORD flags, HANDLE templateFile) {
    const bool truncatesUnwritable =
        disposition == TRUNCATE_EXISTING && (access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA)) == 0;
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING || (share & ~AllShares) != 0 ||
        truncatesUnwritable) {
        return ERROR_INVALID_PARAMETER;
    }
    return (flags & UnsupportedFlags) != 0 || templateFile != nullptr ? ERROR_NOT_SUPPORTED : ERROR_SUCCESS;
}

int OpenFlags(const Request& request) {
    // Cutting a file off needs a writable descriptor, whatever the handle may do later.
    const bool writes = request.Writes() || request.Truncates();
    // Non-blocking: nothing could end an open that waits for a pipe's other end.
    int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (writes ? (request.Reads() ? O_RDWR : O_WRONLY) : O_RDONLY);
    if (request.Has(FILE_FLAG_WRITE_THROUGH)) {
        flags |= O_DSYNC;
    }
    if ((request.access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) == FILE_APPEND_DATA) {
        flags |= O_APPEND;
    }
    return flags;
}

// Opens what is there. A folder opens only where the caller's flags ask for that, and then for reading alone; a file
// that is opened for neither reading nor writing needs no permission of its own.
int OpenPresent(const Request& request, Descriptor& descriptor) {
    descriptor = Descriptor(::open(request.path.c_str(), OpenFlags(request)));
    if (!descriptor.IsOpen() && errno == EISDIR && request.Has(FILE_FLAG_BACKUP_SEMANTICS) && !request.Truncates()) {
        descriptor = Descriptor(::open(request.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    if (!descriptor.IsOpen() && errno == EACCES && !request.Reads() && !request.Writes() && !request.Truncates()) {
        descriptor = Descriptor(::open(request.path.c_str(), O_PATH | O_CLOEXEC));
    }
    return descriptor.IsOpen() ? 0 : errno;
}

int OpenNew(const Request& request, int exclusive, Descriptor& descriptor) {
    const mode_t mode = request.Has(FILE_ATTRIBUTE_READONLY) ? 0444 : 0666;
    descriptor = Descriptor(::open(request.path.c_str(), OpenFlags(request) | O_CREAT | exclusive, mode));
    return descriptor.IsOpen() ? 0 : errno;
}

// Opens or creates, and tells which: the file may come and go between the two attempts, so they alternate until one
// of them settles it.
int OpenOrCreate(const Request& request, Descriptor& descriptor, bool& existed) {
    constexpr int attempts = 100;
    int error = EEXIST;
    for (int attempt = 0; attempt < attempts && error == EEXIST; ++attempt) {
        existed = false;
        error = OpenNew(request, O_EXCL, descriptor);
        if (error != EEXIST) {
            return error;
        }
        existed = true;
        error = OpenPresent(request, descriptor);
        if (error != ENOENT) {
            return error;
        }
        // A link whose target is missing: the target is what gets created.
        existed = false;
        error = OpenNew(request, 0, descriptor);
    }
    return error;
}

int OpenDescriptor(const Request& request, Descriptor& descriptor, bool& existed) {
    existed = true;
    switch (request.disposition) {
        case CREATE_NEW:
            existed = false;
            return OpenNew(request, O_EXCL, descriptor);
        case CREATE_ALWAYS:
        case OPEN_ALWAYS:
            return OpenOrCreate(request, descriptor, existed);
        default:
            return OpenPresent(request, descriptor);
    }
}

// What an existing file must allow. Nothing has been changed yet.
DWORD CheckPresent(const Request& request, const FileInfo& info) {
    if (info.IsFolder()) {
        return request.Has(FILE_FLAG_BACKUP_SEMANTICS) && !request.Truncates() ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    }
    const bool changes = request.Writes() || request.Truncates() || request.Has(FILE_FLAG_DELETE_ON_CLOSE);
    return changes && info.IsReadOnly() ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

void AdviseKernel(const Request& request, int descriptor) {
    if (request.Has(FILE_FLAG_SEQUENTIAL_SCAN)) {
        ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    } else if (request.Has(FILE_FLAG_RANDOM_ACCESS)) {
        ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_RANDOM);
    }
}

// From here on waits are for WaitForStream, which closing the handle ends.
int LetCallsWait(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    return flags >= 0 && ((flags & O_PATH) != 0 || ::fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) == 0) ? 0 : errno;
}

// The path without links and whatever the current folder is later; empty when that cannot be told.
std::string Resolved(const std::string& path) {
    struct Free {
        void operator()(char* text) const { std::free(text); }
    };
    const std::unique_ptr<char, Free> resolved(::realpath(path.c_str(), nullptr));
    return resolved == nullptr ? std::string() : std::string(resolved.get());
}

DWORD Open(const Request& request, HANDLE& handle, bool& existed) {
    FileObject::Opening opening;
    const int error = OpenDescriptor(request, opening.descriptor, existed);
    if (error != 0) {
        return ErrorForPath(error, request.path);
    }
    const int descriptor = opening.descriptor.Get();
    if (const int failed = ReadInfo(descriptor, opening.info); failed != 0) {
        return ErrorFromErrno(failed);
    }
    if (const DWORD code = existed ? CheckPresent(request, opening.info) : ERROR_SUCCESS; code != ERROR_SUCCESS) {
        return code;
    }
    const DWORD deletes = request.Has(FILE_FLAG_DELETE_ON_CLOSE) ? DELETE : 0;
    const FileUse use{request.access | deletes | (request.Truncates() ? FILE_WRITE_DATA : 0), request.share};
    if (const DWORD code = AcquireShare(opening.info.id, use, opening.ticket); code != ERROR_SUCCESS) {
        return code;
    }
    if (existed && request.Truncates() && opening.info.IsRegular() && ::ftruncate(descriptor, 0) != 0) {
        return ErrorFromErrno(errno);
    }
    if (const int failed = LetCallsWait(descriptor); failed != 0) {
        return ErrorFromErrno(failed);
    }
    AdviseKernel(request, descriptor);
    opening.access = request.access;
    opening.deleteOnClose = deletes != 0 ? Resolved(request.path) : std::string();
    DWORD code = ERROR_SUCCESS;
    auto file = std::make_shared<FileObject>(std::move(opening), code);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    handle = InsertHandle(std::move(file));
    return handle == nullptr ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

}  // namespace
}  // namespace quillmark::platform

HANDLE WINAPI CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode, LPSECURITY_ATTRIBUTES,
                          DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes, HANDLE hTemplateFile) {
    using namespace quillmark::platform;
    HANDLE handle = nullptr;
    bool existed = false;
    const DWORD code = CodeOf([&]() -> DWORD {
        const DWORD arguments =
            CheckArguments(dwDesiredAccess, dwShareMode, dwCreationDisposition, dwFlagsAndAttributes, hTemplateFile);
        if (arguments != ERROR_SUCCESS) {
            return arguments;
        }
        Request request{
            {}, ResolveGenericRights(dwDesiredAccess), dwShareMode, dwCreationDisposition, dwFlagsAndAttributes};
        const DWORD path = PathBytes(lpFileName, request.path);
        return path != ERROR_SUCCESS ? path : Open(request, handle, existed);
    });
    if (!Answer(code)) {
        return INVALID_HANDLE_VALUE;
    }
    if (dwCreationDisposition == CREATE_ALWAYS || dwCreationDisposition == OPEN_ALWAYS) {
        SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    }
    return handle;
}
