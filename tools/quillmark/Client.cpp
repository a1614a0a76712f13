#include "Client.h"

#include <charconv>

#include "Paths.h"
#include "System.h"
#include "quillmark/Eventing.h"

namespace quillmark::cli {
namespace {

constexpr int LogEverything = 4;

std::string DeviceName() {
    const std::string name = ComputerName();
    return name.empty() ? "quillmark" : name;
}

// Splits "https://host:port" into the part before the port and the port; a bracketed IPv6 address keeps its colons.
void SplitServer(const std::string& server, std::string& address, DWORD& port) {
    const std::size_t scheme = server.find("://");
    if (scheme == std::string::npos ||
        (server.compare(0, 8, "https://") != 0 && server.compare(0, 7, "http://") != 0)) {
        throw Failure("'" + server + "' is not a server address: one begins with https:// or http://", ExitCode::Usage);
    }
    address = server.substr(0, server.find('/', scheme + 3));
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

void TrustAuthorities(const WideString& path) {
    const DWORD error = TrustCertificates(path);
    if (error == ERROR_INVALID_DATA) {
        throw Failure("'" + Printable(path) + "' holds no certificate in PEM form", ExitCode::LocalFile);
    }
    if (error == ERROR_NOT_SUPPORTED) {
        throw Failure("the certificates in '" + Printable(path) +
                          "' are trusted once they are in this system's store of trusted root certificates; put them "
                          "there, --ca does not",
                      ExitCode::LocalFile);
    }
    Require(error, "cannot read the certificates '" + Printable(path) + "'");
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

Client::Client(const GlobalOptions& options) : m_options(options) {
    if (options.sessionPath.empty()) {
        throw Failure("there is no home folder to keep the login in; name a file with --session", ExitCode::Usage);
    }
    if (!options.logPath.empty()) {
        m_log = Eventing::OpenLog(options.logPath.c_str(), LogEverything);
        Require(m_log == 0 ? GetLastError() : ERROR_SUCCESS, "cannot open the log '" + options.logPath + "'");
    }
    if (!options.caPath.empty()) {
        TrustAuthorities(options.caPath);
    }
    ::Init(m_log, std::make_shared<Services::ServicesCollection>());
    m_api.reset(::CreateInstance(WidenUtf8(DeviceName())));
}

Client::~Client() {
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
}

void Client::Discover() {
    DWORD mode = 0;
    DWORD extra = 0;
    Require(m_api->Init(mode, extra, CancelEvent()), "cannot reach " + m_server);
}

void Client::Resume() {
    m_session = RequireSession(m_options);
    UseServer(m_session.server);
    Discover();
    m_api->SetSessionToken(WidenUtf8(m_session.token));
}

StoredSession RequireSession(const GlobalOptions& options) {
    StoredSession session;
    const DWORD error = LoadSession(options.sessionPath, session);
    if (error == ERROR_FILE_NOT_FOUND) {
        throw Failure("nobody is logged in; use 'quillmark login'", ExitCode::NotLoggedIn);
    }
    const std::string path = Printable(options.sessionPath);
    if (error == ERROR_INVALID_DATA) {
        throw Failure("'" + path + "' is not a session that 'quillmark login' has kept", ExitCode::LocalFile);
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
