#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "LogFile.h"
#include "OwnerOnly.h"

namespace Eventing {
namespace {

// The longest path that the system takes, its end included.
constexpr int LongestPath = 32768;

// One record at a time in this process: Windows appends in one piece, Wine looks for the end first and writes then.
// A lock without a destructor: threads may log while the process ends.
SRWLOCK writing = SRWLOCK_INIT;

}  // namespace

LogFile::LogFile(LogFile&& other) noexcept : m_file(std::exchange(other.m_file, INVALID_HANDLE_VALUE)) {}

LogFile& LogFile::operator=(LogFile&& other) noexcept {
    LogFile taken(std::move(other));
    std::swap(m_file, taken.m_file);
    return *this;
}

LogFile::~LogFile() {
    if (m_file != INVALID_HANDLE_VALUE && m_file != ::GetStdHandle(STD_ERROR_HANDLE)) {
        ::CloseHandle(m_file);
    }
}

DWORD LogFile::Open(const char* path) noexcept {
    if (std::string_view(path) == "-") {
        m_file = ::GetStdHandle(STD_ERROR_HANDLE);
        return ERROR_SUCCESS;
    }
    const std::unique_ptr<WCHAR[]> wide(new (std::nothrow) WCHAR[LongestPath]);
    if (wide == nullptr) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide.get(), LongestPath) == 0) {
        const DWORD error = ::GetLastError();
        return error == ERROR_INSUFFICIENT_BUFFER ? ERROR_FILENAME_EXCED_RANGE : error;
    }
    quillmark::windows::OwnerOnly rights;
    if (rights.Get() == nullptr) {
        return rights.Error();
    }
    // With the right to append alone, each write goes to the end as one piece, also beside other processes.
    m_file = ::CreateFileW(wide.get(), FILE_APPEND_DATA | SYNCHRONIZE,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, rights.Get(), OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    return m_file == INVALID_HANDLE_VALUE ? ::GetLastError() : ERROR_SUCCESS;
}

void LogFile::Write(std::string_view record) const noexcept {
    ::AcquireSRWLockExclusive(&writing);
    while (!record.empty()) {
        DWORD written = 0;
        constexpr std::size_t LargestPiece = 0x40000000;
        const DWORD piece = static_cast<DWORD>(record.size() < LargestPiece ? record.size() : LargestPiece);
        if (::WriteFile(m_file, record.data(), piece, &written, nullptr) == FALSE || written == 0) {
            break;
        }
        // A second round is for a pipe or a nearly full disk only: a file takes the record whole.
        record.remove_prefix(written);
    }
    ::ReleaseSRWLockExclusive(&writing);
}

}  // namespace Eventing
