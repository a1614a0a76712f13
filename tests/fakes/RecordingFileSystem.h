// RecordingFileSystem: a file-system seam whose files are in memory. It records the calls that transfers make and can
// change a file while it is open.
//
//   files->Put(QM_W("/data/report"), "contents");
//   files->OnCall([&](const std::string& call) { if (call.starts_with("ReadFile")) files->Put(..., "longer contents");
//   });
//
// Handles are printed f1, f2, ... in the order of opening. Only the functions that transfers use are here; the others
// are the plain seam's.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>

#include "fakes/CallRecorder.h"
#include "quillmark/Services.h"
#include "quillmark/WideString.h"

namespace quillmark::fakes {

class RecordingFileSystem : public FileSystemInterface, public CallRecorder {
public:
    DWORD readLimit = std::numeric_limits<DWORD>::max();   // the most that one ReadFile gives
    DWORD writeLimit = std::numeric_limits<DWORD>::max();  // the most that one WriteFile takes

    // Makes the file, or changes it, also for those who have it open. size: zeros follow up to it, without taking
    // memory.
    void Put(const WideString& path, const std::string& contents, std::uint64_t size = 0);
    [[nodiscard]] bool Exists(const WideString& path) const;
    [[nodiscard]] std::string Contents(const WideString& path) const;
    [[nodiscard]] std::size_t OpenFiles() const;

    DWORD GetFileSize(HANDLE file, LPDWORD sizeHigh) override;
    HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                       DWORD flagsAndAttributes, HANDLE templateFile) override;
    BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED overlapped) override;
    BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER newPosition, DWORD method) override;
    BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
                   LPOVERLAPPED overlapped) override;
    DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method) override;
    BOOL CloseHandle(HANDLE handle) override;

private:
    struct File {
        std::string bytes;
        std::uint64_t size = 0;  // at least the bytes; the rest are zeros
    };
    struct OpenFile {
        std::shared_ptr<File> file;
        std::uint64_t position = 0;
    };

    mutable std::mutex m_lock;
    std::map<WideString, std::shared_ptr<File>> m_files;
    std::map<HANDLE, OpenFile> m_open;
    std::uintptr_t m_handles = 0;
};

}  // namespace quillmark::fakes
