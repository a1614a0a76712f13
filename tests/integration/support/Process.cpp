#include "integration/support/Process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "integration/support/Become.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {
namespace {

void Redirect(const std::string& path, int descriptor, int flags) {
    if (path.empty()) {
        return;
    }
    const int file = ::open(path.c_str(), flags, 0600);
    if (file < 0 || ::dup2(file, descriptor) < 0) {
        ::_exit(126);
    }
    ::close(file);
}

std::string ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

Process::Process(const std::vector<std::string>& command, const std::string& outputFile, const std::string& errorFile,
                 const Environment& environment) {
    m_id = ::fork();
    if (m_id < 0) {
        throw std::runtime_error("fork failed");
    }
    if (m_id == 0) {
        Redirect(outputFile, STDOUT_FILENO, O_WRONLY | O_CREAT | O_TRUNC);
        Redirect(errorFile, STDERR_FILENO, O_WRONLY | O_CREAT | O_TRUNC);
        Become(command, environment);
    }
}

Process::Process(Process&& other) noexcept
    : m_id(std::exchange(other.m_id, 0)), m_exitCode(other.m_exitCode), m_usage(other.m_usage) {}

Process& Process::operator=(Process&& other) noexcept {
    std::swap(m_id, other.m_id);
    std::swap(m_exitCode, other.m_exitCode);
    std::swap(m_usage, other.m_usage);
    return *this;
}

Process::~Process() {
    if (m_id > 0) {
        Signal(SIGKILL);
        Wait();
    }
}

bool Process::IsRunning() {
    siginfo_t information = {};
    return m_id > 0 && ::waitid(P_PID, static_cast<id_t>(m_id), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           information.si_pid == 0;
}

void Process::Signal(int signal) const {
    if (m_id > 0) {
        ::kill(m_id, signal);
    }
}

int Process::Wait() {
    if (m_id > 0) {
        int status = 0;
        while (::wait4(m_id, &status, 0, &m_usage) < 0 && errno == EINTR) {
        }
        m_id = 0;
        m_exitCode = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    return m_exitCode;
}

ProcessResult Process::Run(const std::vector<std::string>& command, const Environment& environment,
                           const std::string& input) {
    const TempFolder folder;
    std::ofstream(folder / "in", std::ios::binary) << input;
    std::vector<std::string> wrapped = {"sh", "-c", "exec \"$@\" < \"$0\"", folder / "in"};
    wrapped.insert(wrapped.end(), command.begin(), command.end());
    const auto started = std::chrono::steady_clock::now();
    Process process(wrapped, folder / "out", folder / "err", environment);
    ProcessResult result;
    result.exitCode = process.Wait();
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    result.output = ReadAll(folder / "out");
    result.errors = ReadAll(folder / "err");
    result.cpuSeconds = Seconds(process.Usage().ru_utime) + Seconds(process.Usage().ru_stime);
    result.peakKilobytes = process.Usage().ru_maxrss;
    return result;
}

}  // namespace quillmark::testing
