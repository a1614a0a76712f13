// MoveFileW and MoveFileExW.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "files/Copy.h"
#include "files/Descriptor.h"
#include "files/FileInfo.h"
#include "files/Outcome.h"
#include "files/PathName.h"
#include "files/ShareTable.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "time/Ticks.h"

namespace quillmark::platform {
namespace {

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD KnownFlags =
    MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_DELAY_UNTIL_REBOOT | MOVEFILE_WRITE_THROUGH;

struct Moving {
    std::string from;
    std::string to;
    DWORD flags = 0;
    FileInfo source;
    ShareTicket sourceTicket;
    ShareTicket targetTicket;

    [[nodiscard]] bool Replaces() const { return (flags & MOVEFILE_REPLACE_EXISTING) != 0; }
};

std::string FolderPrefix(const std::string& path) {
    const std::size_t separator = path.find_last_of('/');
    return separator == std::string::npos ? "" : path.substr(0, separator + 1);
}

// For file systems that cannot rename without replacing. A file is linked and unlinked, which is as safe; a folder
// could meet an empty folder that appears in between.
int RenameToUnused(const Moving& moving) {
    if (!moving.source.IsFolder()) {
        if (::link(moving.from.c_str(), moving.to.c_str()) == 0) {
            return ::unlink(moving.from.c_str()) == 0 ? 0 : errno;
        }
        if (errno != EPERM && errno != EOPNOTSUPP) {
            return errno;
        }
    }
    FileInfo present;
    if (ReadInfo(AT_FDCWD, moving.to.c_str(), Links::Keep, present) == 0) {
        return EEXIST;
    }
    return ::rename(moving.from.c_str(), moving.to.c_str()) == 0 ? 0 : errno;
}

int Rename(const Moving& moving, const std::string& from) {
    if (moving.Replaces()) {
        return ::rename(from.c_str(), moving.to.c_str()) == 0 ? 0 : errno;
    }
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, moving.to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    return errno;
}

// A file under a name of its own beside the target, gone again unless it was renamed.
class Staging {
public:
    explicit Staging(const std::string& target) : m_path(FolderPrefix(target) + ".quillmark-move-XXXXXX") {
        m_file = Descriptor(::mkostemp(m_path.data(), O_CLOEXEC));
        m_error = m_file.IsOpen() ? 0 : errno;
    }
    ~Staging() {
        if (m_exists && m_error == 0) {
            ::unlink(m_path.c_str());
        }
    }
    [[nodiscard]] int Error() const { return m_error; }
    [[nodiscard]] const std::string& Path() const { return m_path; }
    [[nodiscard]] int File() const { return m_file.Get(); }
    void Renamed() { m_exists = false; }

private:
    std::string m_path;
    Descriptor m_file;
    int m_error = 0;
    bool m_exists = true;
};

int Fill(const Staging& staging, const Moving& moving) {
    const Descriptor source(::open(moving.from.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!source.IsOpen()) {
        return errno;
    }
    if (const int error = CopyContents(source.Get(), staging.File()); error != 0) {
        return error;
    }
    const timespec times[] = {ToTimespec(TicksOf(moving.source.access)), ToTimespec(TicksOf(moving.source.write))};
    const bool complete = ::fchmod(staging.File(), moving.source.mode & 07777) == 0 &&
                          ::futimens(staging.File(), times) == 0 && ::fsync(staging.File()) == 0;
    return complete ? 0 : errno;
}

// The source goes only when its copy is on the medium and has its name.
DWORD MoveAcrossFileSystems(const Moving& moving) {
    if ((moving.flags & MOVEFILE_COPY_ALLOWED) == 0) {
        return ERROR_NOT_SAME_DEVICE;
    }
    if (!moving.source.IsRegular()) {
        return moving.source.IsFolder() ? ERROR_ACCESS_DENIED : ERROR_NOT_SAME_DEVICE;
    }
    Staging staging(moving.to);
    if (staging.Error() != 0) {
        return ErrorForPath(staging.Error(), moving.to);
    }
    if (const int error = Fill(staging, moving); error != 0) {
        return ErrorFromErrno(error);
    }
    if (const int error = Rename(moving, staging.Path()); error != 0) {
        return error == EEXIST ? ERROR_ALREADY_EXISTS : ErrorForPath(error, moving.to);
    }
    staging.Renamed();
    return ::unlink(moving.from.c_str()) == 0 ? ERROR_SUCCESS : ErrorForPath(errno, moving.from);
}

DWORD CheckSource(Moving& moving) {
    const int error = ReadInfo(AT_FDCWD, moving.from.c_str(), Links::Keep, moving.source);
    if (error != 0) {
        return ErrorForPath(error, moving.from);
    }
    return AcquireShare(moving.source.id, {DELETE, ShareAll}, moving.sourceTicket);
}

DWORD CheckTarget(Moving& moving) {
    FileInfo target;
    if (ReadInfo(AT_FDCWD, moving.to.c_str(), Links::Keep, target) != 0) {
        return ERROR_SUCCESS;
    }
    if (!moving.Replaces()) {
        return ERROR_ALREADY_EXISTS;
    }
    // Devices and pipes are not files to be replaced, whatever the caller may do as root.
    const bool replaceable = target.IsRegular() || target.isLink;
    const bool refused = !replaceable || target.IsReadOnly() || moving.source.IsFolder() ||
                         AcquireShare(target.id, {DELETE, ShareAll}, moving.targetTicket) != ERROR_SUCCESS;
    return refused ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

DWORD SyncFolderOf(const std::string& path) {
    const std::string folder = FolderPrefix(path);
    const Descriptor descriptor(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return descriptor.IsOpen() && ::fsync(descriptor.Get()) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
}

DWORD RenameOrCopy(const Moving& moving) {
    int error = Rename(moving, moving.from);
    if ((error == EINVAL || error == ENOSYS) && !moving.Replaces()) {
        error = RenameToUnused(moving);
    }
    switch (error) {
        case 0:
            return ERROR_SUCCESS;
        case EXDEV:
            return MoveAcrossFileSystems(moving);
        case EEXIST:
        case ENOTEMPTY:
            return ERROR_ALREADY_EXISTS;
        case EINVAL:
            // A folder into itself.
            return ERROR_SHARING_VIOLATION;
        default:
            return ErrorForPath(error, moving.to);
    }
}

DWORD Move(LPCWSTR existing, LPCWSTR target, DWORD flags) {
    if ((flags & ~KnownFlags) != 0) {
        return ERROR_INVALID_PARAMETER;
    }
    if ((flags & MOVEFILE_DELAY_UNTIL_REBOOT) != 0) {
        return ERROR_NOT_SUPPORTED;
    }
    Moving moving;
    moving.flags = flags;
    for (const DWORD code : {PathBytes(existing, moving.from), PathBytes(target, moving.to), CheckSource(moving)}) {
        if (code != ERROR_SUCCESS) {
            return code;
        }
    }
    if (moving.from == moving.to) {
        return ERROR_SUCCESS;
    }
    if (const DWORD code = CheckTarget(moving); code != ERROR_SUCCESS) {
        return code;
    }
    const DWORD code = RenameOrCopy(moving);
    const bool syncs = code == ERROR_SUCCESS && (flags & MOVEFILE_WRITE_THROUGH) != 0;
    return syncs ? SyncFolderOf(moving.to) : code;
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

BOOL WINAPI MoveFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName) {
    return Answer(CodeOf([&] { return Move(lpExistingFileName, lpNewFileName, MOVEFILE_COPY_ALLOWED); }));
}

BOOL WINAPI MoveFileExW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, DWORD dwFlags) {
    return Answer(CodeOf([&] { return Move(lpExistingFileName, lpNewFileName, dwFlags); }));
}
