// The sessions of a client object: a new one goes to the end of the list, and each operation that begins afterwards
// lets one old session go, until only the newest is left.
#include <utility>

#include "client/Boundary.h"
#include "client/NativeHttp.h"

namespace quillmark {
namespace {

// Whether the server's name is known, for the log: it tells an administrator at a glance what is wrong when nothing
// else works.
void ProbeServerName(const Logger& log, const WideString& server) {
    PDNS_RECORD records = nullptr;
    const DNS_STATUS status =
        ::DnsQuery_W(server.c_str(), DNS_TYPE_A, DNS_QUERY_BYPASS_CACHE, nullptr, &records, nullptr);
    if (records != nullptr) {
        ::DnsFree(records, DnsFreeRecordList);
    }
    log.Information("DnsQuery returned [%d] against server [%S]", status, server);
}

}  // namespace

void CNativeHttp::OpenSession(const WideString& sessionToken) {
    LogScope::Run("CNativeHttp::CreateNewSession", LogSource::NativeHttp, [&](const Logger& log) {
        ProbeServerName(log, m_server);

        const Session session = m_factory->CreateSession();
        if (session == nullptr) {
            return;
        }
        if (const DWORD error = session->Initialise(); error != ERROR_SUCCESS) {
            // Kept all the same: the requests on it fail with a code, and the host can make another one.
            log.Error("WinHttpSession failed to initialise, error code: %u", error);
        }
        const std::lock_guard lock(m_sessionLock);
        m_sessions.push_back(session);
        session->SetSessionToken(sessionToken);
    });
}

void CNativeHttp::CreateNewSession(const WideString& sessionToken) {
    ShieldOperation("CNativeHttp::CreateNewSession", [&] { OpenSession(sessionToken); });
}

CNativeHttp::Session CNativeHttp::GetSession() {
    return LogScope::Run("CNativeHttp::GetSession", LogSource::NativeHttp, [&](const Logger& log) -> Session {
        Session old;  // released after the lock
        const std::lock_guard lock(m_sessionLock);
        if (m_sessions.size() > 1) {
            log.Information("Garbage collecting old session");
            old = std::move(m_sessions.front());
            m_sessions.pop_front();
        }
        return m_sessions.empty() ? nullptr : m_sessions.front();
    });
}

WideString CNativeHttp::TokenOf(const Session& session) {
    return session != nullptr ? session->GetSessionToken() : WideString();
}

}  // namespace quillmark
