#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "model/JsonResponse.h"

namespace quillmark {

DWORD CNativeHttp::Version(WideString& version) {
    return RunOperation("CNativeHttp::Version", [&](const Logger& log) -> DWORD {
        const Session session = GetSession();
        Connection connection;
        Request request;
        DWORD error = CreateRequest(session, m_apiPath + QM_W("/version"), QM_W("GET"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return error;
        }
        // The slot has no cancel event: this request ends by itself.
        const RequestHandleTracker tracker(m_cancelTrigger, nullptr, request);
        ResponseBuffer reply;
        error = GetResponse(*request, reply, true).error;
        if (error != ERROR_SUCCESS) {
            return error;
        }
        std::string text;
        if (!GetJSONStringFromResponse(reply, "quillmark_version", text)) {
            log.Error("Bad response to version request!");
            return ERROR_BAD_SERVER_REPLY;
        }
        version = WidenUtf8(text);
        log.Information("Server version is %S", version);
        return ERROR_SUCCESS;
    });
}

}  // namespace quillmark
