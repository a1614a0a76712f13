// The functions that open and close sessions and connections.
#include <algorithm>

#include "winhttp/Connection.h"
#include "winhttp/CurlHandles.h"
#include "winhttp/InternetHandle.h"
#include "winhttp/Session.h"
#include "winhttp/Target.h"
#include "winhttp/Text.h"

using namespace quillmark::platform;
using namespace quillmark::platform::winhttp;

namespace {

DWORD ProxyFrom(DWORD accessType, LPCWSTR proxyName, LPCWSTR proxyBypass, ProxyChoice& proxy) {
    const bool named = accessType == WINHTTP_ACCESS_TYPE_NAMED_PROXY;
    const bool known = named || accessType == WINHTTP_ACCESS_TYPE_DEFAULT_PROXY ||
                       accessType == WINHTTP_ACCESS_TYPE_NO_PROXY || accessType == WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY;
    if (!known || named == TextOf(proxyName).empty() || (!named && !TextOf(proxyBypass).empty())) {
        return ERROR_INVALID_PARAMETER;
    }
    proxy = {accessType, Narrow(TextOf(proxyName)), Narrow(TextOf(proxyBypass))};
    std::replace(proxy.bypass.begin(), proxy.bypass.end(), ';', ',');
    return ERROR_SUCCESS;
}

}  // namespace

HINTERNET WINAPI WinHttpOpen(LPCWSTR userAgent, DWORD accessType, LPCWSTR proxyName, LPCWSTR proxyBypass, DWORD flags) {
    return FinishOpening([&](std::shared_ptr<HandleObject>& session) -> DWORD {
        ProxyChoice proxy;
        if (flags != 0) {
            return ERROR_INVALID_PARAMETER;
        }
        const DWORD code = ProxyFrom(accessType, proxyName, proxyBypass, proxy);
        if (code != ERROR_SUCCESS) {
            return code;
        }
        if (!InitialiseCurl()) {
            return ERROR_WINHTTP_INTERNAL_ERROR;
        }
        session = std::make_shared<Session>(std::move(proxy), Narrow(TextOf(userAgent)));
        return ERROR_SUCCESS;
    });
}

HINTERNET WINAPI WinHttpConnect(HINTERNET session, LPCWSTR serverName, INTERNET_PORT port, DWORD reserved) {
    return FinishOpening([&](std::shared_ptr<HandleObject>& connection) -> DWORD {
        DWORD code = ERROR_SUCCESS;
        auto parent = Find<Session>(session, code);
        if (parent == nullptr) {
            return code;
        }
        if (serverName == nullptr || reserved != 0) {
            return ERROR_INVALID_PARAMETER;
        }
        auto host = HostFromServerName(Narrow(TextOf(serverName)));
        if (!host) {
            return ERROR_WINHTTP_INVALID_URL;
        }
        connection = std::make_shared<Connection>(std::move(parent), session, std::move(*host), port);
        return ERROR_SUCCESS;
    });
}

BOOL WINAPI WinHttpCloseHandle(HINTERNET handle) {
    return Finish([&]() -> DWORD {
        // A number of another kind stays what it is.
        if (FindHandle<InternetHandle>(handle) == nullptr || RemoveHandle(handle) == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        return ERROR_SUCCESS;
    });
}
