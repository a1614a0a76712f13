#include "integration/kerberos/Daemon.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>
#include <utility>

#include "integration/support/HostClient.h"
#include "integration/support/Ports.h"

namespace quillmark::testing {
namespace {

constexpr std::chrono::seconds LongestStart{60};
constexpr int Attempts = 5;

// The kernel kills it when the thread that started it is gone. Root's rights go before that is asked for, because the
// kernel forgets it with them.
std::vector<std::string> BoundToThisProcess(const std::vector<std::string>& command) {
    std::vector<std::string> bound = {"setpriv", "--pdeathsig", "KILL", "--"};
    bound.insert(bound.end(), command.begin(), command.end());
    return bound;
}

}  // namespace

Process::Environment SystemEnvironment() {
    return {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}};
}

std::string RunProgram(const std::vector<std::string>& command, Process::Environment environment,
                       const std::string& input) {
    environment.merge(SystemEnvironment());
    const ProcessResult result = Process::Run(command, environment, input);
    if (result.exitCode != 0) {
        throw std::runtime_error(command.front() + " failed: " + result.output + result.errors);
    }
    return result.output;
}

Daemon::Daemon(std::string folder, Process::Environment environment, Prepare prepare)
    : m_folder(std::move(folder)), m_environment(std::move(environment)), m_prepare(std::move(prepare)) {
    m_environment.merge(SystemEnvironment());
}

void Daemon::Start() {
    if (m_port != 0) {
        if (!StartOn(m_port)) {
            throw std::runtime_error("it did not start again: " + ReadFileAt(m_folder + "/err"));
        }
        return;
    }
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        const std::uint16_t port = FreePort();
        if (StartOn(port)) {
            m_port = port;
            return;
        }
    }
    throw std::runtime_error("it did not start: " + ReadFileAt(m_folder + "/out") + ReadFileAt(m_folder + "/err"));
}

bool Daemon::StartOn(std::uint16_t port) {
    m_process = Process(BoundToThisProcess(m_prepare(port)), m_folder + "/out", m_folder + "/err", m_environment);
    const auto end = std::chrono::steady_clock::now() + LongestStart;
    while (m_process.IsRunning() && std::chrono::steady_clock::now() < end) {
        if (AcceptsConnections(port)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    Kill();
    return false;
}

void Daemon::Kill() {
    m_process.Signal(SIGKILL);
    m_process.Wait();
}

}  // namespace quillmark::testing
