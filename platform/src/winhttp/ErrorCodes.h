// The one table from libcurl's results to WinHTTP's codes.
#pragma once

#include <curl/curl.h>

#include "quillmark/platform/Types.h"

namespace quillmark::platform::winhttp {

// The WinHTTP code for a transfer that ended with this result. What the result alone does not tell (time-outs,
// cancellation, a refused second sending, a head over the limit) is decided before by the transfer.
[[nodiscard]] DWORD CodeOf(CURLcode result);

}  // namespace quillmark::platform::winhttp
