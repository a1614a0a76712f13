// IProgressSink: how a host follows a transfer. Implemented by the host, called by the library on the thread that runs
// the operation. It must not throw and should return quickly: the transfer waits for it.
#pragma once

#include <cstdint>

#include "quillmark/WideString.h"

namespace quillmark {

class IProgressSink {
public:
    virtual ~IProgressSink() = default;

    // The transfer of a file begins at this offset (bytes from the file's start). context is the value that the host
    // gave to the operation.
    virtual void Begin(const WideString& localPath, std::uint64_t offset, std::uint64_t context) = 0;

    // A chunk has moved: its bytes and their count, the position in the file behind it, and the size of the file (for a
    // download: the expected total; 0 when the server did not announce one).
    virtual void Advance(const void* bytes, std::uint32_t count, std::uint64_t position, std::uint64_t total,
                         std::uint64_t context) = 0;
};

}  // namespace quillmark
