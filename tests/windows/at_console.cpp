// Runs the rest of its command line with input, output and errors at the console that it was started at, and ends with
// that program's exit code. A program gets no console's streams from one whose own are files, and none can be opened
// from outside of the console: so this one stands between.
#include <windows.h>

#include <string>

namespace {

// It ends when the program does, also after Ctrl-C.
BOOL WINAPI Ignore(DWORD) {
    return TRUE;
}

HANDLE Open(const wchar_t* stream) {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    return ::CreateFileW(stream, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                         OPEN_EXISTING, 0, nullptr);
}

}  // namespace

int main() {
    constexpr int NotStarted = 127;
    ::SetConsoleCtrlHandler(Ignore, TRUE);
    const std::wstring own = ::GetCommandLineW();
    std::wstring line = own.substr(own.find(L' ') + 1);
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = Open(L"CONIN$");
    start.hStdOutput = Open(L"CONOUT$");
    start.hStdError = start.hStdOutput;
    PROCESS_INFORMATION process = {};
    if (::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process) ==
        FALSE) {
        return NotStarted;
    }
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD exitCode = NotStarted;
    ::GetExitCodeProcess(process.hProcess, &exitCode);
    return static_cast<int>(exitCode);
}
