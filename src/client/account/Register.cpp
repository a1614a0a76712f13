// Registration of the device with the user's account. A device that the server knows already is not refused for good:
// the server is asked to send its message to the user again.
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {
namespace {

constexpr DWORD HttpStatusBadRequest = 400;

DWORD AppendRegistrationForm(IWinHttpRequest& request, const WideString& user, const WideString& deviceIdentifier,
                             const WideString& deviceName) {
    DWORD error = request.AppendFormData("user_id", user, false);
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("device_id", deviceIdentifier, false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("device_name", deviceName, false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("platform", QM_W("windows"), true);
    }
    return error;
}

// The one refusal that tells of an earlier registration is known by its words.
bool IsRegisteredAlready(DWORD httpStatus, const ResponseBuffer& reply) {
    return httpStatus == HttpStatusBadRequest && reply.text().find("The user") != std::string_view::npos &&
           reply.text().find("has registered the device") != std::string_view::npos;
}

}  // namespace

DWORD CNativeHttp::SendRegistration(const Logger& log, const WideString& path, const WideString& user,
                                    const WideString& deviceIdentifier, HANDLE cancelEvent,
                                    RegistrationExchange& exchange) {
    const Session session = GetSession();
    DWORD error = CreateRequest(session, path, QM_W("POST"), exchange.request, exchange.connection, {});
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, exchange.request);
    error = AppendRegistrationForm(*exchange.request, user, deviceIdentifier, m_deviceName);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    error = exchange.request->GetResponse(exchange.reply);
    if (error != ERROR_SUCCESS) {
        log.Error("GetResponse failed, error code: %u", error);
        return error;
    }
    LogResponse(exchange.reply);
    exchange.httpStatus = exchange.request->GetHTTPStatus();
    return ERROR_SUCCESS;
}

StatusPair CNativeHttp::Register(const WideString& user, const WideString& deviceIdentifier, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::Register", [&](const Logger& log) -> StatusPair {
        RegistrationExchange first;
        RegistrationExchange again;
        RegistrationExchange* last = &first;
        DWORD error =
            SendRegistration(log, m_apiPath + QM_W("/registrations"), user, deviceIdentifier, cancelEvent, first);
        if (error == ERROR_SUCCESS && IsRegisteredAlready(first.httpStatus, first.reply)) {
            first.request->Close();
            log.Information("The user has registered the device previously, sending re-registration request");
            last = &again;
            error = SendRegistration(log, m_apiPath + QM_W("/registrations/resend"), user, deviceIdentifier,
                                     cancelEvent, again);
        }
        if (error != ERROR_SUCCESS) {
            return {error, 0};
        }
        if (last->httpStatus != HttpStatusOk) {
            log.Error("GetHTTPStatus shows failure, code: %u", last->httpStatus);
            return ErrorFromStatus(last->httpStatus, last->reply);
        }
        log.Information("Request successful, email sent to user");
        return {ERROR_SUCCESS, 0};
    });
}

}  // namespace quillmark
