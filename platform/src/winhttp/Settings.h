// What a session hands down to the requests that are opened on it, and a request may change for itself.
#pragma once

#include <string>

#include "quillmark/platform/WinHttp.h"

namespace quillmark::platform::winhttp {

// In milliseconds; 0 means none. The values of a new session are WinHTTP's.
struct Timeouts {
    DWORD resolve = 0;
    DWORD connect = 60000;
    DWORD send = 30000;
    DWORD receive = 30000;
};

struct Settings {
    Timeouts timeouts;
    std::string userAgent;
    DWORD redirectPolicy = WINHTTP_OPTION_REDIRECT_POLICY_DEFAULT;
    DWORD maxRedirects = 10;
    DWORD maxHeadSize = 64 * 1024;
    // Of requests only.
    DWORD disabledFeatures = 0;
    DWORD autologonPolicy = WINHTTP_AUTOLOGON_SECURITY_LEVEL_DEFAULT;
};

// How the session reaches its servers.
struct ProxyChoice {
    DWORD accessType = WINHTTP_ACCESS_TYPE_DEFAULT_PROXY;
    std::string name;
    std::string bypass;
};

// The answer to a challenge. No scheme: none was set.
struct Credentials {
    DWORD scheme = 0;
    bool loggedOnUser = false;
    std::string userName;
    std::string password;
};

}  // namespace quillmark::platform::winhttp
