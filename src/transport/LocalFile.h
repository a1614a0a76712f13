// LocalFile: a local file that a transfer reads or writes, opened, used and closed through the file-system seam.
//
// The seam is asked for anew at each call. The file is closed when the object goes. Functions that return a DWORD
// return a Windows error code, 0 on success; they log nothing, since the texts are the transfer's own.
#pragma once

#include <cstdint>

#include "quillmark/Platform.h"
#include "quillmark/WideString.h"

namespace quillmark {

class LocalFile {
public:
    LocalFile() = default;
    ~LocalFile();
    LocalFile(const LocalFile&) = delete;
    LocalFile& operator=(const LocalFile&) = delete;

    [[nodiscard]] DWORD Open(const WideString& path, DWORD access, DWORD share, DWORD disposition);
    // Opens an existing file for reading, with everything shared: others may change it meanwhile.
    [[nodiscard]] DWORD OpenForReading(const WideString& path);
    void Close();

    [[nodiscard]] DWORD Size(std::uint64_t& size);
    // Both from the file's start.
    [[nodiscard]] DWORD SeekForReading(std::uint64_t offset);
    [[nodiscard]] DWORD SeekForWriting(std::uint64_t offset);
    // Up to count bytes; read is 0 at the end.
    [[nodiscard]] DWORD Read(void* buffer, DWORD count, DWORD& read);
    // All of count bytes.
    [[nodiscard]] DWORD Write(const void* bytes, DWORD count);

private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

}  // namespace quillmark
