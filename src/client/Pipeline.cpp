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
    const LogScope scope("CNativeHttp::AddRevision", LogSource::NativeHttp);
    if (revision.empty()) {
        return;
    }
    scope.Information("Revision: %s", revision);
    query = Format("%s%s=%s", separator, "revision", revision);
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
    DWORD error = ERROR_SUCCESS;
    const LogScope scope("CNativeHttp::CreateRequest", LogSource::NativeHttp, &error);
    scope.Information("End point path: [%S]", path);

    connection = m_factory->CreateConnection();
    error = session != nullptr && connection != nullptr
                ? connection->Initialise(m_server, m_port, session, timeouts.connect, timeouts.resolve, timeouts.send,
                                         timeouts.receive)
                : ERROR_INVALID_HANDLE;
    if (error != ERROR_SUCCESS) {
        scope.Error("WinHttpConnection failed to initialise, error code: %u", error);
        return error;
    }

    request = m_factory->CreateRequest(session);
    error = request != nullptr
                ? request->Initialise(path, verb, connection, nullptr, m_secure ? WINHTTP_FLAG_SECURE : 0,
                                      m_authMode == AUTH_MODE_INTEGRATED)
                : ERROR_INVALID_HANDLE;
    if (error != ERROR_SUCCESS) {
        scope.Error("WinHttpRequest failed to initialise, error code: %u", error);
    }
    return error;
}

StatusPair CNativeHttp::GetResponse(IWinHttpRequest& request, ResponseBuffer& reply, bool bodyExpected) const {
    StatusPair result;
    const LogScope scope("CNativeHttp::GetResponse", LogSource::NativeHttp, &result.error);

    result.error = request.GetResponse(reply);
    if (result.error != ERROR_SUCCESS) {
        scope.Error("GetResponse failed, error code: %d", result.error);
        return result;
    }
    if (bodyExpected && reply.IsNull()) {
        // Whatever the status: without the body there is nothing to go on with.
        scope.Error("Received an unexpected NULL response buffer, returning ERROR_INVALID_DATA, status code = [%d]",
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
        scope.Error("GetHTTPStatus failed, response code: %u, status: %u severity: %u", httpStatus, result.error,
                    result.severity);
    }
    return result;
}

void CNativeHttp::ResetTimeouts(const Session& session) const {
    const LogScope scope("CNativeHttp::ResetTimeouts", LogSource::NativeHttp);
    if (session == nullptr) {
        return;
    }
    // In the order of the session's own parameters; both orders of the first two values come to the same.
    if (!session->SetTimeouts(NormalConnectTimeout, NormalResolveTimeout, NormalSendTimeout, NormalReceiveTimeout)) {
        scope.Error("WinHttpSetTimeouts failed, error code: %d", ::GetLastError());
    }
}

}  // namespace quillmark
