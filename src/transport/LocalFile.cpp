#include "transport/LocalFile.h"

#include "common/ModuleState.h"
#include "transport/TransportSupport.h"

namespace quillmark {

LocalFile::~LocalFile() {
    Close();
}

DWORD LocalFile::Open(const WideString& path, DWORD access, DWORD share, DWORD disposition) {
    Close();
    m_handle =
        FileSystem()->CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return m_handle != INVALID_HANDLE_VALUE ? 0 : FailureCode();
}

DWORD LocalFile::OpenForReading(const WideString& path) {
    return Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING);
}

void LocalFile::Close() {
    if (m_handle != INVALID_HANDLE_VALUE) {
        FileSystem()->CloseHandle(m_handle);
        m_handle = INVALID_HANDLE_VALUE;
    }
}

DWORD LocalFile::Size(std::uint64_t& size) {
    DWORD high = 0;
    // A low half of all ones is a size as well as the mark of a failure; only the last error tells them apart.
    ::SetLastError(NO_ERROR);
    const DWORD low = FileSystem()->GetFileSize(m_handle, &high);
    if (low == INVALID_FILE_SIZE && ::GetLastError() != NO_ERROR) {
        return ::GetLastError();
    }
    size = (static_cast<std::uint64_t>(high) << 32) | low;
    return 0;
}

DWORD LocalFile::SeekForReading(std::uint64_t offset) {
    LARGE_INTEGER distance = {};
    distance.QuadPart = static_cast<LONGLONG>(offset);
    return FileSystem()->SetFilePointerEx(m_handle, distance, nullptr, FILE_BEGIN) ? 0 : FailureCode();
}

DWORD LocalFile::SeekForWriting(std::uint64_t offset) {
    auto high = static_cast<LONG>(offset >> 32);
    ::SetLastError(NO_ERROR);
    const DWORD low =
        FileSystem()->SetFilePointer(m_handle, static_cast<LONG>(static_cast<DWORD>(offset)), &high, FILE_BEGIN);
    return low == INVALID_SET_FILE_POINTER ? ::GetLastError() : 0;
}

DWORD LocalFile::Read(void* buffer, DWORD count, DWORD& read) {
    read = 0;
    return FileSystem()->ReadFile(m_handle, buffer, count, &read, nullptr) ? 0 : FailureCode();
}

DWORD LocalFile::Write(const void* bytes, DWORD count) {
    const char* rest = static_cast<const char*>(bytes);
    while (count > 0) {
        DWORD written = 0;
        if (!FileSystem()->WriteFile(m_handle, rest, count, &written, nullptr)) {
            return FailureCode();
        }
        if (written == 0) {
            return ERROR_WRITE_FAULT;
        }
        rest += written;
        count -= written;
    }
    return 0;
}

}  // namespace quillmark
