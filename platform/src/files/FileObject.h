// An open file behind a handle.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "files/Descriptor.h"
#include "files/FileInfo.h"
#include "files/ShareTable.h"
#include "handles/HandleTable.h"

namespace quillmark::platform {

class FileObject final : public HandleObject {
public:
    enum class Kind {
        Positioned,  // regular files, disks: read and written at offsets
        Stream,      // pipes, terminals, sockets: no offsets, reading may wait
        Folder,
    };

    struct Opening {
        Descriptor descriptor;
        FileInfo info;
        DWORD access = 0;  // FILE_ and standard rights, generic ones resolved
        ShareTicket ticket;
        std::string deleteOnClose;  // the path to remove, or empty
    };

    // Throws std::bad_alloc; code is set when a descriptor for waking readers cannot be had.
    FileObject(Opening opening, DWORD& code);

    // Ends waits on a stream, gives up the share ticket and removes a file that goes with its handle. Calls that are
    // reading or writing finish on the descriptor, which lives until they let go of the object.
    void OnClose() override;

    [[nodiscard]] int RawDescriptor() const { return m_descriptor.Get(); }
    [[nodiscard]] Kind GetKind() const { return m_kind; }

    // Whether one of the rights was asked for when the file was opened.
    [[nodiscard]] bool Has(DWORD anyOfRights) const { return (m_access & anyOfRights) != 0; }
    [[nodiscard]] bool CanWrite() const;
    [[nodiscard]] bool IsAppendOnly() const;

    // Waits until the stream can be read (POLLIN) or written (POLLOUT). ERROR_OPERATION_ABORTED when the handle is
    // closed meanwhile.
    [[nodiscard]] DWORD WaitForStream(short event) const;

    // Held during each read, write and move of the position, so that each is one step for the threads that share the
    // handle.
    std::mutex lock;
    std::int64_t position = 0;  // of a positioned file; guarded by lock

private:
    const Descriptor m_descriptor;
    Descriptor m_closed;  // an eventfd, for streams only
    const DWORD m_access;
    const Kind m_kind;
    const FileId m_id;
    ShareTicket m_ticket;
    const std::string m_deleteOnClose;
};

// Looks the handle up. ERROR_INVALID_HANDLE when it is not an open file.
[[nodiscard]] DWORD FindFile(HANDLE handle, std::shared_ptr<FileObject>& file);

// The same for calls that make sense with an offset only: ERROR_INVALID_FUNCTION for streams and folders.
[[nodiscard]] DWORD FindPositionedFile(HANDLE handle, std::shared_ptr<FileObject>& file);

// The size of a positioned file in bytes. ERROR_INVALID_FUNCTION when it has none.
[[nodiscard]] DWORD SizeOf(const FileObject& file, std::int64_t& size);

}  // namespace quillmark::platform
