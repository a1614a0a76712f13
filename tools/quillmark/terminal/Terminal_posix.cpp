#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

#include "System.h"
#include "Terminal.h"

namespace quillmark::cli {

bool IsOutputTerminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

bool CanRedraw() {
    const std::string kind = Environment("TERM");
    return ::isatty(STDERR_FILENO) == 1 && !kind.empty() && kind != "dumb";
}

TerminalSize SizeOfTerminal() {
    winsize size = {};
    TerminalSize result;
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 && size.ws_row != 0) {
        result = {size.ws_col, size.ws_row};
    }
    return result;
}

void WriteToTerminal(const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(STDERR_FILENO, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

}  // namespace quillmark::cli
