// librsync's signatures, deltas and patches over local files.
//
//   signature of the old contents -> delta from it to the new contents -> patch of the old contents with the delta
//
// Everything is streamed: what is in memory are buffers and, for a delta, the old contents' signature, whose size grows
// with the square root of the contents'. Targets are overwritten; a target that could not be completed is left as it
// is, for the caller to drop. Results are error codes, 0 for success; ERROR_INVALID_DATA for a delta that is none or
// does not fit the old contents. A set cancel event (may be null) ends the work with ERROR_CANCELLED.
#pragma once

#include "quillmark/WideString.h"

namespace quillmark::cli {

// Writes the signature of a file, as a server makes deltas against.
[[nodiscard]] DWORD WriteSignature(const WideString& oldFile, const WideString& signatureFile, HANDLE cancelEvent);

// Writes what makes the new file out of the old one.
[[nodiscard]] DWORD WriteDelta(const WideString& oldFile, const WideString& newFile, const WideString& deltaFile,
                               HANDLE cancelEvent);

// Writes the new file that a delta makes out of the old one.
[[nodiscard]] DWORD ApplyDelta(const WideString& oldFile, const WideString& deltaFile, const WideString& newFile,
                               HANDLE cancelEvent);

}  // namespace quillmark::cli
