#include "integration/appliance/ServerProcess.h"

#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace appliance_test {

namespace {

std::uint16_t PortOf(const std::string& url) {
    return static_cast<std::uint16_t>(std::stoul(url.substr(url.rfind(':') + 1)));
}

}  // namespace

ServerProcess::ServerProcess(std::vector<std::string> extra) : m_extra(std::move(extra)) {
    Start();
}

void ServerProcess::Start() {
    // The ready line comes through a pipe with a name, so that waiting for it is a read.
    const std::string pipe = m_folder.Path("ready");
    ::unlink(pipe.c_str());
    if (::mkfifo(pipe.c_str(), 0600) != 0) {
        throw std::runtime_error("mkfifo");
    }
    std::vector<std::string> arguments{"sh", "-c", "exec \"$@\" >\"$0\"", pipe, APPLIANCE_PROGRAM};
    for (const char* argument : {"--user", "ann:secret", "--listen", "127.0.0.1:0", "--tls-listen", "127.0.0.1:0"}) {
        arguments.emplace_back(argument);
    }
    if (std::find(m_extra.begin(), m_extra.end(), "--control") == m_extra.end()) {
        arguments.insert(arguments.end(), {"--control", "/control", "--faults"});
    }
    arguments.insert(arguments.end(), {"--data", DataFolder(), "--port-file", m_folder.Path("ports")});
    arguments.insert(arguments.end(), m_extra.begin(), m_extra.end());
    m_process = std::make_unique<Process>(arguments, "/dev/null", m_folder.Path("errors"));
    std::string line;
    {
        std::ifstream ready(pipe);
        std::getline(ready, line);
    }
    WriteFile(m_folder.Path("ready-line"), line);
    m_http.clear();
    m_https.clear();
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (word.starts_with("http=")) {
            m_http = "http://" + word.substr(5);
        } else if (word.starts_with("https=")) {
            m_https = "https://" + word.substr(6);
        }
    }
    if (m_http.empty() || m_https.empty()) {
        throw std::runtime_error("the server did not come up: " + ErrorText());
    }
}

std::uint16_t ServerProcess::HttpPort() const {
    return PortOf(m_http);
}

std::uint16_t ServerProcess::HttpsPort() const {
    return PortOf(m_https);
}

std::string ServerProcess::ReadyLine() const {
    return ReadFile(m_folder.Path("ready-line"));
}

std::string ServerProcess::ErrorText() const {
    return ReadFile(m_folder.Path("errors"));
}

int ServerProcess::Stop() {
    m_process->Signal(SIGTERM);
    return m_process->Wait();
}

void ServerProcess::KillAndStartAgain() {
    m_process->Signal(SIGKILL);
    m_process->Wait();
    Start();
}

void ServerProcess::StartAgainWith(std::vector<std::string> extra) {
    Stop();
    m_extra = std::move(extra);
    Start();
}

}  // namespace appliance_test
