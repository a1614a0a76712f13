#include <utility>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "model/JsonResponse.h"

namespace quillmark {

StatusPair CNativeHttp::GetPathListing(const WideString& serverPath, ItemList& children, Attributes& self,
                                       HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::GetPathListing", [&](const Logger& log) -> StatusPair {
        if (serverPath.empty()) {
            log.Warning("Empty server path!");
            return {ERROR_INVALID_PARAMETER, 0};
        }
        if (m_apiPath.empty()) {
            log.Warning("Called before initialized with server info!");
            return {ERROR_INVALID_PARAMETER, 0};
        }
        log.Information("Request for path listing of folder: %S", serverPath);
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const WideString url = FormatWide(QM_W("%s/folders%S?type=all"), GetApiPath(session), path);
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("GET"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Listing canceled");
            return {ERROR_CANCELLED, 0};
        }
        ResponseBuffer reply;
        const StatusPair status = GetResponse(*request, reply, true);
        if (status.error != ERROR_SUCCESS) {
            return status;
        }

        ItemList items;
        ItemList folder;
        std::uint32_t count = 0;
        if (GetAttributesFromResponse(reply, items, folder, count) != ERROR_SUCCESS || folder.size() != 1) {
            log.Warning("Failed to extract attributes from reply buffer");
            return {ERROR_INVALID_DATA, 0};
        }
        log.Information("Received directory contents for path: %S", serverPath);
        children = std::move(items);
        self = folder.front();
        return status;
    });
}

}  // namespace quillmark
