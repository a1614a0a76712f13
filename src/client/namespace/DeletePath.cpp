#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {

StatusPair CNativeHttp::DeletePath(const WideString& serverPath, const Attributes& attributes, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::DeletePath", [&](const Logger& log) -> StatusPair {
        log.Information("Request to delete server path: %S", serverPath);
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const std::string revision = RevisionQuery("?", attributes);
        const WideString url = FormatWide(QM_W("%s/folders%S%S"), GetApiPath(session), path, revision);
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("DELETE"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        const StatusPair status = GetResponse(*request, reply, false);
        if (status.error == ERROR_SUCCESS) {
            log.Information("Successfully deleted server path: %S", serverPath);
        }
        return status;
    });
}

}  // namespace quillmark
