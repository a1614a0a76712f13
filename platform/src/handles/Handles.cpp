#include "quillmark/platform/Handles.h"

#include "handles/HandleTable.h"
#include "quillmark/platform/Errors.h"

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

}  // namespace

BOOL WINAPI CloseHandle(HANDLE hObject) {
    using namespace quillmark::platform;
    const auto object = FindHandleObject(hObject);
    // Numbers do not come back soon, so what is removed below is this object, or another thread was faster.
    if (object == nullptr || !object->ClosesWithCloseHandle() || RemoveHandle(hObject) == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

DWORD WINAPI GetLastError() {
    return lastError;
}

void WINAPI SetLastError(DWORD dwErrCode) {
    lastError = dwErrCode;
}
