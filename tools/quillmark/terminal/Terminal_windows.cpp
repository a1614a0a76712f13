#include <windows.h>

#include <cstdlib>

#include "Terminal.h"

namespace quillmark::cli {
namespace {

DWORD modeBefore = 0;

HANDLE ErrorConsole() {
    return ::GetStdHandle(STD_ERROR_HANDLE);
}

void RestoreMode() {
    ::SetConsoleMode(ErrorConsole(), modeBefore);
}

}  // namespace

bool IsOutputTerminal() {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_OUTPUT_HANDLE), &mode) != FALSE;
}

bool CanRedraw() {
    DWORD mode = 0;
    if (::GetConsoleMode(ErrorConsole(), &mode) == FALSE) {
        return false;
    }
    if ((mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0) {
        return true;
    }
    if (::SetConsoleMode(ErrorConsole(), mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING) ==
        FALSE) {
        return false;
    }
    modeBefore = mode;
    std::atexit(RestoreMode);  // the console is the user's
    return true;
}

TerminalSize SizeOfTerminal() {
    CONSOLE_SCREEN_BUFFER_INFO information = {};
    TerminalSize size;
    if (::GetConsoleScreenBufferInfo(ErrorConsole(), &information) != FALSE) {
        // The window, not the buffer behind it, which is thousands of lines high.
        const SMALL_RECT& window = information.srWindow;
        size.columns = static_cast<std::size_t>(window.Right - window.Left + 1);
        size.rows = static_cast<std::size_t>(window.Bottom - window.Top + 1);
    }
    return size;
}

void WriteToTerminal(const std::string& text) {
    DWORD written = 0;
    ::WriteFile(ErrorConsole(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

}  // namespace quillmark::cli
