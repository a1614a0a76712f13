#include "EndableWinHttp.h"

#include <utility>

namespace quillmark::cli {

void EndableWinHttp::End() {
    std::set<HINTERNET> open;
    {
        const std::lock_guard lock(m_lock);
        m_ended = true;
        open = std::exchange(m_open, {});
        m_closed.insert(open.begin(), open.end());
    }
    for (HINTERNET request : open) {
        WinHttpInterface::WinHttpCloseHandle(request);
    }
}

HINTERNET EndableWinHttp::WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                             LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) {
    const std::lock_guard lock(m_lock);  // so that End meets each request, or the request meets the end
    if (m_ended) {
        SetLastError(ERROR_WINHTTP_OPERATION_CANCELLED);
        return nullptr;
    }
    HINTERNET request =
        WinHttpInterface::WinHttpOpenRequest(connection, verb, objectName, version, referrer, acceptTypes, flags);
    if (request != nullptr) {
        m_open.insert(request);
    }
    return request;
}

BOOL EndableWinHttp::WinHttpCloseHandle(HINTERNET handle) {
    {
        const std::lock_guard lock(m_lock);
        if (m_closed.erase(handle) != 0) {
            return TRUE;
        }
        m_open.erase(handle);
    }
    return WinHttpInterface::WinHttpCloseHandle(handle);
}

}  // namespace quillmark::cli
