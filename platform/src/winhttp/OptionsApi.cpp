// Time-outs, options and credentials.
#include <cstring>
#include <limits>

#include "winhttp/Connection.h"
#include "winhttp/InternetHandle.h"
#include "winhttp/Request.h"
#include "winhttp/Session.h"
#include "winhttp/Text.h"

using namespace quillmark::platform;
using namespace quillmark::platform::winhttp;

namespace {

// The DWORD options and where they live. Values above `most` do not exist.
struct NumberOption {
    DWORD option;
    DWORD& (*field)(Settings&);
    bool onSession;
    bool readable;
    DWORD most;
};

constexpr DWORD AnyNumber = std::numeric_limits<DWORD>::max();
constexpr DWORD AllFeatures =
    WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_AUTHENTICATION | WINHTTP_DISABLE_KEEP_ALIVE;

const NumberOption Numbers[] = {
    {WINHTTP_OPTION_RESOLVE_TIMEOUT, [](Settings& s) -> DWORD& { return s.timeouts.resolve; }, true, true, AnyNumber},
    {WINHTTP_OPTION_CONNECT_TIMEOUT, [](Settings& s) -> DWORD& { return s.timeouts.connect; }, true, true, AnyNumber},
    {WINHTTP_OPTION_SEND_TIMEOUT, [](Settings& s) -> DWORD& { return s.timeouts.send; }, true, true, AnyNumber},
    {WINHTTP_OPTION_RECEIVE_TIMEOUT, [](Settings& s) -> DWORD& { return s.timeouts.receive; }, true, true, AnyNumber},
    {WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, [](Settings& s) -> DWORD& { return s.timeouts.receive; }, true, true,
     AnyNumber},
    {WINHTTP_OPTION_REDIRECT_POLICY, [](Settings& s) -> DWORD& { return s.redirectPolicy; }, true, true,
     WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS},
    {WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, [](Settings& s) -> DWORD& { return s.maxRedirects; }, true, true,
     AnyNumber},
    {WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE, [](Settings& s) -> DWORD& { return s.maxHeadSize; }, true, true,
     AnyNumber},
    {WINHTTP_OPTION_AUTOLOGON_POLICY, [](Settings& s) -> DWORD& { return s.autologonPolicy; }, false, true,
     WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH},
    {WINHTTP_OPTION_DISABLE_FEATURE, [](Settings& s) -> DWORD& { return s.disabledFeatures; }, false, false,
     AllFeatures},
};

const NumberOption* FindNumber(DWORD option) {
    for (const NumberOption& number : Numbers) {
        if (number.option == option) {
            return &number;
        }
    }
    return nullptr;
}

bool IsTimeout(DWORD option) {
    return option >= WINHTTP_OPTION_RESOLVE_TIMEOUT && option <= WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT;
}

// Calls back with the settings of a session or a request. A connection has none of its own.
template <typename Change>
DWORD ChangeSettings(InternetHandle& object, bool onSession, Change change) {
    if (auto* request = dynamic_cast<Request*>(&object)) {
        change(request->OwnSettings());
        return ERROR_SUCCESS;
    }
    if (auto* session = dynamic_cast<Session*>(&object); session != nullptr && onSession) {
        session->ChangeSettings(change);
        return ERROR_SUCCESS;
    }
    return ERROR_WINHTTP_INCORRECT_HANDLE_TYPE;
}

DWORD DeliverBytes(const void* value, std::size_t size, LPVOID buffer, DWORD& length) {
    const DWORD room = length;
    length = static_cast<DWORD>(size);
    if (buffer == nullptr || room < size) {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    std::memcpy(buffer, value, size);
    return ERROR_SUCCESS;
}

DWORD DeliverText(const std::string& value, LPVOID buffer, DWORD& length) {
    const std::u16string text = Widen(value);
    const DWORD code = DeliverBytes(text.c_str(), (text.size() + 1) * sizeof(WCHAR), buffer, length);
    if (code == ERROR_SUCCESS) {
        length -= static_cast<DWORD>(sizeof(WCHAR));
    }
    return code;
}

// Nothing is made for the caller to free unless it is handed over.
DWORD DeliverCertificate(const PeerCertificate* certificate, LPVOID buffer, DWORD& length) {
    WINHTTP_CERTIFICATE_INFO information = {};
    if (certificate == nullptr) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    const bool fits = buffer != nullptr && length >= sizeof(information);
    const DWORD code = fits ? certificate->Describe(information) : ERROR_SUCCESS;
    return code == ERROR_SUCCESS ? DeliverBytes(&information, sizeof(information), buffer, length) : code;
}

DWORD QueryOption(InternetHandle& object, DWORD option, LPVOID buffer, DWORD& length) {
    if (const NumberOption* number = FindNumber(option)) {
        DWORD value = 0;
        if (!number->readable) {
            return ERROR_WINHTTP_INVALID_OPTION;
        }
        const DWORD code =
            ChangeSettings(object, number->onSession, [&](Settings& settings) { value = number->field(settings); });
        return code == ERROR_SUCCESS ? DeliverBytes(&value, sizeof(value), buffer, length) : code;
    }
    const DWORD type = object.Type();
    const DWORD_PTR context = object.Context();
    const HINTERNET parent = object.Parent();
    switch (option) {
        case WINHTTP_OPTION_HANDLE_TYPE:
            return DeliverBytes(&type, sizeof(type), buffer, length);
        case WINHTTP_OPTION_CONTEXT_VALUE:
            return DeliverBytes(&context, sizeof(context), buffer, length);
        case WINHTTP_OPTION_PARENT_HANDLE:
            return type == WINHTTP_HANDLE_TYPE_SESSION ? ERROR_WINHTTP_INCORRECT_HANDLE_TYPE
                                                       : DeliverBytes(&parent, sizeof(parent), buffer, length);
        case WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT:
            return type != WINHTTP_HANDLE_TYPE_REQUEST
                       ? ERROR_WINHTTP_INCORRECT_HANDLE_TYPE
                       : DeliverCertificate(static_cast<Request&>(object).Certificate(), buffer, length);
        case WINHTTP_OPTION_URL:
            return type != WINHTTP_HANDLE_TYPE_REQUEST
                       ? ERROR_WINHTTP_INCORRECT_HANDLE_TYPE
                       : DeliverText(static_cast<Request&>(object).Url(), buffer, length);
        case WINHTTP_OPTION_USER_AGENT:
            return type != WINHTTP_HANDLE_TYPE_SESSION
                       ? ERROR_WINHTTP_INCORRECT_HANDLE_TYPE
                       : DeliverText(static_cast<Session&>(object).CurrentSettings().userAgent, buffer, length);
        default:
            return ERROR_WINHTTP_INVALID_OPTION;
    }
}

DWORD SetNumber(InternetHandle& object, const NumberOption& number, LPCVOID buffer, DWORD length) {
    DWORD value = 0;
    if (length != sizeof(value)) {
        return ERROR_INVALID_PARAMETER;
    }
    std::memcpy(&value, buffer, sizeof(value));
    if (value > number.most) {
        return ERROR_INVALID_PARAMETER;
    }
    if (IsTimeout(number.option) && value == INFINITE) {
        value = 0;
    }
    return ChangeSettings(object, number.onSession, [&](Settings& settings) { number.field(settings) = value; });
}

DWORD SetOption(InternetHandle& object, DWORD option, LPCVOID buffer, DWORD length) {
    if (const NumberOption* number = FindNumber(option)) {
        return SetNumber(object, *number, buffer, length);
    }
    switch (option) {
        case WINHTTP_OPTION_HANDLE_TYPE:
        case WINHTTP_OPTION_PARENT_HANDLE:
        case WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT:
        case WINHTTP_OPTION_URL:
            return ERROR_WINHTTP_OPTION_NOT_SETTABLE;
        case WINHTTP_OPTION_CONTEXT_VALUE: {
            DWORD_PTR context = 0;
            if (length != sizeof(context)) {
                return ERROR_INVALID_PARAMETER;
            }
            std::memcpy(&context, buffer, sizeof(context));
            object.SetContext(context);
            return ERROR_SUCCESS;
        }
        case WINHTTP_OPTION_USER_AGENT: {
            if (object.Type() != WINHTTP_HANDLE_TYPE_SESSION) {
                return ERROR_WINHTTP_INCORRECT_HANDLE_TYPE;
            }
            std::string text = Narrow({static_cast<LPCWSTR>(buffer), length});
            text.resize(std::min(text.find('\0'), text.size()));
            return ChangeSettings(object, true, [&](Settings& settings) { settings.userAgent = text; });
        }
        default:
            return ERROR_WINHTTP_INVALID_OPTION;
    }
}

bool IsOneScheme(DWORD scheme) {
    return scheme == WINHTTP_AUTH_SCHEME_BASIC || scheme == WINHTTP_AUTH_SCHEME_NTLM ||
           scheme == WINHTTP_AUTH_SCHEME_DIGEST || scheme == WINHTTP_AUTH_SCHEME_NEGOTIATE;
}

}  // namespace

BOOL WINAPI WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send, int receive) {
    return Finish([&]() -> DWORD {
        DWORD code = ERROR_SUCCESS;
        const auto object = Find<InternetHandle>(handle, code);
        if (object == nullptr) {
            return code;
        }
        if (resolve < -1 || connect < -1 || send < -1 || receive < -1) {
            return ERROR_INVALID_PARAMETER;
        }
        const auto orNone = [](int milliseconds) { return static_cast<DWORD>(std::max(milliseconds, 0)); };
        return ChangeSettings(*object, true, [&](Settings& settings) {
            settings.timeouts = {orNone(resolve), orNone(connect), orNone(send), orNone(receive)};
        });
    });
}

BOOL WINAPI WinHttpQueryOption(HINTERNET handle, DWORD option, LPVOID buffer, LPDWORD bufferLength) {
    return Finish([&]() -> DWORD {
        DWORD code = ERROR_SUCCESS;
        const auto object = Find<InternetHandle>(handle, code);
        if (object == nullptr) {
            return code;
        }
        return bufferLength == nullptr ? ERROR_INVALID_PARAMETER : QueryOption(*object, option, buffer, *bufferLength);
    });
}

BOOL WINAPI WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength) {
    return Finish([&]() -> DWORD {
        DWORD code = ERROR_SUCCESS;
        const auto object = Find<InternetHandle>(handle, code);
        if (object == nullptr) {
            return code;
        }
        return buffer == nullptr ? ERROR_INVALID_PARAMETER : SetOption(*object, option, buffer, bufferLength);
    });
}

BOOL WINAPI WinHttpSetCredentials(HINTERNET request, DWORD targets, DWORD scheme, LPCWSTR userName, LPCWSTR password,
                                  LPVOID authParams) {
    return Finish([&]() -> DWORD {
        DWORD code = ERROR_SUCCESS;
        const auto object = Find<Request>(request, code);
        if (object == nullptr) {
            return code;
        }
        const bool loggedOnUser = userName == nullptr && password == nullptr;
        const bool complete = userName != nullptr && password != nullptr;
        if (targets > WINHTTP_AUTH_TARGET_PROXY || !IsOneScheme(scheme) || authParams != nullptr ||
            (!complete && !(loggedOnUser && scheme == WINHTTP_AUTH_SCHEME_NEGOTIATE))) {
            return ERROR_INVALID_PARAMETER;
        }
        return object->SetCredentials(targets,
                                      {scheme, loggedOnUser, Narrow(TextOf(userName)), Narrow(TextOf(password))});
    });
}
