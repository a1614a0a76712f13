#include "transport/WinHttpConnection.h"

#include "common/EngKey.h"
#include "common/Log.h"
#include "common/ModuleState.h"
#include "transport/TransportSupport.h"

namespace quillmark {
namespace {

DWORD ConfiguredConnect() {
    static const DWORD value = ReadSetting(QM_W("HTTPConnectionRequestTimeout"), 60000);
    return value;
}

DWORD ConfiguredResolve() {
    static const DWORD value = ReadSetting(QM_W("HTTPNameResolutionTimeout"), 0);
    return value;
}

DWORD ConfiguredSend() {
    static const DWORD value = ReadSetting(QM_W("HTTPSendRequestTimeout"), 60000);
    return value;
}

DWORD ConfiguredReceive() {
    static const DWORD value = ReadSetting(QM_W("HTTPReceiveResponseTimeout"), 60000);
    return value;
}

}  // namespace

DWORD WinHttpConnection::Initialise(const WideString& server, WORD port,
                                    const std::shared_ptr<IWinHttpSession>& session, DWORD connect, DWORD resolve,
                                    DWORD send, DWORD receive) {
    return LogScope::Run("WinHttpConnection::Initialise", LogSource::WinHttpImpl, [&](const Logger& log) -> DWORD {
        DWORD status = 0;

        if (!Attach(WinHttp()->WinHttpConnect(session->GetHandle(), server.c_str(), port, 0))) {
            status = FailureCode();
            log.Error("WinHttpConnect failed, error code: %d", status);
            return status;
        }

        // All four are read at the first connection, overridden or not: what holds for the process does not depend on
        // which operation came first.
        const DWORD configuredConnect = ConfiguredConnect();
        const DWORD configuredResolve = ConfiguredResolve();
        const DWORD configuredSend = ConfiguredSend();
        const DWORD configuredReceive = ConfiguredReceive();
        connect = connect != 0 ? connect : configuredConnect;
        resolve = resolve != 0 ? resolve : configuredResolve;
        send = send != 0 ? send : configuredSend;
        receive = receive != 0 ? receive : configuredReceive;

        // They go to the session, not to this connection, and so hold for every later request of the session.
        log.Information("Calling WinHttpSetTimeouts. CONN:%d, RES:%d, SEND:%d, RECV:%d", connect, resolve, send,
                        receive);
        if (!session->SetTimeouts(connect, resolve, send, receive)) {
            log.Warning("WinHttpSetTimeouts failed with error code: [%d]. Failed to override timeout defaults.",
                        ::GetLastError());
        }
        log.Information("Successfully initialised http connection");
        return status;
    });
}

}  // namespace quillmark
