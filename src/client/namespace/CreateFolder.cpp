#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "common/WellFormed.h"

namespace quillmark {
namespace {

DWORD AppendCreateForm(IWinHttpRequest& request, const WideString& name) {
    const DWORD error = request.AppendFormData("name", name, false);
    return error == ERROR_SUCCESS ? request.AppendFormData("operation", QM_W("create"), true) : error;
}

}  // namespace

StatusPair CNativeHttp::CreateFolder(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::CreateFolder", [&](const Logger& log) -> StatusPair {
        log.Information("Create request for folder: %S", serverPath);
        const WideString name = LeafName(serverPath);
        // The name goes out in the form, where it could not be told from another name either.
        if (!IsWellFormed(name)) {
            return {ERROR_NO_UNICODE_TRANSLATION, 0};
        }
        const Session session = GetSession();
        std::string parent;
        if (const DWORD error = EncodePath(ParentPath(serverPath), parent); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const WideString url = GetApiPath(session) + FormatWide(QM_W("/folders%S"), parent);
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("POST"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (const DWORD error = AppendCreateForm(*request, name); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        ResponseBuffer reply;
        const StatusPair status = GetResponse(*request, reply, true);
        if (status.error != ERROR_SUCCESS) {
            return status;
        }
        log.Information("Created folder: %S", serverPath);

        const Attributes item = ExtractOneItem(reply, ItemPlace::Root);
        if (item == nullptr) {
            log.Warning("Failed to extract attributes from response.");
            return {ERROR_INVALID_DATA, 0};
        }
        log.Information("Extracted created folder attributes from reply");
        attributes = item;
        return status;
    });
}

}  // namespace quillmark
