#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {
namespace {

DWORD AppendUpdateForm(IWinHttpRequest& request, const WideString& serverPath, const IServerAttributes& values) {
    DWORD error = request.AppendFormData("name", LeafName(serverPath), false);
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("operation", QM_W("update"), false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("creation_time", values.GetCreationTime().ToText(), false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("modification_time", values.GetLastWriteTime().ToText(), false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("attributes", values.GetFileAttributesTextW(), true);
    }
    return error;
}

}  // namespace

StatusPair CNativeHttp::SetPathAttributes(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::SetPathAttributes", [&](const Logger& log) -> StatusPair {
        if (attributes == nullptr) {
            return {ERROR_INVALID_PARAMETER, 0};
        }
        log.Information("Request to set attributes for path: %S", serverPath);
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const WideString url = FormatWide(QM_W("%s/folders%S"), GetApiPath(session), path);
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("POST"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (const DWORD error = AppendUpdateForm(*request, serverPath, *attributes); error != ERROR_SUCCESS) {
            return {error, 0};
        }
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
        attributes = item;
        return status;
    });
}

}  // namespace quillmark
