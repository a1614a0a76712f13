#include "fakes/RecordingFileSystem.h"

#include <algorithm>
#include <cstring>

namespace quillmark::fakes {
namespace {

std::string Name(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE ? "invalid" : "f" + std::to_string(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace

void RecordingFileSystem::Put(const WideString& path, const std::string& contents, std::uint64_t size) {
    const std::scoped_lock guard(m_lock);
    std::shared_ptr<File>& file = m_files[path];
    if (file == nullptr) {
        file = std::make_shared<File>();
    }
    file->bytes = contents;
    file->size = std::max<std::uint64_t>(size, contents.size());
}

bool RecordingFileSystem::Exists(const WideString& path) const {
    const std::scoped_lock guard(m_lock);
    return m_files.contains(path);
}

std::string RecordingFileSystem::Contents(const WideString& path) const {
    const std::scoped_lock guard(m_lock);
    return m_files.at(path)->bytes;
}

std::size_t RecordingFileSystem::OpenFiles() const {
    const std::scoped_lock guard(m_lock);
    return m_open.size();
}

DWORD RecordingFileSystem::GetFileSize(HANDLE file, LPDWORD sizeHigh) {
    if (!Enter("GetFileSize", Name(file))) {
        return INVALID_FILE_SIZE;
    }
    const std::scoped_lock guard(m_lock);
    const std::uint64_t size = m_open.at(file).file->size;
    *sizeHigh = static_cast<DWORD>(size >> 32);
    return static_cast<DWORD>(size);
}

HANDLE RecordingFileSystem::CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security,
                                        DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile) {
    if (!Enter("CreateFileW", Quoted(path) + ", " + Hex(access) + ", " + std::to_string(shareMode) + ", " +
                                  (security == nullptr ? "null" : "security") + ", " + std::to_string(disposition) +
                                  ", " + std::to_string(flagsAndAttributes) + ", " +
                                  (templateFile == nullptr ? "null" : "template"))) {
        return INVALID_HANDLE_VALUE;
    }
    const std::scoped_lock guard(m_lock);
    const auto found = m_files.find(path);
    if (found == m_files.end() && disposition == OPEN_EXISTING) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    std::shared_ptr<File>& file = m_files[path];
    if (file == nullptr) {
        file = std::make_shared<File>();
    }
    if (disposition == CREATE_ALWAYS) {
        *file = File();
    }
    const auto handle = reinterpret_cast<HANDLE>(++m_handles);
    m_open[handle] = {file, 0};
    return handle;
}

BOOL RecordingFileSystem::ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED) {
    if (!Enter("ReadFile", Name(file) + ", " + std::to_string(bytesToRead))) {
        return FALSE;
    }
    const std::scoped_lock guard(m_lock);
    OpenFile& open = m_open.at(file);
    const std::uint64_t rest = open.file->size - std::min(open.position, open.file->size);
    *bytesRead = static_cast<DWORD>(std::min<std::uint64_t>({bytesToRead, readLimit, rest}));
    std::memset(buffer, 0, *bytesRead);
    if (open.position < open.file->bytes.size()) {
        open.file->bytes.copy(static_cast<char*>(buffer), *bytesRead, open.position);
    }
    open.position += *bytesRead;
    return TRUE;
}

BOOL RecordingFileSystem::SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER, DWORD method) {
    if (!Enter("SetFilePointerEx",
               Name(file) + ", " + std::to_string(distance.QuadPart) + ", " + std::to_string(method))) {
        return FALSE;
    }
    const std::scoped_lock guard(m_lock);
    m_open.at(file).position = static_cast<std::uint64_t>(distance.QuadPart);
    return TRUE;
}

BOOL RecordingFileSystem::WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
                                    LPOVERLAPPED) {
    if (!Enter("WriteFile", Name(file) + ", " + std::to_string(bytesToWrite))) {
        return FALSE;
    }
    const std::scoped_lock guard(m_lock);
    OpenFile& open = m_open.at(file);
    *bytesWritten = std::min(bytesToWrite, writeLimit);
    std::string& bytes = open.file->bytes;
    bytes.resize(std::max<std::size_t>(bytes.size(), open.position + *bytesWritten));
    bytes.replace(open.position, *bytesWritten, static_cast<const char*>(buffer), *bytesWritten);
    open.file->size = std::max<std::uint64_t>(open.file->size, bytes.size());
    open.position += *bytesWritten;
    return TRUE;
}

DWORD RecordingFileSystem::SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method) {
    if (!Enter("SetFilePointer", Name(file) + ", " + std::to_string(static_cast<DWORD>(distance)) + ", " +
                                     std::to_string(*distanceHigh) + ", " + std::to_string(method))) {
        return INVALID_SET_FILE_POINTER;
    }
    const std::scoped_lock guard(m_lock);
    const std::uint64_t position =
        (static_cast<std::uint64_t>(static_cast<DWORD>(*distanceHigh)) << 32) | static_cast<DWORD>(distance);
    m_open.at(file).position = position;
    return static_cast<DWORD>(position);
}

BOOL RecordingFileSystem::CloseHandle(HANDLE handle) {
    const bool entered = Enter("CloseHandle", Name(handle));
    const std::scoped_lock guard(m_lock);
    m_open.erase(handle);
    return entered;
}

}  // namespace quillmark::fakes
