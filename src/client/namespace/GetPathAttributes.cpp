#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {

StatusPair CNativeHttp::GetPathAttributes(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::GetPathAttributes", [&](const Logger& log) -> StatusPair {
        log.Information("Path attributes request for path: %S", serverPath);
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const WideString url = FormatWide(QM_W("%s/folders%S"), GetApiPath(session), path);
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("GET"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        const StatusPair status = GetResponse(*request, reply, true);
        if (status.error != ERROR_SUCCESS) {
            return status;
        }

        const Attributes item = ExtractOneItem(reply, ItemPlace::Root);
        if (item == nullptr) {
            log.Warning("Failed to extract attributes from reply buffer");
            return {ERROR_INVALID_DATA, 0};
        }
        log.Information("Extracted attributes from reply buffer");
        attributes = item;
        return status;
    });
}

}  // namespace quillmark
