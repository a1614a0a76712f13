// WinHttpSession: a WinHTTP session and the session token that requests made on it send as their cookie.
//
// One session is shared by requests on many threads. The token may be replaced (a login) while others read it.
#pragma once

#include <mutex>

#include "quillmark/Transport.h"
#include "transport/WinHttpHandle.h"

namespace quillmark {

class WinHttpSession final : public WinHttpHandle, public IWinHttpSession {
public:
    [[nodiscard]] DWORD Initialise() override;
    [[nodiscard]] BOOL SetTimeouts(DWORD connect, DWORD resolve, DWORD send, DWORD receive) override;
    void SetSessionToken(const WideString& token) override;
    [[nodiscard]] WideString GetSessionToken() override;
    [[nodiscard]] HINTERNET GetHandle() override { return Handle(); }

private:
    std::mutex m_tokenLock;
    WideString m_sessionToken;
};

}  // namespace quillmark
