// The platform's WinHTTP with a way to end it: for calls of the library that take no cancel event.
#pragma once

#include <mutex>
#include <set>

#include "quillmark/Services.h"

namespace quillmark::cli {

// Forwards everything. Any thread.
class EndableWinHttp : public WinHttpInterface {
public:
    // Closes the requests that are open, wherever they wait, and lets no other one begin: their calls fail.
    void End();

    HINTERNET WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                 LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) override;
    BOOL WinHttpCloseHandle(HINTERNET handle) override;

private:
    std::mutex m_lock;
    bool m_ended = false;
    std::set<HINTERNET> m_open;
    std::set<HINTERNET> m_closed;  // by End; their owners will close them, too
};

}  // namespace quillmark::cli
