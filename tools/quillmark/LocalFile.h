// LocalFile: a local file that is read or written piece by piece, through the platform's file functions. TemporaryFile:
// a file that is gone with its object.
//
// Functions that return a DWORD return an error code, 0 for success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "quillmark/WideString.h"

namespace quillmark::cli {

class LocalFile {
public:
    LocalFile() = default;
    ~LocalFile();
    LocalFile(const LocalFile&) = delete;
    LocalFile& operator=(const LocalFile&) = delete;

    // access: GENERIC_*; disposition: OPEN_EXISTING and the like. Others may read, write and delete it meanwhile.
    [[nodiscard]] DWORD Open(const WideString& path, DWORD access, DWORD disposition);

    [[nodiscard]] DWORD Size(std::int64_t& size) const;
    // Moves to this offset from the file's start.
    [[nodiscard]] DWORD Seek(std::int64_t offset) const;
    // Up to count bytes; got is less only at the file's end.
    [[nodiscard]] DWORD Read(void* buffer, std::size_t count, std::size_t& got) const;
    // All of count bytes.
    [[nodiscard]] DWORD Write(const void* bytes, std::size_t count) const;
    [[nodiscard]] HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

class TemporaryFile {
public:
    // An empty file in the system's folder for such files, readable by its owner only. Throws Failure when none can be
    // made.
    TemporaryFile();
    // Whatever comes to be at this path; nothing is made. It outlives the object when it was moved away.
    explicit TemporaryFile(WideString path) : m_path(std::move(path)) {}
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const WideString& Path() const { return m_path; }

private:
    WideString m_path;
};

// Bytes of a local file. 0 or an error code.
[[nodiscard]] DWORD FileSize(const WideString& path, std::int64_t& size);

// Leaves so many bytes of a local file's beginning. 0 or an error code.
[[nodiscard]] DWORD CutFile(const WideString& path, std::int64_t size);

// Writes bytes of one file, from one offset until before another, to the same place of another, which is made when it
// is missing.
[[nodiscard]] DWORD CopyBytes(const WideString& from, const WideString& to, std::int64_t start, std::int64_t end);

}  // namespace quillmark::cli
