// Replies that are read into memory.
#include <array>
#include <vector>

#include "common/Log.h"
#include "common/ModuleState.h"
#include "transport/TransportSupport.h"
#include "transport/WinHttpRequest.h"

namespace quillmark {
namespace {

// What one round may bring. It guards against a transport that reports nonsense, not against long replies: one that
// comes in smaller rounds is read whole.
constexpr DWORD RoundLimit = 5 * 1024 * 1024;

}  // namespace

DWORD WinHttpRequest::GetResponse(ResponseBuffer& response) {
    constexpr Logger log("WinHttpRequest::GetResponse", LogSource::WinHttpImpl);
    if (const DWORD error = AddLine(log, QM_W("Accept: application/json"),
                                    WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA)) {
        return error;
    }
    if (const DWORD error = AddCookie(log)) {
        return error;
    }
    if (const DWORD error = SendRequest()) {
        return error;
    }
    return ReceiveResponse(response);
}

DWORD WinHttpRequest::ReceiveResponse(ResponseBuffer& response) {
    constexpr Logger log("WinHttpRequest::ReceiveResponse", LogSource::WinHttpImpl);
    if (const DWORD error = ReceiveHead(log)) {
        return error;
    }
    if (const DWORD error = QueryStatusText(log)) {
        return error;
    }
    return ReadResponse(response);
}

DWORD WinHttpRequest::ReceiveHead(const Logger& log) {
    if (WinHttp()->WinHttpReceiveResponse(Handle(), nullptr)) {
        return 0;
    }
    const DWORD error = FailureCode();
    log.Error("WinHttpReceiveResponse failed, error code: %d", error);
    return error;
}

DWORD WinHttpRequest::QueryStatusText(const Logger& log) {
    DWORD size = 0;
    if (WinHttp()->WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_STATUS_CODE, WINHTTP_HEADER_NAME_BY_INDEX,
                                       WINHTTP_NO_OUTPUT_BUFFER, &size, WINHTTP_NO_HEADER_INDEX) ||
        FailureCode() != ERROR_INSUFFICIENT_BUFFER) {
        const DWORD error = FailureCode();
        log.Error("WinHttpQueryHeaders failed, error code: %d", error);
        return error;
    }
    std::vector<WideChar> text(size / sizeof(WideChar) + 1);
    if (!WinHttp()->WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_STATUS_CODE, WINHTTP_HEADER_NAME_BY_INDEX, text.data(),
                                        &size, WINHTTP_NO_HEADER_INDEX)) {
        const DWORD error = FailureCode();
        log.Error("WinHttpQueryHeaders failed, error code: %d", error);
        return error;
    }
    m_status = static_cast<DWORD>(ParseDecimal(text.data()));
    return 0;
}

DWORD WinHttpRequest::ReadResponse(ResponseBuffer& response) {
    constexpr Logger log("WinHttpRequest::ReadResponse", LogSource::WinHttpImpl);
    DWORD read = 0;
    do {
        DWORD available = 0;
        if (!WinHttp()->WinHttpQueryDataAvailable(Handle(), &available)) {
            const DWORD error = FailureCode();
            log.Error("WinHttpQueryDataAvailable failed, error code: %d", error);
            return error;
        }
        if (available == 0) {
            log.Information("No additional data available.");
            return 0;
        }
        if (available > RoundLimit) {
            return ERROR_INSUFFICIENT_BUFFER;
        }
        char* end = response.Extend(available);
        if (end == nullptr) {
            log.Error("Failed to allocate memory for response");
            return ERROR_NOT_ENOUGH_MEMORY;
        }
        read = 0;
        if (!WinHttp()->WinHttpReadData(Handle(), end, available, &read)) {
            const DWORD error = FailureCode();
            log.Error("WinHttpReadData failed, error code: %d", error);
            return error;
        }
        response.Commit(read);
    } while (read != 0);
    return 0;
}

}  // namespace quillmark
