#include "integration/support/PseudoTerminal.h"

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "integration/support/Become.h"

namespace quillmark::testing {
namespace {

using std::chrono::steady_clock;

winsize SizeOf(std::size_t columns, std::size_t rows) {
    winsize size = {};
    size.ws_col = static_cast<unsigned short>(columns);
    size.ws_row = static_cast<unsigned short>(rows);
    return size;
}

}  // namespace

PseudoTerminal::PseudoTerminal(const std::vector<std::string>& command, const Process::Environment& environment,
                               std::size_t columns, std::size_t rows)
    : m_screen(columns, rows) {
    Process::Environment all = {{"TERM", "xterm"}};
    for (const auto& [name, value] : environment) {
        all[name] = value;
    }
    const winsize size = SizeOf(columns, rows);
    m_id = ::forkpty(&m_terminal, nullptr, nullptr, &size);
    if (m_id < 0) {
        throw std::runtime_error("forkpty failed");
    }
    if (m_id == 0) {
        Become(command, all);
    }
}

PseudoTerminal::~PseudoTerminal() {
    if (m_id > 0) {
        ::kill(m_id, SIGKILL);
        Wait();
    }
    if (m_terminal >= 0) {
        ::close(m_terminal);
    }
}

bool PseudoTerminal::Read(steady_clock::time_point limit) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - steady_clock::now()).count();
    pollfd readable = {m_terminal, POLLIN, 0};
    if (m_ended || ::poll(&readable, 1, static_cast<int>(std::max<std::int64_t>(left, 0))) <= 0) {
        return false;
    }
    char bytes[64];  // few at a time, so that Await misses no state of the screen
    const ssize_t count = ::read(m_terminal, bytes, sizeof(bytes));
    if (count <= 0) {
        m_ended = true;
        return false;
    }
    const std::string_view text(bytes, static_cast<std::size_t>(count));
    m_output += text;
    m_screen.Write(text);
    return true;
}

bool PseudoTerminal::Await(const std::function<bool(const ScreenModel&)>& holds) {
    const auto limit = steady_clock::now() + std::chrono::minutes(1);
    while (!holds(m_screen)) {
        if (!Read(limit)) {
            return false;
        }
    }
    return true;
}

bool PseudoTerminal::AwaitText(const std::string& text) {
    return Await([&text](const ScreenModel& screen) {
        const std::vector<std::string> rows = screen.Rows();
        return std::any_of(rows.begin(), rows.end(),
                           [&text](const std::string& row) { return row.find(text) != std::string::npos; });
    });
}

int PseudoTerminal::Wait() {
    while (!m_ended) {
        Read(steady_clock::now() + std::chrono::minutes(1));
    }
    if (m_id > 0) {
        int status = 0;
        while (::waitpid(m_id, &status, 0) < 0 && errno == EINTR) {
        }
        m_id = 0;
        m_exitCode = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    return m_exitCode;
}

void PseudoTerminal::Type(const std::string& keys) const {
    if (::write(m_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("cannot type");
    }
}

void PseudoTerminal::HangUp() {
    ::close(std::exchange(m_terminal, -1));
    m_ended = true;
}

void PseudoTerminal::Resize(std::size_t columns, std::size_t rows) {
    // The program stands still meanwhile: what it wrote for the old size is shown before the screen changes.
    siginfo_t information = {};
    ::kill(m_id, SIGSTOP);
    ::waitid(P_PID, static_cast<id_t>(m_id), &information, WSTOPPED);
    while (Read(steady_clock::now())) {
    }
    const winsize size = SizeOf(columns, rows);
    ::ioctl(m_terminal, TIOCSWINSZ, &size);
    m_screen.Resize(columns, rows);
    ::kill(m_id, SIGCONT);
}

}  // namespace quillmark::testing
