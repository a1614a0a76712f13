#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "LogFile.h"

namespace Eventing {
namespace {

DWORD ErrorFromErrno(int error) noexcept {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return ERROR_PATH_NOT_FOUND;
        case EACCES:
        case EPERM:
        case EISDIR:
            return ERROR_ACCESS_DENIED;
        case EROFS:
            return ERROR_WRITE_PROTECT;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case ENOSPC:
        case EDQUOT:
            return ERROR_DISK_FULL;
        case ENAMETOOLONG:
            return ERROR_FILENAME_EXCED_RANGE;
        default:
            return ERROR_OPEN_FAILED;
    }
}

}  // namespace

LogFile::LogFile(LogFile&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

LogFile& LogFile::operator=(LogFile&& other) noexcept {
    LogFile taken(std::move(other));
    std::swap(m_descriptor, taken.m_descriptor);
    return *this;
}

LogFile::~LogFile() {
    if (m_descriptor > STDERR_FILENO) {
        ::close(m_descriptor);
    }
}

DWORD LogFile::Open(const char* path) noexcept {
    if (std::string_view(path) == "-") {
        m_descriptor = STDERR_FILENO;
        return ERROR_SUCCESS;
    }
    do {
        m_descriptor = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, S_IRUSR | S_IWUSR);
    } while (m_descriptor < 0 && errno == EINTR);
    if (m_descriptor < 0) {
        return ErrorFromErrno(errno);
    }
    if (m_descriptor <= STDERR_FILENO) {
        // The process has closed one of its standard streams, whose number is not the log's to have.
        const int standard = std::exchange(m_descriptor, ::fcntl(m_descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        const int error = errno;
        ::close(standard);
        return m_descriptor < 0 ? ErrorFromErrno(error) : ERROR_SUCCESS;
    }
    return ERROR_SUCCESS;
}

void LogFile::Write(std::string_view record) const noexcept {
    while (!record.empty()) {
        const ssize_t written = ::write(m_descriptor, record.data(), record.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;
        }
        // A second round is for a pipe or a nearly full disk only: a file takes the record whole.
        record.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace Eventing
