#include "files/FileObject.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

namespace quillmark::platform {
namespace {

FileObject::Kind KindOf(const FileInfo& info, int descriptor) {
    if (info.IsFolder()) {
        return FileObject::Kind::Folder;
    }
    const bool seeks = info.IsRegular() || ::lseek(descriptor, 0, SEEK_CUR) >= 0;
    return seeks ? FileObject::Kind::Positioned : FileObject::Kind::Stream;
}

}  // namespace

FileObject::FileObject(Opening opening, DWORD& code)
    : m_descriptor(std::move(opening.descriptor)),
      m_access(opening.access),
      m_kind(KindOf(opening.info, m_descriptor.Get())),
      m_id(opening.info.id),
      m_ticket(std::move(opening.ticket)),
      m_deleteOnClose(std::move(opening.deleteOnClose)) {
    code = ERROR_SUCCESS;
    if (m_kind == Kind::Stream) {
        m_closed = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        code = m_closed.IsOpen() ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }
}

void FileObject::OnClose() {
    if (m_closed.IsOpen()) {
        // Cannot fail: the counter is far from its limit.
        (void)::eventfd_write(m_closed.Get(), 1);
    }
    if (!m_deleteOnClose.empty()) {
        FileInfo now;
        const bool sameFile =
            ReadInfo(AT_FDCWD, m_deleteOnClose.c_str(), Links::Follow, now) == 0 && now.id == m_id && now.IsRegular();
        if (sameFile) {
            ::unlink(m_deleteOnClose.c_str());
        }
    }
    m_ticket.Release();
}

bool FileObject::CanWrite() const {
    return Has(FILE_WRITE_DATA | FILE_APPEND_DATA);
}

bool FileObject::IsAppendOnly() const {
    return (m_access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) == FILE_APPEND_DATA;
}

DWORD FileObject::WaitForStream(short event) const {
    pollfd waits[] = {{m_descriptor.Get(), event, 0}, {m_closed.Get(), POLLIN, 0}};
    while (::poll(waits, 2, -1) < 0) {
        if (errno != EINTR) {
            return ErrorFromErrno(errno);
        }
    }
    return waits[1].revents != 0 ? ERROR_OPERATION_ABORTED : ERROR_SUCCESS;
}

DWORD FindFile(HANDLE handle, std::shared_ptr<FileObject>& file) {
    file = FindHandle<FileObject>(handle);
    return file == nullptr ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
}

DWORD FindPositionedFile(HANDLE handle, std::shared_ptr<FileObject>& file) {
    const DWORD code = FindFile(handle, file);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    return file->GetKind() == FileObject::Kind::Positioned ? ERROR_SUCCESS : ERROR_INVALID_FUNCTION;
}

DWORD SizeOf(const FileObject& file, std::int64_t& size) {
    struct stat data {};
    if (::fstat(file.RawDescriptor(), &data) != 0) {
        return ErrorFromErrno(errno);
    }
    if (S_ISREG(data.st_mode)) {
        size = data.st_size;
        return ERROR_SUCCESS;
    }
    if (!S_ISBLK(data.st_mode)) {
        return ERROR_INVALID_FUNCTION;
    }
    size = ::lseek(file.RawDescriptor(), 0, SEEK_END);
    return size >= 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
}

}  // namespace quillmark::platform
