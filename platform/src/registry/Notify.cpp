// RegNotifyChangeKeyValue.
#include <memory>

#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Events.h"
#include "quillmark/platform/Handles.h"
#include "quillmark/platform/Registry.h"
#include "registry/KeyObject.h"
#include "registry/KeyWatches.h"

namespace quillmark::platform {
namespace {

constexpr DWORD KnownFilters =
    REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_SECURITY;

// The registry functions leave the last error alone, also where they use others that set it.
class LastErrorKept {
public:
    LastErrorKept() : m_code(GetLastError()) {}
    ~LastErrorKept() { SetLastError(m_code); }
    LastErrorKept(const LastErrorKept&) = delete;
    LastErrorKept& operator=(const LastErrorKept&) = delete;

private:
    const DWORD m_code;
};

// What waits on the predefined keys, which are never closed.
KeyWatches& PredefinedWatches() {
    static KeyWatches& watches = *new KeyWatches;
    return watches;
}

DWORD Notify(HKEY key, const ChangeFilter& filter, HANDLE event, bool asynchronous) {
    KeyReference reference;
    KeyView view;
    if (const DWORD code = ViewOf(key, KEY_NOTIFY, reference, view); code != ERROR_SUCCESS) {
        return code;
    }
    // Holds the key, whose watches these are, while this call waits.
    const auto object = FindHandle<KeyObject>(key);
    if (object == nullptr && !reference.predefined) {
        return ERROR_INVALID_HANDLE;
    }
    KeyWatches& watches = reference.predefined ? PredefinedWatches() : object->Watches();
    const WatchedKey watched{reference.store, reference.path, filter, !reference.predefined};
    if (!asynchronous) {
        return watches.Wait(watched);
    }
    if (ResetEvent(event) == FALSE) {
        return ERROR_INVALID_HANDLE;
    }
    return watches.Start(watched, event);
}

}  // namespace
}  // namespace quillmark::platform

LSTATUS WINAPI RegNotifyChangeKeyValue(HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter, HANDLE hEvent,
                                       BOOL fAsynchronous) {
    using namespace quillmark::platform;
    const LastErrorKept kept;
    return static_cast<LSTATUS>(CodeOf([&]() -> DWORD {
        const DWORD bits = dwNotifyFilter & ~REG_NOTIFY_THREAD_AGNOSTIC;
        if (bits == 0 || (bits & ~KnownFilters) != 0 || (fAsynchronous != FALSE && hEvent == nullptr)) {
            return ERROR_INVALID_PARAMETER;
        }
        const ChangeFilter filter{(bits & REG_NOTIFY_CHANGE_NAME) != 0, (bits & REG_NOTIFY_CHANGE_LAST_SET) != 0,
                                  bWatchSubtree != FALSE};
        return Notify(hKey, filter, hEvent, fAsynchronous != FALSE);
    }));
}
