// Server locks: asking for one's state, taking one, giving one up.
//
// The three run with time-outs of their own, which a connection sets on the whole session. Who puts the session's
// normal ones back is not the same for the three, and meant to be so: TestLock does, except after a reply that it
// cannot read; RequestLock always does; ReleaseLock never does.
#include <algorithm>
#include <limits>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "common/CaseFold.h"
#include "common/EngKey.h"
#include "model/JsonResponse.h"

namespace quillmark {
namespace {

constexpr DWORD NotLocked = 0;
constexpr DWORD Locked = 1;
constexpr DWORD ReadOnly = 2;

// Read at every call.
CNativeHttp::Timeouts LockTimeouts() {
    // The most that the platform takes; beyond it a time-out would read as none.
    constexpr std::uint64_t Longest = std::numeric_limits<std::int32_t>::max();
    const std::uint64_t seconds = ReadSetting(QM_W("ServerLockHTTPTimeout"), 10);
    const auto timeout = static_cast<DWORD>(std::min(seconds * 1000, Longest));
    return {timeout, timeout, timeout, timeout};
}

DWORD LockStateOf(const WideString& word) {
    if (EqualsIgnoreCase(word, QM_W("locked"))) {
        return Locked;
    }
    return EqualsIgnoreCase(word, QM_W("readonly")) ? ReadOnly : NotLocked;
}

}  // namespace

DWORD CNativeHttp::CreateLockRequest(const Session& session, const std::string& path, const WideString& verb,
                                     Request& request, Connection& connection) {
    const WideString url = FormatWide(QM_W("%s/locking%S"), GetApiPath(session), path);
    return CreateRequest(session, url, verb, request, connection, LockTimeouts());
}

StatusPair CNativeHttp::TestLock(const WideString& serverPath, DWORD& lockState, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::TestLock", [&](const Logger& log) -> StatusPair {
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        Connection connection;
        Request request;
        if (const DWORD error = CreateLockRequest(session, path, QM_W("GET"), request, connection);
            error != ERROR_SUCCESS) {
            ResetTimeouts(session);
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        const StatusPair status = GetResponse(*request, reply, true);
        if (status.error != ERROR_SUCCESS) {
            ResetTimeouts(session);
            return status;
        }
        std::string word;
        if (!GetJSONStringFromResponse(reply, "status", word)) {
            log.Error("Failed to parse json response");
            // Without ResetTimeouts, which is meant.
            return {ERROR_INVALID_DATA, 0};
        }
        log.Information("lock status:[%s]", word);
        lockState = LockStateOf(WidenUtf8(word));
        ResetTimeouts(session);
        return {ERROR_SUCCESS, 0};
    });
}

StatusPair CNativeHttp::RequestLock(const WideString& serverPath, DWORD duration, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::RequestLock", [&](const Logger&) -> StatusPair {
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        Connection connection;
        Request request;
        if (const DWORD error = CreateLockRequest(session, path, QM_W("POST"), request, connection);
            error != ERROR_SUCCESS) {
            ResetTimeouts(session);
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        // Not marked as the last field though it is the only one: servers expect the "&" behind it.
        StatusPair status{request->AppendFormData("timeout", FormatWide(QM_W("%d"), duration), false), 0};
        if (status.error == ERROR_SUCCESS) {
            ResponseBuffer reply;
            status = GetResponse(*request, reply, false);
        }
        ResetTimeouts(session);
        return status;
    });
}

StatusPair CNativeHttp::ReleaseLock(const WideString& serverPath, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::ReleaseLock", [&](const Logger& log) -> StatusPair {
        log.Information("Releasing lock on [%S]", serverPath);
        const Session session = GetSession();
        std::string path;
        if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
            return {error, 0};
        }
        Connection connection;
        Request request;
        // Without ResetTimeouts on any way out, which is meant.
        if (const DWORD error = CreateLockRequest(session, path, QM_W("DELETE"), request, connection);
            error != ERROR_SUCCESS) {
            return {error, 0};
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        const StatusPair status = GetResponse(*request, reply, false);
        if (status.error == ERROR_SUCCESS) {
            log.Information("Successfully released lock on [%S]", serverPath);
        }
        return status;
    });
}

}  // namespace quillmark
