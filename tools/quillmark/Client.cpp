#include "Client.h"

#include <algorithm>
#include <charconv>

#include "Calls.h"
#include "CancelEvents.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"
#include "Trace.h"
#include "account/Password.h"
#include "quillmark/Eventing.h"

namespace quillmark::cli {
namespace {

constexpr int LogEverything = 4;

std::string DeviceName() {
    const std::string name = ComputerName();
    return name.empty() ? "quillmark" : name;
}

// Splits "https://host:port" into the part before the port and the port; a bracketed IPv6 address keeps its colons.
// What has more than that is refused, and with an "@" not repeated: a password may stand before it.
void SplitServer(const std::string& server, std::string& address, DWORD& port) {
    const std::size_t scheme = server.find("://");
    if (server.find('@') != std::string::npos) {
        throw Failure("a server address holds no user name; name the user with --user", ExitCode::Usage);
    }
    if (scheme == std::string::npos ||
        (server.compare(0, 8, "https://") != 0 && server.compare(0, 7, "http://") != 0)) {
        throw Failure("'" + server + "' is not a server address: one begins with https:// or http://", ExitCode::Usage);
    }
    const std::size_t behind = std::min(server.find_first_of("/?#", scheme + 3), server.size());
    if (behind < server.size() && server.substr(behind) != "/") {
        throw Failure("'" + server + "' is not a server address: nothing follows the name and the port",
                      ExitCode::Usage);
    }
    address = server.substr(0, behind);
    port = server.compare(0, 8, "https://") == 0 ? 443 : 80;
    const std::size_t colon = address.rfind(':');
    if (colon <= scheme || colon < address.rfind(']') + 1) {
        return;
    }
    const char* end = address.data() + address.size();
    const auto [rest, failure] = std::from_chars(address.data() + colon + 1, end, port);
    if (failure != std::errc() || rest != end || port == 0 || port > 65535) {
        throw Failure("'" + address.substr(colon + 1) + "' is not a port number", ExitCode::Usage);
    }
    address.resize(colon);
}

// whose: words behind the file's name, for one that this command was not given.
void TrustAuthorities(const WideString& path, const std::string& whose = "") {
    const DWORD error = TrustCertificates(path);
    if (error == ERROR_INVALID_DATA) {
        throw Failure("'" + Printable(path) + "'" + whose + " holds no certificate in PEM form", ExitCode::LocalFile);
    }
    if (error == ERROR_NOT_SUPPORTED) {
        throw Failure("the certificates in '" + Printable(path) + "'" + whose +
                          " are trusted once they are in this system's store of trusted root certificates; put them "
                          "there, --ca does not",
                      ExitCode::LocalFile);
    }
    Require(error, "cannot read the certificates '" + Printable(path) + "'" + whose);
}

// Says of each repetition that no view shows: "the connection was lost (12030); trying again in 1.2 s (2 of 5)".
class RepetitionLines : public CallObserver {
public:
    void Retrying(DWORD error, int attempt, int most, std::chrono::milliseconds pause) override {
        PrintError("quillmark: " + RepetitionText(error, attempt, most, pause));
    }
};

void Tell(DWORD error, const std::string& what) {
    if (error != ERROR_SUCCESS) {
        PrintError("quillmark: " + what + ": " + ErrorText(error));
    }
}

}  // namespace

WideString GlobalOptions::Path(const std::string& argument) const {
    for (const auto& [bytes, wide] : arguments) {
        if (bytes == argument) {
            return WithSlashes(wide);
        }
    }
    return WithSlashes(WidenUtf8(argument));
}

bool GlobalOptions::Interrupted() const {
    return WaitForSingleObject(interrupt, 0) == WAIT_OBJECT_0;
}

Client::Client(const GlobalOptions& options, const std::shared_ptr<EndableWinHttp>& winHttp)
    : m_options(options), m_winHttp(winHttp) {
    if (options.sessionPath.empty()) {
        throw Failure("there is no home folder to keep the login in; name a file with --session", ExitCode::Usage);
    }
    if (!options.logPath.empty()) {
        m_log = Eventing::OpenLog(options.logPath.c_str(), LogEverything);
        Require(m_log == 0 ? GetLastError() : ERROR_SUCCESS, "cannot open the log '" + options.logPath + "'");
    }
    if (!options.caPath.empty()) {
        TrustAuthorities(options.caPath);
        m_authority = NarrowUtf8(AbsolutePath(options.caPath));
    }
    if (m_winHttp == nullptr) {
        m_winHttp = options.trace ? std::make_shared<TraceWinHttp>(PrintError) : std::make_shared<EndableWinHttp>();
    }
    const auto services = std::make_shared<Services::ServicesCollection>();
    services->winHttp = m_winHttp;
    ::Init(m_log, services);
    m_api.reset(::CreateInstance(WidenUtf8(DeviceName())));
    m_events = std::make_unique<CancelEvents>(options.interrupt);
    m_observer = std::make_unique<RepetitionLines>();
    m_calls = std::make_unique<Calls>(*this, m_observer.get());
}

Client::~Client() {
    m_calls.reset();
    m_api.reset();
    ::Exit();
    ::Init(0, nullptr);
    Eventing::CloseLog(m_log);
}

void Client::UseServer(const std::string& server) {
    std::string address;
    DWORD port = 0;
    SplitServer(server, address, port);
    WideString wide = WidenUtf8(address);
    m_server = server;
    m_api->SetServer(wide);
    m_api->SetPort(port);
    if (m_authority.empty()) {
        TrustKeptAuthority();
    }
}

// Of another server's login nothing is taken over.
void Client::TrustKeptAuthority() {
    StoredSession kept;
    if (LoadSession(m_options.sessionPath, kept) == ERROR_SUCCESS && kept.server == m_server &&
        !kept.authority.empty()) {
        TrustAuthorities(WidenUtf8(kept.authority), " of the login");
        m_authority = kept.authority;
    }
}

void Client::Discover() {
    Require(Run([this] {
                DWORD mode = 0;
                DWORD extra = 0;
                return m_api->Init(mode, extra, CancelEvent());
            }),
            "cannot reach " + m_server);
}

void Client::Resume() {
    m_session = RequireSession(m_options);
    UseServer(m_session.server);
    Discover();
    m_token = m_session.token;
    m_api->SetSessionToken(WidenUtf8(m_token));
}

DWORD Client::CallWithoutEvent(const std::function<DWORD()>& operation) {
    m_events->AlsoRun([this] { m_winHttp->End(); });
    const DWORD error = operation();
    m_events->AlsoRun(nullptr);
    return error;
}

DWORD Client::RunCall(const std::function<DWORD()>& operation) {
    return m_calls->Run(operation);
}

DWORD Client::RunOnce(const std::function<DWORD()>& operation, const std::function<std::optional<DWORD>()>& settle) {
    return m_calls->RunOnce(operation, settle);
}

DWORD Client::RunUnlessLost(const std::function<DWORD()>& operation) {
    return m_calls->RunUnlessLost(operation);
}

HANDLE Client::CancelEvent() const {
    return m_calls->CancelEvent();
}

void Client::Login(StoredSession session, const std::string& password, const std::string& what) {
    Require(Run([&] { return SignIn(session, password, CancelEvent()); }), what);
    session.authority = m_authority;
    const std::lock_guard lock(m_loginLock);
    Require(KeepToken(std::move(session)), "cannot keep the session");
}

DWORD Client::RenewLogin(unsigned number, HANDLE cancelEvent, bool& loggedIn) {
    const std::lock_guard lock(m_loginLock);
    if (m_loginNumber != number || TakeStoredToken()) {
        return ERROR_SUCCESS;
    }
    const std::optional<std::string> password = PasswordForRenewal();
    if (!password) {
        return ERROR_ACCESS_DENIED;
    }
    const DWORD error = SignIn(m_session, *password, cancelEvent);
    if (error == ERROR_SUCCESS) {
        loggedIn = true;
        // A session that cannot be kept still serves this command.
        Tell(KeepToken(m_session), "cannot keep the session");
    } else if (RemedyFor(error) == Remedy::None && !m_options.Interrupted()) {
        m_loginRefused = true;
        Tell(error, "cannot log in again to " + m_session.server + " as " + m_session.user);
    }
    return error;
}

// Nothing more once a login was refused: a wrong password that is sent over and over locks accounts.
std::optional<std::string> Client::PasswordForRenewal() {
    if (m_loginRefused || !m_session.integrated.empty() || m_session.user.empty()) {
        return std::nullopt;
    }
    try {
        return PasswordAtHand(m_options);
    } catch (const Failure& failure) {
        m_loginRefused = true;
        PrintError("quillmark: " + failure.Sentence());
        return std::nullopt;
    }
}

bool Client::TakeStoredToken() {
    StoredSession stored;
    if (LoadSession(m_options.sessionPath, stored) != ERROR_SUCCESS || stored.token == m_token ||
        stored.server != m_session.server || stored.user != m_session.user) {
        return false;
    }
    m_token = stored.token;
    m_api->SetSessionToken(WidenUtf8(m_token));
    ++m_loginNumber;
    return true;
}

DWORD Client::SignIn(const StoredSession& session, const std::string& password, HANDLE cancelEvent) {
    WideString policy;
    return m_api->Login(WidenUtf8(session.user), WidenUtf8(password), WidenUtf8(session.deviceToken),
                        WidenUtf8(session.device), policy, QM_W(""), QM_W(""), cancelEvent);
}

// The number changes after the token: who sees the new number has sent, or sends, the new token.
DWORD Client::KeepToken(StoredSession session) {
    WideString token;
    m_api->GetSessionToken(token);
    m_token = NarrowUtf8(token);
    ++m_loginNumber;
    session.token = m_token;
    session.since = NarrowUtf8(CAttributeTime::Now().ToText());
    return SaveSession(m_options.sessionPath, session);
}

StoredSession RequireSession(const GlobalOptions& options) {
    return RequireSessionIn(options.sessionPath, options.profile);
}

StoredSession RequireSessionIn(const WideString& file, const std::string& profile) {
    StoredSession session;
    const DWORD error = LoadSession(file, session);
    if (error == ERROR_FILE_NOT_FOUND) {
        throw Failure(profile.empty() ? "nobody is logged in; use 'quillmark login'"
                                      : "nobody is logged in under the profile '" + profile +
                                            "'; use 'quillmark login --profile " + profile + "'",
                      ExitCode::NotLoggedIn);
    }
    const std::string path = Printable(file);
    if (error == ERROR_INVALID_DATA) {
        throw Failure("'" + path + "' is not a session that 'quillmark login' has kept", ExitCode::LocalFile);
    }
    if (error == ErrorNotPrivate) {
        throw Failure("other users can read or change the session '" + path +
                          "', so it is not used; log in again with 'quillmark login', or 'chmod 600' it if you know "
                          "that nobody did",
                      ExitCode::LocalFile);
    }
    Require(error, "cannot read the session '" + path + "'");
    return session;
}

void Require(DWORD error, const std::string& what) {
    if (error != ERROR_SUCCESS) {
        throw Failure(what, error);
    }
}

void Require(const StatusPair& status, const std::string& what) {
    Require(status.error, what);
}

}  // namespace quillmark::cli
