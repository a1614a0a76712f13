// What a reply comes to: error codes from status and body, a changed session token, the revision of an item.
#include <algorithm>
#include <cstdlib>
#include <limits>

#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "model/JsonResponse.h"

namespace quillmark {
namespace {

// As atoi reads a number, with the ends of its range in place of what it leaves undefined.
DWORD NumberOf(const std::string& text) {
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    return static_cast<DWORD>(std::clamp<long long>(number, std::numeric_limits<std::int32_t>::min(),
                                                    std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

StatusPair CNativeHttp::ErrorFromStatus(DWORD httpStatus, const ResponseBuffer& reply) const {
    StatusPair result{SERVER_ERROR_BASE + httpStatus, 0};
    if (reply.IsNull()) {
        return result;
    }
    std::string text;
    if (GetJSONStringFromResponse(reply, "errorId", text) && NumberOf(text) != 0) {
        result.error = SERVER_ERROR_BASE + NumberOf(text);
    }
    if (GetJSONStringFromResponse(reply, "severity", text)) {
        result.severity = NumberOf(text);
    }
    return result;
}

StatusPair CNativeHttp::ErrorFromStatusWithRetry(const Session& session, DWORD httpStatus, const WideString& sentToken,
                                                 const ResponseBuffer& reply) const {
    StatusPair result = ErrorFromStatus(httpStatus, reply);
    if (result.error == SERVER_ERROR_SESSION_TOKEN) {
        result.error = CheckForChangedSessionToken(session, httpStatus, sentToken, result.error);
    }
    return result;
}

DWORD CNativeHttp::CheckForChangedSessionToken(const Session& session, DWORD httpStatus, const WideString& sentToken,
                                               DWORD error) const {
    return LogScope::Run("CNativeHttp::CheckForChangedSessionToken", LogSource::NativeHttp, [&](const Logger& log) {
        if (httpStatus != HttpStatusDenied) {
            return error;
        }
        const WideString currentToken = TokenOf(session);
        log.Information("OriginalSession [%S] CurrentSession [%S]", sentToken, currentToken);
        if (sentToken != currentToken) {
            log.Information("HTTP_STATUS_DENIED received but session token has changed. Retry required with new token");
            error = ERROR_RETRY;
        }
        return error;
    });
}

DWORD CNativeHttp::ExtractRevisionFromResponse(const ResponseBuffer& reply, std::string& revision) const {
    return LogScope::Run("CNativeHttp::ExtractRevisionFromResponse", LogSource::NativeHttp, [&](const Logger& log) {
        DWORD error = ERROR_INVALID_DATA;
        if (reply.IsNull()) {
            log.Error("Response memory is null.");
            return error;
        }
        ItemList items;
        std::uint32_t count = 0;
        error = GetAttributesFromResponse(reply, items, false, count);
        if (error == ERROR_SUCCESS && items.size() == 1) {
            revision = items.front()->GetRevision();
            log.Information("Returning revision:[%s]", revision);
        }
        return error;
    });
}

}  // namespace quillmark
