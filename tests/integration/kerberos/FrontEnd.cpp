#include "integration/kerberos/FrontEnd.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "integration/support/HostClient.h"

namespace quillmark::testing {
namespace {

constexpr const char* Modules[] = {"mpm_event", "authn_core", "authz_core", "authz_user", "auth_gssapi",
                                   "headers",   "proxy",      "proxy_http", "session",    "session_cookie"};

std::string LoadModules() {
    std::string lines;
    for (const std::string module : Modules) {
        lines += "LoadModule " + module + "_module /usr/lib/apache2/modules/mod_" + module + ".so\n";
    }
    return lines;
}

std::string Directives(FrontEnd::Holds holds) {
    switch (holds) {
        case FrontEnd::Holds::ForTheConnection:
            return "GssapiConnectionBound On\n";
        case FrontEnd::Holds::ForTheCookie:
            return "GssapiUseSessions On\nSession On\nSessionCookieName ticket path=/;httponly\n"
                   "GssapiSessionKey key:MDEyMzQ1Njc4OWFiY2RlZjAxMjM0NTY3ODlhYmNkZWY=\n";
        case FrontEnd::Holds::ForTheRequest:
            break;
    }
    return "GssapiConnectionBound Off\n";
}

// One process in the foreground. Apache refuses to serve as root, and as root it would change users itself, with which
// the kernel forgets to end it with the test.
std::vector<std::string> Command(const std::string& configuration) {
    std::vector<std::string> command;
    if (::geteuid() == 0) {
        command = {"setpriv", "--reuid", "nobody", "--regid", "nogroup", "--clear-groups", "--pdeathsig", "KILL", "--"};
    }
    command.insert(command.end(), {"apache2", "-X", "-f", configuration});
    return command;
}

}  // namespace

FrontEnd::FrontEnd(const Realm& realm, const Appliance& server, Holds holds) {
    std::filesystem::permissions(m_folder.Path(), std::filesystem::perms::all);
    const std::string common = Configuration(server, realm, holds);
    m_apache.emplace(
        m_folder.Path().string(),
        Process::Environment{{"KRB5_CONFIG", realm.ConfigurationFile()}, {"KRB5RCACHEDIR", m_folder.Path().string()}},
        [this, common](std::uint16_t port) {
            WriteFileAt(m_folder / "apache.conf", "Listen 127.0.0.1:" + std::to_string(port) + "\n" + common);
            return Command(m_folder / "apache.conf");
        });
    m_apache->Start();
}

std::string FrontEnd::Configuration(const Appliance& server, const Realm& realm, Holds holds) const {
    const std::string header = IdentityHeader;
    return LoadModules() + "ServerName localhost\nServerRoot " + m_folder.Path().string() +
           "\nPidFile pid\nErrorLog error.log\n"
           "LogFormat \"%I %>s %m %U %u\" answers\nCustomLog access.log answers\n"
           "KeepAlive On\nKeepAliveTimeout 300\nMaxKeepAliveRequests 0\n"
           "RequestHeader unset " +
           header +
           "\n"
           "ProxyPass / http://127.0.0.1:" +
           std::to_string(server.HttpPort()) +
           "/\n"
           "<LocationMatch \"^/api/[^/]+/kerberos(/|$)\">\n"
           "AuthType GSSAPI\nAuthName quillmark\nGssapiAllowedMech krb5\nGssapiLocalName On\n"
           "GssapiCredStore keytab:" +
           realm.ServiceKeys() + "\n" + Directives(holds) +
           "Require valid-user\n"
           "RequestHeader set " +
           header +
           " expr=%{REMOTE_USER}\n"
           "</LocationMatch>\n";
}

void FrontEnd::Restart() {
    m_apache->Kill();
    m_apache->Start();
}

std::vector<FrontEnd::Answer> FrontEnd::Answers() const {
    constexpr const char* Branch = "/api/1.7/kerberos/";
    std::istringstream log(ReadFileAt(m_folder / "access.log"));
    std::vector<Answer> answers;
    Answer answer;
    while (log >> answer.bytesRead >> std::ws && std::getline(log, answer.text)) {
        if (const std::size_t at = answer.text.find(Branch); at != std::string::npos) {
            answer.text.erase(at, std::string(Branch).size() - 1);
            answers.push_back(answer);
        }
    }
    return answers;
}

std::vector<std::string> FrontEnd::AwaitAnswers(std::size_t count) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (;;) {
        std::vector<std::string> texts;
        for (const Answer& answer : Answers()) {
            texts.push_back(answer.text);
        }
        if (texts.size() >= count) {
            return texts;
        }
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("answers are missing: " + ReadFileAt(m_folder / "access.log") +
                                     ReadFileAt(m_folder / "error.log"));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

std::uint64_t FrontEnd::BytesReadFor(const std::string& answer) const {
    std::uint64_t bytes = 0;
    for (const Answer& entry : Answers()) {
        bytes += entry.text == answer ? entry.bytesRead : 0;
    }
    return bytes;
}

}  // namespace quillmark::testing
