#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "model/JsonResponse.h"

namespace quillmark {
namespace {

struct Credentials {
    const WideString& user;
    const WideString& password;
    const WideString& deviceToken;
    const WideString& deviceIdentifier;
    const WideString& deviceName;
    const WideString& clientVersion;
    const WideString& platformVersion;
};

// The login form, in the order in which the server is used to get it.
DWORD AppendLoginForm(const Logger& log, IWinHttpRequest& request, const Credentials& login, bool withDeviceToken) {
    DWORD error = ERROR_SUCCESS;
    const auto append = [&](const char* name, const WideString& value, bool isLast = false) {
        if (error == ERROR_SUCCESS) {
            error = request.AppendFormData(name, value, isLast);
        }
    };
    append("user_id", login.user);
    append("password", login.password);
    if (withDeviceToken) {
        append("device_token", login.deviceToken);
    }
    append("device_id", login.deviceIdentifier);
    append("device_name", login.deviceName);
    if (!login.clientVersion.empty()) {
        log.Information("client_version: %S", login.clientVersion);
        append("client_version", login.clientVersion);
    }
    if (!login.platformVersion.empty()) {
        log.Information("client_platform_version: %S", login.platformVersion);
        append("client_platform_version", login.platformVersion);
    }
    append("platform", QM_W("Windows QMClient"), true);
    return error;
}

// Installs the token that the reply brings on the session. A reply without one leaves the session as it is; that this
// is no failure is meant.
DWORD InstallToken(const Logger& log, const ResponseBuffer& reply, IWinHttpSession& session) {
    std::string token;
    if (!GetJSONStringFromResponse(reply, "session_token", token)) {
        return ERROR_SUCCESS;
    }
    if (token.empty()) {
        log.Error("Session token is empty!");
        return ERROR_ACCESS_DENIED;
    }
    log.Information("Login successful. New session token: %s", token);
    session.SetSessionToken(WidenUtf8(token));
    return ERROR_SUCCESS;
}

}  // namespace

DWORD CNativeHttp::Login(const WideString& user, const WideString& password, const WideString& deviceToken,
                         const WideString& deviceIdentifier, WideString& policyText, const WideString& clientVersion,
                         const WideString& platformVersion, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::Login", [&](const Logger& log) -> DWORD {
        log.Information("Server: %S, Port: %d, User: %S, Hostname: %S", m_server, m_port, user, deviceIdentifier);
        DWORD serverMode = SERVER_MODE_UNKNOWN;
        DWORD extraValue = 0;
        DWORD status = Init(serverMode, extraValue, cancelEvent);
        if (status != ERROR_SUCCESS) {
            log.Error("Init failed with [%u]", status);
            return status;
        }

        const Session session = GetSession();
        Connection connection;
        Request request;
        status = CreateRequest(session, m_apiPath + QM_W("/sessions"), QM_W("POST"), request, connection, {});
        if (status != ERROR_SUCCESS) {
            return status;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        const Credentials login{user,         password,      deviceToken,    deviceIdentifier,
                                m_deviceName, clientVersion, platformVersion};
        status = AppendLoginForm(log, *request, login, serverMode != SERVER_MODE_LEGACY);
        if (status != ERROR_SUCCESS) {
            return status;
        }
        ResponseBuffer reply;
        status = GetResponse(*request, reply, true).error;
        if (status != ERROR_SUCCESS) {
            return status;
        }

        status = InstallToken(log, reply, *session);
        log.Information("Response contains policy block, processing...");
        if (reply.text().find("policy_block") != std::string_view::npos) {
            policyText = WidenUtf8(reply.text());
        }
        return status;
    });
}

}  // namespace quillmark
