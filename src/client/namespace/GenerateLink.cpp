#include <algorithm>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "common/Serialization.h"
#include "common/WellFormed.h"

namespace quillmark {
namespace {

bool IsAscii(WideView text) {
    return std::all_of(text.begin(), text.end(), [](WideChar unit) { return unit < 0x80; });
}

DWORD AppendEach(IWinHttpRequest& request, const char* name, const std::set<WideString>& values) {
    for (const WideString& value : values) {
        if (const DWORD error = request.AppendFormData(name, value, false); error != ERROR_SUCCESS) {
            return error;
        }
    }
    return ERROR_SUCCESS;
}

// In the order in which the server is used to get it; the sets give their own.
DWORD AppendShareForm(IWinHttpRequest& request, const ShareRequest& share) {
    DWORD error = AppendEach(request, "path", share.paths);
    if (error == ERROR_SUCCESS) {
        error = AppendEach(request, "target", share.targets);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("name", share.name, false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("message", share.message, false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("type", QM_W("USER"), true);
    }
    return error;
}

}  // namespace

StatusPair CNativeHttp::GenerateLink(const std::shared_ptr<const ShareRequest>& share, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::GenerateLink", [&](const Logger& log) -> StatusPair {
        if (share == nullptr) {
            return {ERROR_INVALID_PARAMETER, 0};
        }
        // A path that has no UTF-8 would share another item.
        if (!std::all_of(share->paths.begin(), share->paths.end(), IsWellFormed)) {
            return {ERROR_NO_UNICODE_TRANSLATION, 0};
        }
        const Session session = GetSession();
        const WideString url = GetApiPath(session) + QM_W("/share");
        log.Information("Request Path: %S", IsAscii(url) ? url : Serialization::UTF16ToBase64(url));
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("POST"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (const DWORD error = AppendShareForm(*request, *share); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        // A body must come, but nothing is read from it: the server delivers the link itself.
        ResponseBuffer reply;
        return GetResponse(*request, reply, true);
    });
}

}  // namespace quillmark
