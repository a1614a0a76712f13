#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {
namespace {

constexpr DWORD HttpStatusNoContent = 204;

DWORD AppendWipeForm(IWinHttpRequest& request, const WideString& user, const WideString& deviceIdentifier) {
    const DWORD error = request.AppendFormData("username", user, false);
    return error == ERROR_SUCCESS ? request.AppendFormData("device_id", deviceIdentifier, true) : error;
}

DWORD SendForm(IWinHttpRequest& request) {
    const DWORD error = request.StartRequest(request.GetPostDataLength());
    return error == ERROR_SUCCESS ? request.SendPostData() : error;
}

}  // namespace

StatusPair CNativeHttp::AcknowledgeRemoteWipe(const WideString& user, const WideString& deviceIdentifier,
                                              HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::AcknowledgeRemoteWipe", [&](const Logger& log) -> StatusPair {
        if (m_apiVersion == ApiVersion{1, 0}) {
            // A success, which is meant: such a server takes no acknowledgement, and the host is not to try again.
            log.Error("AcknowledgeRemoteWipe is not supported on this server version");
            return {ERROR_SUCCESS, 0};
        }
        const Session session = GetSession();
        Connection connection;
        Request request;
        // Neither below the API path nor with a slash before it: devices are acknowledged outside the versioned API.
        DWORD error = CreateRequest(session, QM_W("api/devices"), QM_W("POST"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        error = AppendWipeForm(*request, user, deviceIdentifier);
        if (error == ERROR_SUCCESS) {
            error = SendForm(*request);
        }
        if (error != ERROR_SUCCESS) {
            return {error, 0};
        }
        ResponseBuffer reply;
        error = request->ReceiveResponse(reply);
        if (error != ERROR_SUCCESS) {
            log.Error("ReceiveResponse failed, error code: %u", error);
            return {error, 0};
        }

        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus != HttpStatusOk && httpStatus != HttpStatusNoContent) {
            log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
            // The bare status, which is meant: hosts of this operation compare with it.
            return {httpStatus, 0};
        }
        log.Information("Remote wipe successfully acknowledged");
        return {ERROR_SUCCESS, 0};
    });
}

}  // namespace quillmark
