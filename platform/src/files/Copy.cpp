// CopyFileW.
#include "files/Copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>

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

int WriteAll(int target, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = ::write(target, bytes, size);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count > 0) {
            bytes += count;
            size -= static_cast<std::size_t>(count);
        }
    }
    return 0;
}

int CopyThroughMemory(int source, int target) {
    constexpr std::size_t size = 256UL * 1024;
    const auto buffer = std::make_unique<char[]>(size);
    for (;;) {
        const ssize_t count = ::read(source, buffer.get(), size);
        if (count == 0) {
            return 0;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (const int error = count > 0 ? WriteAll(target, buffer.get(), static_cast<std::size_t>(count)) : 0;
            error != 0) {
            return error;
        }
    }
}

// A copy between open descriptors; what it opened is removed again by its destructor unless the copy was completed.
class Copying {
public:
    Copying(std::string from, std::string to) : m_from(std::move(from)), m_to(std::move(to)) {}
    ~Copying() {
        if (m_created || m_half) {
            ::unlink(m_to.c_str());
        }
    }

    DWORD OpenSource() {
        // Non-blocking, so that a pipe is refused instead of waited for.
        m_source = Descriptor(::open(m_from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (!m_source.IsOpen()) {
            return ErrorForPath(errno, m_from);
        }
        if (const int error = ReadInfo(m_source.Get(), m_sourceInfo); error != 0) {
            return ErrorFromErrno(error);
        }
        if (m_sourceInfo.IsFolder()) {
            return ERROR_ACCESS_DENIED;
        }
        if (!m_sourceInfo.IsRegular()) {
            return ERROR_NOT_SUPPORTED;
        }
        return AcquireShare(m_sourceInfo.id, {FILE_READ_DATA, ShareAll}, m_sourceTicket);
    }

    DWORD OpenTarget(bool failIfExists) {
        const mode_t mode = m_sourceInfo.mode & 0777;
        m_target = Descriptor(::open(m_to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (m_target.IsOpen()) {
            m_created = true;
            return AcquireTarget();
        }
        if (errno != EEXIST) {
            return ErrorForPath(errno, m_to);
        }
        return failIfExists ? ERROR_FILE_EXISTS : OpenPresentTarget(mode);
    }

    DWORD Transfer() {
        // A device is written to, but never removed.
        m_half = m_targetIsRegular;
        if (const int error = CopyContents(m_source.Get(), m_target.Get()); error != 0) {
            return ErrorFromErrno(error);
        }
        if (m_sourceInfo.IsReadOnly() && ::fchmod(m_target.Get(), m_sourceInfo.mode & 0555) != 0) {
            return ErrorFromErrno(errno);
        }
        const timespec times[] = {{0, UTIME_OMIT}, ToTimespec(TicksOf(m_sourceInfo.write))};
        if (::futimens(m_target.Get(), times) != 0 || !m_target.Close()) {
            return ErrorFromErrno(errno);
        }
        m_created = false;
        m_half = false;
        return ERROR_SUCCESS;
    }

private:
    // Nothing is cut off before it is certain that the target may be overwritten and is not the source itself.
    DWORD OpenPresentTarget(mode_t mode) {
        FileInfo info;
        if (ReadInfo(AT_FDCWD, m_to.c_str(), Links::Follow, info) == 0) {
            if (info.IsFolder() || info.IsReadOnly()) {
                return ERROR_ACCESS_DENIED;
            }
            if (info.id == m_sourceInfo.id) {
                return ERROR_SHARING_VIOLATION;
            }
        }
        m_target = Descriptor(::open(m_to.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, mode));
        if (!m_target.IsOpen()) {
            return ErrorForPath(errno, m_to);
        }
        if (const DWORD code = AcquireTarget(); code != ERROR_SUCCESS) {
            return code;
        }
        return ::ftruncate(m_target.Get(), 0) == 0 || errno == EINVAL ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }

    DWORD AcquireTarget() {
        FileInfo info;
        if (const int error = ReadInfo(m_target.Get(), info); error != 0) {
            return ErrorFromErrno(error);
        }
        m_targetIsRegular = info.IsRegular();
        return AcquireShare(info.id, {FILE_WRITE_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE}, m_targetTicket);
    }

    const std::string m_from;
    const std::string m_to;
    Descriptor m_source;
    Descriptor m_target;
    FileInfo m_sourceInfo;
    ShareTicket m_sourceTicket;
    ShareTicket m_targetTicket;
    bool m_targetIsRegular = false;
    bool m_created = false;
    bool m_half = false;  // overwritten in part
};

}  // namespace

int CopyContents(int source, int target) {
    constexpr std::size_t largest = 1u << 30;
    bool copied = false;
    for (;;) {
        const ssize_t count = ::copy_file_range(source, nullptr, target, nullptr, largest, 0);
        if (count > 0) {
            copied = true;
        } else if (count == 0 && copied) {
            return 0;
        } else if (count == 0 || errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP ||
                   errno == EPERM) {
            // The file systems do not support it, or the kernel makes the contents up as they are read. Both positions
            // are where the last piece ended.
            return CopyThroughMemory(source, target);
        } else if (errno != EINTR) {
            return errno;
        }
    }
}

}  // namespace quillmark::platform

BOOL WINAPI CopyFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists) {
    using namespace quillmark::platform;
    return Answer(CodeOf([&]() -> DWORD {
        std::string from;
        std::string to;
        for (const DWORD code : {PathBytes(lpExistingFileName, from), PathBytes(lpNewFileName, to)}) {
            if (code != ERROR_SUCCESS) {
                return code;
            }
        }
        Copying copying(from, to);
        if (const DWORD code = copying.OpenSource(); code != ERROR_SUCCESS) {
            return code;
        }
        if (const DWORD code = copying.OpenTarget(bFailIfExists != FALSE); code != ERROR_SUCCESS) {
            return code;
        }
        return copying.Transfer();
    }));
}
