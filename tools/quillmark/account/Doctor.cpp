#include "account/Doctor.h"

#include <algorithm>

#include "Output.h"
#include "Paths.h"
#include "Retry.h"
#include "System.h"
#include "Texts.h"
#include "account/Probe.h"

namespace quillmark::cli {
namespace {

constexpr std::int64_t TolerableSeconds = 300;  // tickets and certificates forgive no more
constexpr std::int64_t TicksPerDay = 864'000'000'000;
constexpr std::int64_t DaysForRenewal = 14;

using Tell = std::function<void(const Finding&)>;

bool IsSecure(const std::string& server) {
    return server.starts_with("https://");
}

bool IsTrustError(DWORD error) {
    switch (error) {
        case ERROR_WINHTTP_SECURE_CERT_DATE_INVALID:
        case ERROR_WINHTTP_SECURE_CERT_CN_INVALID:
        case ERROR_WINHTTP_SECURE_INVALID_CA:
        case ERROR_WINHTTP_SECURE_CERT_REV_FAILED:
        case ERROR_WINHTTP_SECURE_CHANNEL_ERROR:
        case ERROR_WINHTTP_SECURE_INVALID_CERT:
        case ERROR_WINHTTP_SECURE_CERT_REVOKED:
        case ERROR_WINHTTP_SECURE_FAILURE:
        case ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE:
            return true;
        default:
            return false;
    }
}

Finding Good(const char* check, std::string text) {
    return {check, Health::Good, std::move(text), "", ERROR_SUCCESS, ExitCode::Success};
}

Finding Skipped(const char* check, std::string why) {
    return {check, Health::NotChecked, std::move(why), "", ERROR_SUCCESS, ExitCode::Success};
}

Finding Bad(const char* check, DWORD error, const std::string& nextStep = "") {
    return {check,
            Health::Bad,
            NamedReason(error),
            nextStep.empty() ? StepWithoutDoctor(error) : nextStep,
            error,
            ExitCodeFor(error, false)};
}

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

Finding ProxyFinding(const std::string& proxy) {
    return Good("proxy", proxy.empty() ? "none, the server is addressed itself" : proxy);
}

Finding EndpointsFinding(const ProbeWinHttp& probe, DWORD error) {
    const std::vector<std::string> versions = MemberNames(probe.Endpoints(), "sync");
    if (probe.ApiPath().empty()) {
        const std::string offers =
            versions.empty() ? "" : "It offers " + Joined(versions) + ", this client needs 1.x. ";
        return Bad("endpoints", error,
                   offers + "Check that the address is the server's own, and its scheme http or https.");
    }
    const std::vector<std::string> statistics = MemberNames(probe.Endpoints(), "audit");
    return Good("endpoints", "offers API " + Joined(versions) + "; uses " + Printable(WidenUtf8(probe.ApiPath())) +
                                 "; statistics " + (statistics.empty() ? "are not taken" : "are taken"));
}

Finding ModeFinding(DWORD error, DWORD mode) {
    if (error != ERROR_SUCCESS) {
        return Bad("mode", error);
    }
    return Good("mode", mode == SERVER_MODE_DEVICE_TOKEN ? "devices log in with a token of their own"
                                                         : "devices log in without a token");
}

Finding VersionFinding(Client& client) {
    WideString version;
    const DWORD error = client.CallWithoutEvent([&] { return client.Api().Version(version); });
    return error == ERROR_SUCCESS ? Good("version", Printable(version)) : Bad("version", error);
}

Finding SessionFinding(Client& client, const StoredSession* session) {
    if (session == nullptr) {
        return Skipped("session", "nobody is logged in to this server; 'quillmark login' does that");
    }
    client.Api().SetSessionToken(WidenUtf8(session->token));
    std::shared_ptr<IServerAttributes> root;
    const DWORD error = client.Api().GetPathAttributes(QM_W("/"), root, client.CancelEvent()).error;
    return error == ERROR_SUCCESS ? Good("session", "the server accepts the session of " + session->user)
                                  : Bad("session", error);
}

Finding ExamineCertificate(const std::string& server, const ProbeWinHttp& probe, DWORD error) {
    const std::optional<CAttributeTime> end = probe.CertificateEnd();
    return end ? ValidityFinding(*end, CAttributeTime::Now()) : CertificateFinding(server, error, probe.Answered());
}

// Tells the finding; false when nothing that comes after it can be looked at.
bool Pass(const GlobalOptions& options, const Tell& tell, const Finding& finding) {
    if (options.Interrupted()) {
        throw Failure("cancelled", ExitCode::Cancelled);
    }
    tell(finding);
    return finding.health != Health::Bad;
}

void ExamineServer(Client& client, const ProbeWinHttp& probe, const StoredSession* session, DWORD error, DWORD mode,
                   const Tell& tell) {
    const GlobalOptions& options = client.Options();
    if (Pass(options, tell, EndpointsFinding(probe, error))) {
        const bool knowsMode = Pass(options, tell, ModeFinding(error, mode));
        Pass(options, tell, VersionFinding(client));
        Pass(options, tell, ClockFinding(probe.ClockAhead()));
        if (knowsMode) {
            Pass(options, tell, SessionFinding(client, session));
        }
    }
}

}  // namespace

Finding NameFinding(const std::string& server, DWORD error, bool proxy) {
    if (error == ERROR_WINHTTP_NAME_NOT_RESOLVED) {
        return Bad(
            "name", error,
            proxy ? "Check the spelling of the address and of the proxy's, the network and its name server." : "");
    }
    return Good("name", server + (proxy ? " is left to the proxy" : " is found"));
}

Finding PortFinding(const std::string& server, DWORD error, bool answered, bool proxy) {
    if (!answered && (error == ERROR_WINHTTP_CANNOT_CONNECT || error == ERROR_WINHTTP_TIMEOUT)) {
        return Bad("port", error,
                   proxy ? "Check the proxy first, then that the server runs and that this is its port."
                         : "Check that the server runs, that this is its port, and that no firewall stands between.");
    }
    return Good("port", server + " answers");
}

Finding CertificateFinding(const std::string& server, DWORD error, bool answered) {
    if (!IsSecure(server)) {
        return {"certificate",
                Health::Doubtful,
                "none: the connection is not encrypted, and everybody on the way can read passwords and files",
                "Use an address that begins with https://.",
                ERROR_SUCCESS,
                ExitCode::Success};
    }
    if (IsTrustError(error)) {
        return Bad("certificate", error,
                   "Name its authority with --ca FILE; if that is trusted already, check that the address has the name "
                   "of the certificate, that this port is for https, and this computer's clock.");
    }
    return answered ? Good("certificate", "trusted, for this name and on this day")
                    : Skipped("certificate", "the connection did not get that far");
}

Finding ValidityFinding(const CAttributeTime& end, const CAttributeTime& now) {
    constexpr std::size_t Date = 10;  // 2027-03-01
    const std::string day = NarrowUtf8(end.ToText()).substr(0, Date);
    const std::int64_t days = (end.Ticks() - now.Ticks()) / TicksPerDay;
    if (days >= DaysForRenewal) {
        return Good("certificate", "trusted, for this name and until " + day);
    }
    return {"certificate",
            Health::Doubtful,
            "trusted, for this name, but only until " + day + ", " +
                Counted(static_cast<std::uint64_t>(std::max<std::int64_t>(days, 0)), "day") + " from now",
            "Have it renewed before that day: afterwards nobody can connect.",
            ERROR_SUCCESS,
            ExitCode::Success};
}

Finding ClockFinding(std::optional<std::int64_t> ahead) {
    if (!ahead) {
        return Skipped("clock", "the server does not tell its time");
    }
    const std::int64_t seconds = *ahead < 0 ? -*ahead : *ahead;
    const std::string text =
        seconds <= 1 ? "the server's and this computer's agree"
                     : "the server's is " + std::to_string(seconds) + " seconds " + (*ahead > 0 ? "ahead" : "behind");
    if (seconds > TolerableSeconds) {
        return {"clock",       Health::Doubtful,
                text,          "Set the clock that is wrong: logins and certificates depend on it.",
                ERROR_SUCCESS, ExitCode::Success};
    }
    return Good("clock", text);
}

void Examine(const GlobalOptions& options, const std::string& server, const StoredSession* session, const Tell& tell) {
    const auto probe = std::make_shared<ProbeWinHttp>(options.trace ? TraceWinHttp::Show(PrintError)
                                                                    : TraceWinHttp::Show([](const std::string&) {}));
    Client client(options, probe);
    client.UseServer(server);
    const std::string proxy = ProxyText(server);
    Pass(options, tell, ProxyFinding(proxy));
    DWORD mode = SERVER_MODE_UNKNOWN;
    DWORD extra = 0;
    const DWORD error = client.Api().Init(mode, extra, client.CancelEvent());
    const bool answered = probe->Answered();
    if (Pass(options, tell, NameFinding(server, error, !proxy.empty())) &&
        Pass(options, tell, PortFinding(server, error, answered, !proxy.empty())) &&
        Pass(options, tell, ExamineCertificate(server, *probe, answered ? ERROR_SUCCESS : error))) {
        ExamineServer(client, *probe, session, error, mode, tell);
    }
}

}  // namespace quillmark::cli
