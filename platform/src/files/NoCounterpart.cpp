// The functions that POSIX has no counterpart for: they fail as the real ones do where the thing asked for is missing.
#include "files/Outcome.h"
#include "handles/HandleTable.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

using namespace quillmark::platform;

DWORD WINAPI QueryDosDeviceW(LPCWSTR, LPWSTR lpTargetPath, DWORD ucchMax) {
    (void)Answer(lpTargetPath == nullptr || ucchMax == 0 ? ERROR_INSUFFICIENT_BUFFER : ERROR_FILE_NOT_FOUND);
    return 0;
}

DWORD WINAPI SetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID, PSID, PACL, PACL) {
    return FindHandleObject(handle) == nullptr ? ERROR_INVALID_HANDLE : ERROR_NOT_SUPPORTED;
}
