// The functions that open a request and drive it.
#include <algorithm>

#include "winhttp/Connection.h"
#include "winhttp/InternetHandle.h"
#include "winhttp/Request.h"
#include "winhttp/Target.h"
#include "winhttp/Text.h"

using namespace quillmark::platform;
using namespace quillmark::platform::winhttp;

namespace {

constexpr DWORD HeaderFlags = WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE;
constexpr DWORD Terminated = static_cast<DWORD>(-1);
constexpr DWORD OpenFlags = WINHTTP_FLAG_SECURE | WINHTTP_FLAG_REFRESH | WINHTTP_FLAG_ESCAPE_PERCENT |
                            WINHTTP_FLAG_NULL_CODEPAGE | WINHTTP_FLAG_ESCAPE_DISABLE |
                            WINHTTP_FLAG_ESCAPE_DISABLE_QUERY;

// Calls back with the request of the handle; the code is that of the look-up or of the call.
template <typename Call>
BOOL WithRequest(HINTERNET handle, Call call) {
    return Finish([&]() -> DWORD {
        DWORD code = ERROR_SUCCESS;
        const auto request = Find<Request>(handle, code);
        return request == nullptr ? code : call(*request);
    });
}

std::string HeaderText(LPCWSTR headers, DWORD length) {
    if (headers == nullptr) {
        return {};
    }
    return Narrow(length == Terminated ? std::u16string_view(headers) : std::u16string_view(headers, length));
}

// The headers that the opening call itself asks for.
DWORD AddOpeningHeaders(Request& request, LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags, bool http10) {
    DWORD code = ERROR_SUCCESS;
    if (!TextOf(referrer).empty()) {
        code = request.AddHeader("Referer", Narrow(TextOf(referrer)), WINHTTP_ADDREQ_FLAG_ADD);
    }
    for (LPCWSTR* type = acceptTypes; code == ERROR_SUCCESS && type != nullptr && *type != nullptr; ++type) {
        code = request.AddHeader("Accept", Narrow(TextOf(*type)), WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA);
    }
    if (code == ERROR_SUCCESS && (flags & WINHTTP_FLAG_REFRESH) != 0) {
        code = request.AddHeader("Pragma", "no-cache", WINHTTP_ADDREQ_FLAG_ADD);
        if (code == ERROR_SUCCESS && !http10) {
            code = request.AddHeader("Cache-Control", "no-cache", WINHTTP_ADDREQ_FLAG_ADD);
        }
    }
    return code == ERROR_SUCCESS || code == ERROR_NOT_ENOUGH_MEMORY ? code : ERROR_INVALID_PARAMETER;
}

}  // namespace

HINTERNET WINAPI WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                    LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) {
    return FinishOpening([&](std::shared_ptr<HandleObject>& handle) -> DWORD {
        DWORD code = ERROR_SUCCESS;
        auto parent = Find<Connection>(connection, code);
        if (parent == nullptr) {
            return code;
        }
        std::string method = Narrow(TextOf(verb));
        method = method.empty() ? "GET" : method;
        auto object = ObjectFromPath(Narrow(TextOf(objectName)));
        const std::u16string_view protocol = TextOf(version);
        const bool http10 = protocol == u"HTTP/1.0";
        if (!object || !IsToken(method) || (flags & ~OpenFlags) != 0 ||
            (!protocol.empty() && !http10 && protocol != u"HTTP/1.1")) {
            return ERROR_INVALID_PARAMETER;
        }
        const bool secure = (flags & WINHTTP_FLAG_SECURE) != 0;
        Target target{secure, parent->Host(), parent->Port(secure), std::move(*object)};
        const auto request =
            std::make_shared<Request>(std::move(parent), connection, std::move(target), std::move(method), http10);
        handle = request;
        return AddOpeningHeaders(*request, referrer, acceptTypes, flags, http10);
    });
}

BOOL WINAPI WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD lengthInCharacters, DWORD modifiers) {
    return WithRequest(request, [&](Request& object) {
        return object.AddHeaders(HeaderText(headers, lengthInCharacters), modifiers);
    });
}

BOOL WINAPI WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD lengthInCharacters, LPVOID optional,
                               DWORD optionalLength, DWORD totalLength, DWORD_PTR context) {
    return WithRequest(request, [&](Request& object) -> DWORD {
        if (optional == nullptr && optionalLength != 0) {
            return ERROR_INVALID_PARAMETER;
        }
        const std::string lines = HeaderText(headers, lengthInCharacters);
        if (!lines.empty()) {
            const DWORD code = object.AddHeaders(lines, HeaderFlags);
            if (code != ERROR_SUCCESS) {
                return code;
            }
        }
        if (context != 0) {
            object.SetContext(context);
        }
        return object.Send({static_cast<const BYTE*>(optional), optionalLength}, totalLength);
    });
}

BOOL WINAPI WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten) {
    return WithRequest(request, [&](Request& object) -> DWORD {
        if (bytesWritten != nullptr) {
            *bytesWritten = 0;
        }
        if (buffer == nullptr && bytesToWrite != 0) {
            return ERROR_INVALID_PARAMETER;
        }
        const DWORD code = object.Write({static_cast<const BYTE*>(buffer), bytesToWrite});
        if (code == ERROR_SUCCESS && bytesWritten != nullptr) {
            *bytesWritten = bytesToWrite;
        }
        return code;
    });
}

BOOL WINAPI WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) {
    return WithRequest(request, [&](Request& object) -> DWORD {
        return reserved != nullptr ? ERROR_INVALID_PARAMETER : object.Receive();
    });
}

BOOL WINAPI WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable) {
    return WithRequest(request, [&](Request& object) {
        DWORD count = 0;
        const DWORD code = object.Available(count);
        if (bytesAvailable != nullptr) {
            *bytesAvailable = count;
        }
        return code;
    });
}

BOOL WINAPI WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) {
    return WithRequest(request, [&](Request& object) -> DWORD {
        if (bytesRead == nullptr || (buffer == nullptr && bytesToRead != 0)) {
            return ERROR_INVALID_PARAMETER;
        }
        return object.Read({static_cast<BYTE*>(buffer), bytesToRead}, *bytesRead);
    });
}
