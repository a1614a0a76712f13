// The shared road of a request: its path, its making, the sending.
#include <utility>

#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {
namespace {

constexpr DWORD NormalResolveTimeout = 60000;
constexpr DWORD NormalConnectTimeout = 60000;
constexpr DWORD NormalSendTimeout = 300000;
constexpr DWORD NormalReceiveTimeout = 300000;

}  // namespace

WideString CNativeHttp::GetApiPath(const Session& session) const {
    if (m_apiVersion != ApiVersion{1, 0}) {
        return m_apiPath;
    }
    return WideString(QM_W("/api/")) + TokenOf(session);
}

void CNativeHttp::AddRevision(std::string& query, const char* separator, const std::string& revision) const {
    LogScope::Run("CNativeHttp::AddRevision", LogSource::NativeHttp, [&](const Logger& log) {
        if (revision.empty()) {
            return;
        }
        log.Information("Revision: %s", revision);
        query = Format("%s%s=%s", separator, "revision", revision);
    });
}

std::string CNativeHttp::RevisionQuery(const char* separator, const Attributes& known) const {
    std::string query;
    if (known != nullptr) {
        AddRevision(query, separator, known->GetRevision());
    }
    return query;
}

DWORD CNativeHttp::CreateRequest(const Session& session, const WideString& path, const WideString& verb,
                                 Request& request, Connection& connection, const Timeouts& timeouts) {
    return LogScope::Run("CNativeHttp::CreateRequest", LogSource::NativeHttp, [&](const Logger& log) -> DWORD {
        DWORD error = ERROR_SUCCESS;
        log.Information("End point path: [%S]", path);

        connection = m_factory->CreateConnection();
        error = session != nullptr && connection != nullptr
                    ? connection->Initialise(m_server, m_port, session, timeouts.connect, timeouts.resolve,
                                             timeouts.send, timeouts.receive)
                    : ERROR_INVALID_HANDLE;
        if (error != ERROR_SUCCESS) {
            log.Error("WinHttpConnection failed to initialise, error code: %u", error);
            return error;
        }

        request = m_factory->CreateRequest(session);
        error = request != nullptr
                    ? request->Initialise(path, verb, connection, nullptr, m_secure ? WINHTTP_FLAG_SECURE : 0,
                                          m_authMode == AUTH_MODE_INTEGRATED)
                    : ERROR_INVALID_HANDLE;
        if (error != ERROR_SUCCESS) {
            log.Error("WinHttpRequest failed to initialise, error code: %u", error);
        }
        return error;
    });
}

StatusPair CNativeHttp::GetResponse(IWinHttpRequest& request, ResponseBuffer& reply, bool bodyExpected) const {
    return LogScope::Run("CNativeHttp::GetResponse", LogSource::NativeHttp, [&](const Logger& log) -> StatusPair {
        StatusPair result;

        result.error = request.GetResponse(reply);
        if (result.error != ERROR_SUCCESS) {
            log.Error("GetResponse failed, error code: %d", result.error);
            return result;
        }
        if (bodyExpected && reply.IsNull()) {
            // Whatever the status: without the body there is nothing to go on with.
            log.Error("Received an unexpected NULL response buffer, returning ERROR_INVALID_DATA, status code = [%d]",
                      request.GetHTTPStatus());
            result.error = ERROR_INVALID_DATA;
            return result;
        }
        if (!reply.IsNull()) {
            LogResponse(reply);
        }
        const DWORD httpStatus = request.GetHTTPStatus();
        if (httpStatus != HttpStatusOk) {
            result = ErrorFromStatus(httpStatus, reply);
            log.Error("GetHTTPStatus failed, response code: %u, status: %u severity: %u", httpStatus, result.error,
                      result.severity);
        }
        return result;
    });
}

void CNativeHttp::ResetTimeouts(const Session& session) const {
    LogScope::Run("CNativeHttp::ResetTimeouts", LogSource::NativeHttp, [&](const Logger& log) {
        if (session == nullptr) {
            return;
        }
        // In the order of the session's own parameters; both orders of the first two values come to the same.
        if (!session->SetTimeouts(NormalConnectTimeout, NormalResolveTimeout, NormalSendTimeout,
                                  NormalReceiveTimeout)) {
            log.Error("WinHttpSetTimeouts failed, error code: %d", ::GetLastError());
        }
    });
}

}  // namespace quillmark
