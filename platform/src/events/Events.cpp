#include "quillmark/platform/Events.h"

#include <new>

#include "events/EventObject.h"
#include "quillmark/platform/Handles.h"

using namespace quillmark::platform;

namespace {

HANDLE Refuse(DWORD error) {
    SetLastError(error);
    return nullptr;
}

}  // namespace

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCWSTR lpName) {
    if (lpName != nullptr) {
        return Refuse(ERROR_NOT_SUPPORTED);
    }
    std::shared_ptr<EventObject> event;
    try {
        event = std::make_shared<EventObject>(bManualReset != FALSE, bInitialState != FALSE);
    } catch (const std::bad_alloc&) {
        return Refuse(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (!event->IsValid()) {
        return Refuse(ERROR_NO_SYSTEM_RESOURCES);
    }
    const HANDLE handle = InsertHandle(std::move(event));
    if (handle != nullptr) {
        // Callers tell a new event from an existing one by the code.
        SetLastError(ERROR_SUCCESS);
    }
    return handle;
}

BOOL WINAPI SetEvent(HANDLE hEvent) {
    const auto event = FindHandle<EventObject>(hEvent);
    if (event == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    event->Set();
    return TRUE;
}

BOOL WINAPI ResetEvent(HANDLE hEvent) {
    const auto event = FindHandle<EventObject>(hEvent);
    if (event == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    event->Reset();
    return TRUE;
}
