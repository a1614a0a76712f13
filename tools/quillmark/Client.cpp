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

struct Address {
    std::string host;  // with the scheme
    std::string port;  // empty when none is named
};

// Splits "https://host:port"; a bracketed IPv6 address keeps its colons. What has more than that is refused, and where
// it has an "@" it is not repeated: a password may stand before it.
Address SplitServer(const std::string& server) {
    if (server.find('@') != std::string::npos) {
        throw Failure("a server address holds no user name; name the user with --user", ExitCode::Usage);
    }
    const auto refuse = [&server](const std::string& why) {
        throw Failure("'" + server + "' is not a server address: " + why, ExitCode::Usage);
    };
    std::string text = server;
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char unit) { return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit; });
    if (!text.starts_with("https://") && !text.starts_with("http://")) {
        refuse("one begins with https:// or http://");
    }
    const std::size_t start = text.find("://") + 3;
    const std::size_t behind = std::min(text.find_first_of("/?#", start), text.size());
    if (behind < text.size() && text.substr(behind) != "/") {
        refuse("nothing follows the name and the port");
    }
    text.resize(behind);
    const std::size_t colon = text.rfind(':');
    if (colon < start || colon < text.rfind(']') + 1) {
        return {text, ""};
    }
    if (text[start] != '[' && text.find(':', start) != colon) {
        refuse("an IPv6 address stands in brackets");
    }
    return {text.substr(0, colon), text.substr(colon + 1)};
}

DWORD PortOf(const Address& address) {
    DWORD port = address.host.starts_with("https://") ? 443 : 80;
    if (!address.port.empty()) {
        const char* end = address.port.data() + address.port.size();
        const auto [rest, failure] = std::from_chars(address.port.data(), end, port);
        if (failure != std::errc() || rest != end || port == 0 || port > 65535) {
            throw Failure("'" + address.port + "' is not a port number", ExitCode::Usage);
        }
    }
    return port;
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
    const Address address = SplitServer(server);
    WideString host = WidenUtf8(address.host);
    m_server = ServerAddress(server);
    m_api->SetServer(host);
    m_api->SetPort(PortOf(address));
    if (m_authority.empty()) {
        TrustKeptAuthority();
    }
}

// Of another server's login nothing is taken over. Without the authority it is found out soon enough whether it is
// needed.
void Client::TrustKeptAuthority() {
    StoredSession kept;
    if (LoadSession(m_options.sessionPath, kept) != ERROR_SUCCESS || kept.server != m_server ||
        kept.authority.empty()) {
        return;
    }
    try {
        TrustAuthorities(WidenUtf8(kept.authority), " of the login");
        m_authority = kept.authority;
    } catch (const Failure& failure) {
        PrintError("quillmark: " + failure.Sentence() + " A login with --ca names another file.");
    }
}

// Before the server makes a session that could not be kept.
void Client::CheckAuthorityName() const {
    const bool text = m_options.caPath.empty() || AbsolutePath(m_options.caPath) == WidenUtf8(m_authority);
    if (!text || m_authority.find_first_of("\r\n") != std::string::npos) {
        throw Failure("the name '" + Printable(m_options.caPath) +
                          "' cannot be kept with the login; give the file of certificates another one",
                      ExitCode::LocalFile);
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
    CheckAuthorityName();
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

std::string ServerAddress(const std::string& server) {
    const Address address = SplitServer(server);
    return address.host + (address.port.empty() ? "" : ":" + address.port);
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
