// The error codes that are this library's own or that callers act on. All other codes are Windows' and WinHTTP's.
#pragma once

#include "quillmark/Platform.h"

namespace quillmark {

// A file download ended without an error of the transport, but short of the announced length.
inline constexpr DWORD ERROR_DOWNLOAD_UNDERFLOW = 19016;
// Discovery: no usable endpoint list, or no endpoint that this client speaks.
inline constexpr DWORD ERROR_INCOMPATIBLE_SERVER = 19006;
// Discovery: the reply lacks the member it is all about.
inline constexpr DWORD ERROR_BAD_SERVER_REPLY = 12004;

// A failure that the server reported is this plus its "errorId", or plus the HTTP status.
inline constexpr DWORD SERVER_ERROR_BASE = 20000;
// Server error number 6: the session token is not (or no longer) valid.
inline constexpr DWORD SERVER_ERROR_SESSION_TOKEN = SERVER_ERROR_BASE + 6;
// Server error number 1077: the item's revision is not the one that the request named.
inline constexpr DWORD SERVER_ERROR_REVISION_MISMATCH = SERVER_ERROR_BASE + 1077;
// Server error number 1202: the chunk does not follow on what the server holds of the upload.
inline constexpr DWORD SERVER_ERROR_CHUNK_OUT_OF_STEP = SERVER_ERROR_BASE + 1202;

// What an operation came to: a Windows error code (0 for success) and the severity that the server's reply gave it
// (0 when it gave none).
struct [[nodiscard]] StatusPair {
    DWORD error = 0;
    DWORD severity = 0;

    friend bool operator==(const StatusPair&, const StatusPair&) = default;
};

}  // namespace quillmark
