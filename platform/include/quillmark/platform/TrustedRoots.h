// Certificate authorities that a program trusts beside those of the system and of the user. Not part of Windows, where
// a program asks for its own certificate store; the command-line host's --ca is why it is here.
#pragma once

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

// Trusts the certificates in this PEM file as well, for the rest of the process; nothing that is trusted already is
// replaced, and the file is not read again. It counts for the WinHTTP sessions whose first secure connection comes
// afterwards, so call it before the first session is made. Several calls add up. Any thread may call it.
//
// 0, the code with which the file cannot be opened (ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED ...), ERROR_INVALID_NAME,
// or ERROR_INVALID_DATA when it holds no certificate.
[[nodiscard]] __attribute__((visibility("default"))) DWORD AddTrustedRoots(LPCWSTR path);

}  // namespace quillmark::platform
