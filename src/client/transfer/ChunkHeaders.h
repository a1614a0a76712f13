// What a server is told of a chunk of a resumable upload. It is in the head of the chunk's request, not in form fields.
#pragma once

#include <cstdint>

#include "common/Log.h"
#include "quillmark/Attributes.h"
#include "quillmark/Transport.h"

namespace quillmark {

// A chunk's place in its file, in bytes, and in the upload.
struct Chunk {
    std::int64_t offset;
    std::int64_t length;
    bool isFirst;
    bool isLast;
};

// Adds the headers in the order in which the server is used to get them, up to the first that the transport refuses:
// the whole file's record, the chunk's place, and, with the setting UploadExpiry, until when the server is to keep what
// it has of the upload. The setting is read with the first chunk of the process.
[[nodiscard]] DWORD AddChunkHeaders(const Logger& log, IWinHttpRequest& request, const IServerAttributes& attributes,
                                    const Chunk& chunk);

}  // namespace quillmark
