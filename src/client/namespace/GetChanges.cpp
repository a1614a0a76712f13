#include <utility>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "model/Notifications.h"

namespace quillmark {

StatusPair CNativeHttp::GetChanges(NotificationList& actions, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::GetChanges", [&](const Logger& log) -> StatusPair {
        log.Information("Requesting list of changes from the server.");
        const Session session = GetSession();
        // On a server of API 1.0 the token is in the path here too, but behind the API path as it was discovered.
        const bool tokenInPath = m_apiVersion == ApiVersion{1, 0};
        const WideString url =
            m_apiPath + (tokenInPath ? WidenUtf8(Format("/notifs/%S", TokenOf(session))) : WideString(QM_W("/notifs")));
        Connection connection;
        Request request;
        if (const DWORD error = CreateRequest(session, url, QM_W("GET"), request, connection, {});
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        StatusPair status = GetResponse(*request, reply, false);
        if (status.error != ERROR_SUCCESS) {
            return status;
        }
        NotificationList received;
        if (!reply.IsNull()) {
            status.error = GetNotificationsFromResponse(reply, received);
        }
        actions = std::move(received);
        return status;
    });
}

}  // namespace quillmark
