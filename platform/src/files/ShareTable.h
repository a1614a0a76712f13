// Who in this process has which file open, and what they let others do meanwhile.
//
// A ticket is one use of a file: it is given when the use and every use under way allow each other, and held as long as
// the use lasts. Uses that neither read, write nor delete need no permission and hinder nobody.
#pragma once

#include <memory>

#include "files/FileInfo.h"

namespace quillmark::platform {

struct FileUse {
    DWORD access = 0;  // of FILE_READ_DATA, FILE_EXECUTE, FILE_WRITE_DATA, FILE_APPEND_DATA, DELETE
    DWORD share = 0;   // of FILE_SHARE_*
};

class ShareTicket {
public:
    ShareTicket() = default;
    ShareTicket(FileId file, std::shared_ptr<const FileUse> use);
    ShareTicket(ShareTicket&&) noexcept = default;
    ShareTicket& operator=(ShareTicket&& other) noexcept;
    ~ShareTicket();

    void Release() noexcept;

private:
    FileId m_file;
    std::shared_ptr<const FileUse> m_use;
};

// ERROR_SHARING_VIOLATION when the use and another one exclude each other.
[[nodiscard]] DWORD AcquireShare(FileId file, FileUse use, ShareTicket& ticket);

}  // namespace quillmark::platform
