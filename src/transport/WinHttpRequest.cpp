// The request's head and its simple bodies. Multipart bodies, replies and downloads are in the files beside this one.
#include "transport/WinHttpRequest.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "common/Format.h"
#include "common/Log.h"
#include "common/ModuleState.h"
#include "common/UrlEncode.h"
#include "common/WellFormed.h"
#include "transport/ScrubPasswords.h"
#include "transport/TransportSupport.h"

namespace quillmark {
namespace {

constexpr DWORD TerminatedText = static_cast<DWORD>(-1);
constexpr std::uint64_t DwordLimit = std::numeric_limits<DWORD>::max();

bool FitsOneHeader(WideView text) {
    return text.find_first_of(WideView(QM_W("\r\n\0"), 3)) == WideView::npos;
}

}  // namespace

WinHttpRequest::WinHttpRequest(std::shared_ptr<IWinHttpSession> session) : m_session(std::move(session)) {}

DWORD WinHttpRequest::Initialise(const WideString& objectPath, const WideString& verb,
                                 const std::shared_ptr<IWinHttpConnection>& connection, const WideChar* acceptType,
                                 DWORD openFlags, bool useNegotiate) {
    constexpr Logger log("WinHttpRequest::Initialise", LogSource::WinHttpImpl);
    LPCWSTR acceptTypes[] = {acceptType, nullptr};
    if (!Attach(WinHttp()->WinHttpOpenRequest(connection->GetHandle(), verb.c_str(), objectPath.c_str(), nullptr,
                                              WINHTTP_NO_REFERER, acceptTypes, openFlags))) {
        const DWORD error = FailureCode();
        log.Error("WinHttpOpenRequest failed, error code: %d", error);
        return error;
    }
    log.Information("WinHttpRequest successfully initialised");
    if (useNegotiate) {
        UseLoggedOnUser(log);
    }
    return 0;
}

// A failure is not the request's: the server may not ask for credentials at all.
void WinHttpRequest::UseLoggedOnUser(const Logger& log) {
    DWORD policy = WINHTTP_AUTOLOGON_SECURITY_LEVEL_LOW;
    if (!WinHttp()->WinHttpSetOption(Handle(), WINHTTP_OPTION_AUTOLOGON_POLICY, &policy, sizeof(policy))) {
        log.Error("WinHttpSetOption failed (%d)", ::GetLastError());
    }
    if (!WinHttp()->WinHttpSetCredentials(Handle(), WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_NEGOTIATE, nullptr,
                                          nullptr, nullptr)) {
        log.Information("WinHttpSetCredentials(...WINHTTP_AUTH_SCHEME_NEGOTIATE...) failed (%d)", ::GetLastError());
    }
}

DWORD WinHttpRequest::AddHeader(const WideString& name, const WideString& value) {
    constexpr Logger log("WinHttpRequest::AddHeader", LogSource::WinHttpImpl);
    const WideString line = name + QM_W(": ") + value;
    DWORD error = 0;
    if (!FitsOneHeader(line)) {
        error = ERROR_INVALID_PARAMETER;
    } else if (!WinHttp()->WinHttpAddRequestHeaders(
                   Handle(), line.c_str(), TerminatedText,
                   WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA)) {
        error = FailureCode();
    }
    if (error != 0) {
        log.Error("Failed to add header [%S], error: %d", line, error);
    }
    return error;
}

DWORD WinHttpRequest::AddLine(const Logger& log, const WideString& line, DWORD flags) {
    if (WinHttp()->WinHttpAddRequestHeaders(Handle(), line.c_str(), TerminatedText, flags)) {
        return 0;
    }
    const DWORD error = FailureCode();
    log.Error("WinHttpAddRequestHeaders failed, error code: %d", error);
    return error;
}

DWORD WinHttpRequest::AddCookie(const Logger& log) {
    const WideString token = m_session->GetSessionToken();
    if (token.empty()) {
        return 0;
    }
    if (!FitsOneHeader(token)) {
        log.Error("WinHttpAddRequestHeaders failed, error code: %d", ERROR_INVALID_PARAMETER);
        return ERROR_INVALID_PARAMETER;
    }
    return AddLine(log, FormatWide(QM_W("Cookie: session_token=%s"), token), WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA);
}

DWORD WinHttpRequest::AppendFormData(const std::string& name, const WideString& value, bool isLast) {
    constexpr Logger log("WinHttpRequest::AppendFormData", LogSource::WinHttpImpl);
    if (!IsWellFormed(value)) {
        log.Error("The value of [%s] is not valid UTF-16, error: %d", name, ERROR_NO_UNICODE_TRANSLATION);
        return ERROR_NO_UNICODE_TRANSLATION;
    }
    m_postData.Append(name);
    m_postData.Append("=");
    m_postData.Append(UrlEncode(value, true));
    if (!isLast) {
        m_postData.Append("&");
    }
    if (!WinHttp()->WinHttpAddRequestHeaders(Handle(),
                                             QM_W("Content-Type: application/x-www-form-urlencoded; charset=UTF-8"),
                                             TerminatedText, WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE)) {
        const DWORD error = FailureCode();
        log.Error("Failed to AddRequestHeaders - %d", error);
        return error;
    }
    return 0;
}

DWORD WinHttpRequest::SendPostData() {
    constexpr Logger log("WinHttpRequest::SendPostData", LogSource::WinHttpImpl);
    const DWORD error = WriteBody(log, m_postData.data(), m_postData.size());
    m_postData.Wipe();
    return error;
}

// One call for the whole of it, as long as the transport takes all that it is given.
DWORD WinHttpRequest::WriteBody(const Logger& log, const void* bytes, std::size_t count) {
    const char* rest = static_cast<const char*>(bytes);
    do {
        const auto asked = static_cast<DWORD>(std::min<std::uint64_t>(count, DwordLimit));
        DWORD written = 0;
        DWORD error = 0;
        if (!WinHttp()->WinHttpWriteData(Handle(), rest, asked, &written)) {
            error = FailureCode();
        } else if (written == 0 && asked != 0) {
            error = ERROR_WRITE_FAULT;
        }
        if (error != 0) {
            log.Error("WinHttpWriteData failed, error=%d", error);
            return error;
        }
        rest += written;
        count -= written;
    } while (count > 0);
    return 0;
}

DWORD WinHttpRequest::SendRequest() {
    constexpr Logger log("WinHttpRequest::SendRequest", LogSource::WinHttpImpl);
    const bool hasBody = !m_postData.empty();
    if (!hasBody) {
        log.Information("0 bytes of post data");
    } else if (log.WantsInformation()) {
        log.Information("%d bytes of post data: [%s]", static_cast<DWORD>(m_postData.size()),
                        ScrubPasswords(m_postData.data(), m_postData.size()));
    }

    DWORD error = 0;
    if (m_postData.size() > DwordLimit) {
        error = ERROR_INVALID_PARAMETER;
    } else {
        const auto length = static_cast<DWORD>(m_postData.size());
        LPVOID body = hasBody ? m_postData.data() : nullptr;
        if (!WinHttp()->WinHttpSendRequest(Handle(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, body, length, length, 0)) {
            error = FailureCode();
        }
    }
    if (error != 0) {
        log.Error("WinHttpSendRequest failed, error code: %d", error);
        return error;
    }
    log.Information("Request successfully sent");
    return 0;
}

DWORD WinHttpRequest::StartRequest(std::uint64_t totalLength) {
    constexpr Logger log("WinHttpRequest::StartRequest", LogSource::WinHttpImpl);
    if (const DWORD error = AddCookie(log)) {
        return error;
    }
    // The total of WinHttpSendRequest has 32 bits. A longer body is announced by the header alone.
    const WideString contentLength = FormatWide(QM_W("Content-Length: %llu\r\n"), totalLength);
    const DWORD total =
        totalLength <= DwordLimit ? static_cast<DWORD>(totalLength) : WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH;
    if (!WinHttp()->WinHttpSendRequest(Handle(), contentLength.c_str(), TerminatedText, WINHTTP_NO_REQUEST_DATA, 0,
                                       total, 0)) {
        const DWORD error = FailureCode();
        log.Error("WinHttpSendRequest failed, error code: %d", error);
        return error;
    }
    return 0;
}

}  // namespace quillmark
