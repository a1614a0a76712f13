#include <utility>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "common/EngKey.h"
#include "model/Mappings.h"

namespace quillmark {

StatusPair CNativeHttp::GetRemoteFolderMap(MappingList& mappings, ResponseBuffer& reply, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::GetRemoteFolderMap", [&](const Logger& log) -> StatusPair {
        if (m_apiVersion == ApiVersion{1, 0}) {
            log.Error("API Version 1.0 detected, this is no longer supported");
            return {ERROR_INVALID_DATA, 0};
        }
        log.Information("Retrieving remote folder mappings");
        const Session session = GetSession();
        // How long the server tries to reach the storages, in seconds; read at every call.
        const DWORD timeout = ReadSetting(QM_W("OfflineMappointTimeout"), 30);
        const WideString url = FormatWide(QM_W("%s/folders?includeAll=true&timeout=%d"), GetApiPath(session), timeout);
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("GET"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        reply = {};  // reading goes on behind what a buffer holds
        const StatusPair status = GetResponse(*request, reply, true);
        if (status.error != ERROR_SUCCESS) {
            return status;
        }

        MappingList received;
        DWORD count = 0;
        // How many there are is what counts, not whether something behind them could not be read.
        static_cast<void>(GetMappingsFromResponse(reply, received, 0, count));
        if (count == 0) {
            log.Warning("ERROR: No mappings returned from the server!");
            return {ERROR_INVALID_DATA, 0};
        }
        log.Information("Retrieved %d mappings from the server", count);
        mappings = std::move(received);
        return {ERROR_SUCCESS, 0};
    });
}

// The flag has no meaning to this client; GetRemoteFolderMap passes 0.
DWORD CNativeHttp::GetMappingsFromResponse(const ResponseBuffer& reply, MappingList& mappings, DWORD, DWORD& count) {
    return RunOperation("CNativeHttp::GetMappingsFromResponse",
                        [&](const Logger&) -> DWORD { return ReadMappings(reply, mappings, count); });
}

}  // namespace quillmark
