// Discovery: which endpoint to use, which API version it speaks, where statistics go, and how the server authenticates
// devices.
//
// What is learned on the way (API path and version, the logging path) is stored before the server is asked for its
// mode. The mode is stored last, and only a mode ends discovery: after a failure the next call goes the whole way again
// and overwrites what the failed one left.
#include <optional>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "model/JsonResponse.h"

namespace quillmark {
namespace {

constexpr DWORD SupportedMajor = 1;
constexpr DWORD HighestMinor = 50;
constexpr DWORD DiscoveryTimeout = 30000;
constexpr CNativeHttp::Timeouts DiscoveryTimeouts{DiscoveryTimeout, DiscoveryTimeout, DiscoveryTimeout,
                                                  DiscoveryTimeout};

struct Choice {
    ApiVersion version;
    Endpoint endpoint;
};

// An entry under this key, if there is one that leads anywhere.
const Endpoint* FindEndpoint(const EndpointMap& endpoints, const WideString& key) {
    const auto found = endpoints.find(key);
    return found != endpoints.end() && !found->second.path.empty() ? &found->second : nullptr;
}

// The highest version of the major number that this client speaks. "1" alone counts as 1.0, after "1.0" itself.
std::optional<Choice> ChooseEndpoint(const EndpointMap& sync) {
    std::optional<Choice> choice;
    for (DWORD minorNumber = 0; minorNumber <= HighestMinor; ++minorNumber) {
        const Endpoint* endpoint = FindEndpoint(sync, FormatWide(QM_W("%d.%d"), SupportedMajor, minorNumber));
        if (endpoint == nullptr && minorNumber == 0) {
            endpoint = FindEndpoint(sync, FormatWide(QM_W("%d"), SupportedMajor));
        }
        if (endpoint != nullptr) {
            choice = Choice{{SupportedMajor, minorNumber}, *endpoint};
        }
    }
    return choice;
}

void LogIncompatibleServer(const Logger& log) {
    const std::string rule(76, '=');
    log.Error("%s", rule);
    log.Error("FATAL ERROR: The appliance is not compatible with this version of the client");
    log.Error("%s", rule);
}

// Gives the session its normal time-outs back on every way out of discovery.
class TimeoutsRestored {
public:
    TimeoutsRestored(const CNativeHttp& client, const CNativeHttp::Session& session)
        : m_client(client), m_session(session) {}
    ~TimeoutsRestored() {
        // Whatever the transport throws: this may be running because of an exception.
        ShieldOperation("CNativeHttp::ResetTimeouts", [this] { m_client.ResetTimeouts(m_session); });
    }
    TimeoutsRestored(const TimeoutsRestored&) = delete;
    TimeoutsRestored& operator=(const TimeoutsRestored&) = delete;

private:
    const CNativeHttp& m_client;
    const CNativeHttp::Session& m_session;
};

}  // namespace

DWORD CNativeHttp::Init(DWORD& serverMode, DWORD& extraValue, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::Init", [&](const Logger& log) -> DWORD {
        const std::lock_guard lock(m_serverModeLock);
        if (m_serverMode != SERVER_MODE_UNKNOWN) {
            serverMode = m_serverMode;
            extraValue = m_serverModeExtra;
            log.Information("Returning cached server mode %u", m_serverMode);
            return ERROR_SUCCESS;
        }
        log.Information("Server: %S, Port: %d", m_server, m_port);

        const Session session = GetSession();
        if (session == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        if (!session->SetTimeouts(DiscoveryTimeout, DiscoveryTimeout, DiscoveryTimeout, DiscoveryTimeout)) {
            const DWORD error = ::GetLastError();
            log.Error("WinHttpSetTimeouts failed, error code: %u", error);
            return error;
        }
        const TimeoutsRestored restored(*this, session);
        return Discover(log, session, serverMode, extraValue, cancelEvent);
    });
}

DWORD CNativeHttp::Discover(const Logger& log, const Session& session, DWORD& serverMode, DWORD& extraValue,
                            HANDLE cancelEvent) {
    EndpointMap sync;
    EndpointMap logging;
    if (const DWORD error = GetEndpoints(sync, logging, cancelEvent); error != ERROR_SUCCESS) {
        return error;
    }
    const std::optional<Choice> choice = ChooseEndpoint(sync);
    if (!choice.has_value()) {
        LogIncompatibleServer(log);
        return ERROR_INCOMPATIBLE_SERVER;
    }
    const auto& [version, endpoint] = *choice;
    log.Information("Found endpoint %S compatible with %d.%d, path=%S, TOS=%d",
                    FormatWide(QM_W("%d.%d"), version.majorNumber, version.minorNumber), 1, 1, endpoint.path,
                    endpoint.tos);
    m_apiVersion = version;
    // The host is given a quarter of the number, towards minus infinity.
    m_serverModeExtra = static_cast<DWORD>(endpoint.tos >> 2);
    extraValue = m_serverModeExtra;
    m_apiPath = endpoint.path;

    if (m_authMode == AUTH_MODE_INTEGRATED) {
        AddURIToTrustedZone();
    }
    StoreLoggingEndpoint(log, logging);

    return AskServerMode(log, session, serverMode, cancelEvent);
}

void CNativeHttp::StoreLoggingEndpoint(const Logger& log, const EndpointMap& logging) {
    if (const Endpoint* endpoint = FindEndpoint(logging, QM_W("1.0")); endpoint != nullptr) {
        log.Information("Found logging API version %d.%d", 1, 0);
        m_loggingPath = endpoint->path;
    } else {
        log.Information("Logging not supported on this appliance");
    }
}

DWORD CNativeHttp::AskServerMode(const Logger& log, const Session& session, DWORD& serverMode, HANDLE cancelEvent) {
    Connection connection;
    Request request;
    DWORD error =
        CreateRequest(session, m_apiPath + QM_W("/init"), QM_W("GET"), request, connection, DiscoveryTimeouts);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
    ResponseBuffer reply;
    error = GetResponse(*request, reply, true).error;
    if (error != ERROR_SUCCESS) {
        return error;
    }

    if (m_authMode == AUTH_MODE_INTEGRATED) {
        // From here on, whatever the reply says, every operation addresses the branch that authenticates with the
        // logged-on user's credentials.
        m_apiPath += QM_W("/kerberos");
    }
    bool deviceTokens = false;
    if (GetJSONBoolFromResponse(reply, "device_token_auth", deviceTokens)) {
        m_serverMode = deviceTokens ? SERVER_MODE_DEVICE_TOKEN : SERVER_MODE_LEGACY;
        serverMode = m_serverMode;
        log.Information("Server mode is %s", deviceTokens ? "DEVICE_TOKEN_AUTH" : "LEGACY");
    } else {
        log.Error("Bad response to Init request!");
        error = ERROR_BAD_SERVER_REPLY;
    }
    return error;
}

DWORD CNativeHttp::GetEndpoints(EndpointMap& sync, EndpointMap& logging, HANDLE cancelEvent) {
    return LogScope::Run("CNativeHttp::GetEndpoints", LogSource::NativeHttp, [&](const Logger& log) -> DWORD {
        DWORD error = ERROR_SUCCESS;
        const Session session = GetSession();
        Connection connection;
        Request request;
        // At the server's root: the endpoints are what is asked for.
        error = CreateRequest(session, QM_W("/endpoints"), QM_W("GET"), request, connection, DiscoveryTimeouts);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        error = GetResponse(*request, reply, true).error;
        if (error != ERROR_SUCCESS) {
            return error;
        }
        if (GetEndpointsFromResponse(reply, sync, logging)) {
            log.Information("Extracted %d QM endpoints from response and %d logging endpoints",
                            static_cast<std::uint32_t>(sync.size()), static_cast<std::uint32_t>(logging.size()));
        } else {
            log.Error("Failed to extract endpoints from response");
            error = ERROR_INCOMPATIBLE_SERVER;
        }
        return error;
    });
}

}  // namespace quillmark
