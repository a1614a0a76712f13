#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {

StatusPair CNativeHttp::PublishSyncStats(const char* statistics, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::PublishSyncStats", [&](const Logger& log) -> StatusPair {
        if (statistics == nullptr) {
            return {ERROR_INVALID_PARAMETER, 0};
        }
        const Session session = GetSession();
        if (m_loggingPath.empty()) {
            log.Error("This server does not have an auditing end point");
            return {ERROR_SERVER_DISABLED, 0};
        }
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, m_loggingPath, QM_W("POST"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        // Not marked as the last field though it is the only one: servers expect the "&" behind it.
        if (const DWORD error = request->AppendFormData("data", WidenUtf8(statistics), false); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        ResponseBuffer reply;
        return GetResponse(*request, reply, false);
    });
}

}  // namespace quillmark
