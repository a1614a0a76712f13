#include "LocalFile.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "ErrorText.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t PieceSize = 256 * 1024;

// What one call of the platform takes.
DWORD Piece(std::size_t count) {
    return static_cast<DWORD>(std::min<std::size_t>(count, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

LocalFile::~LocalFile() {
    if (m_handle != INVALID_HANDLE_VALUE) {
        CloseHandle(m_handle);
    }
}

DWORD LocalFile::Open(const WideString& path, DWORD access, DWORD disposition) {
    m_handle = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return m_handle != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : GetLastError();
}

DWORD LocalFile::Size(std::int64_t& size) const {
    LARGE_INTEGER value = {};
    if (GetFileSizeEx(m_handle, &value) == FALSE) {
        return GetLastError();
    }
    size = value.QuadPart;
    return ERROR_SUCCESS;
}

DWORD LocalFile::Seek(std::int64_t offset) const {
    LARGE_INTEGER distance = {};
    distance.QuadPart = offset;
    return SetFilePointerEx(m_handle, distance, nullptr, FILE_BEGIN) != FALSE ? ERROR_SUCCESS : GetLastError();
}

DWORD LocalFile::Read(void* buffer, std::size_t count, std::size_t& got) const {
    got = 0;
    while (got < count) {
        DWORD read = 0;
        if (ReadFile(m_handle, static_cast<char*>(buffer) + got, Piece(count - got), &read, nullptr) == FALSE) {
            return GetLastError();
        }
        if (read == 0) {
            break;
        }
        got += read;
    }
    return ERROR_SUCCESS;
}

DWORD LocalFile::Write(const void* bytes, std::size_t count) const {
    const char* rest = static_cast<const char*>(bytes);
    while (count > 0) {
        DWORD written = 0;
        if (WriteFile(m_handle, rest, Piece(count), &written, nullptr) == FALSE) {
            return GetLastError();
        }
        if (written == 0) {
            return ERROR_WRITE_FAULT;
        }
        rest += written;
        count -= written;
    }
    return ERROR_SUCCESS;
}

TemporaryFile::TemporaryFile() {
    WideChar folder[MAX_PATH] = {};
    WideChar path[MAX_PATH] = {};
    if (GetTempPathW(MAX_PATH, folder) == 0 || GetTempFileNameW(folder, QM_W("qm"), 0, path) == 0) {
        throw Failure("cannot make a temporary file", GetLastError());
    }
    m_path = path;
}

TemporaryFile::~TemporaryFile() {
    DeleteFileW(m_path.c_str());
}

DWORD FileSize(const WideString& path, std::int64_t& size) {
    LocalFile file;
    const DWORD error = file.Open(path, GENERIC_READ, OPEN_EXISTING);
    return error == ERROR_SUCCESS ? file.Size(size) : error;
}

DWORD CutFile(const WideString& path, std::int64_t size) {
    LocalFile file;
    DWORD error = file.Open(path, GENERIC_WRITE, OPEN_EXISTING);
    if (error == ERROR_SUCCESS) {
        error = file.Seek(size);
    }
    return error == ERROR_SUCCESS && SetEndOfFile(file.Get()) == FALSE ? GetLastError() : error;
}

DWORD CopyBytes(const WideString& from, const WideString& to, std::int64_t start, std::int64_t end) {
    LocalFile source;
    LocalFile target;
    DWORD error = source.Open(from, GENERIC_READ, OPEN_EXISTING);
    if (error == ERROR_SUCCESS) {
        error = target.Open(to, GENERIC_WRITE, OPEN_ALWAYS);
    }
    if (error == ERROR_SUCCESS) {
        error = source.Seek(start);
    }
    if (error == ERROR_SUCCESS) {
        error = target.Seek(start);
    }
    std::vector<char> buffer(PieceSize);
    while (error == ERROR_SUCCESS && start < end) {
        std::size_t got = 0;
        error =
            source.Read(buffer.data(), static_cast<std::size_t>(std::min<std::int64_t>(end - start, PieceSize)), got);
        if (error == ERROR_SUCCESS && got == 0) {
            error = ERROR_HANDLE_EOF;
        }
        if (error == ERROR_SUCCESS) {
            error = target.Write(buffer.data(), got);
            start += static_cast<std::int64_t>(got);
        }
    }
    return error;
}

}  // namespace quillmark::cli
