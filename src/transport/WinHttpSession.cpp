#include "transport/WinHttpSession.h"

#include "common/Log.h"
#include "common/ModuleState.h"
#include "transport/TransportSupport.h"

namespace quillmark {

DWORD WinHttpSession::Initialise() {
    return LogScope::Run("WinHttpSession::Initialise", LogSource::WinHttpImpl, [&](const Logger& log) -> DWORD {
        DWORD status = 0;

        if (!Attach(WinHttp()->WinHttpOpen(nullptr, WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME,
                                           WINHTTP_NO_PROXY_BYPASS, 0))) {
            status = FailureCode();
            log.Error("WinHttpOpen failed, error code: %d", status);
            return status;
        }
        if (!SetTimeouts(60000, 60000, 300000, 300000)) {
            status = FailureCode();
            log.Error("WinHttpSetTimeouts failed, error code: %d", status);
            return status;
        }
        log.Information("Successfully initialised http session");
        return status;
    });
}

// Positional on purpose: the parameters of WinHttpSetTimeouts are resolve, connect, send and receive, so the first two
// change places here. Servers and settings in use count on it.
BOOL WinHttpSession::SetTimeouts(DWORD connect, DWORD resolve, DWORD send, DWORD receive) {
    return WinHttp()->WinHttpSetTimeouts(Handle(), static_cast<int>(connect), static_cast<int>(resolve),
                                         static_cast<int>(send), static_cast<int>(receive));
}

void WinHttpSession::SetSessionToken(const WideString& token) {
    const std::scoped_lock lock(m_tokenLock);
    m_sessionToken = token;
}

WideString WinHttpSession::GetSessionToken() {
    const std::scoped_lock lock(m_tokenLock);
    return m_sessionToken;
}

}  // namespace quillmark
