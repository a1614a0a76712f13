#include "System.h"

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <winioctl.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "ErrorText.h"
#include "OwnerOnly.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

using windows::OwnerOnly;

// Closes a handle of ours.
class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    ~Handle() {
        if (IsOpen()) {
            ::CloseHandle(m_handle);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    [[nodiscard]] HANDLE Get() const { return m_handle; }
    [[nodiscard]] bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

private:
    HANDLE m_handle;
};

// Switches a console's echo off for as long as it lives.
class SilentConsole {
public:
    explicit SilentConsole(HANDLE console) : m_console(console) {
        m_changed = ::GetConsoleMode(m_console, &m_before) != FALSE;
        if (m_changed) {
            ::SetConsoleMode(m_console, (m_before & ~DWORD{ENABLE_ECHO_INPUT}) | ENABLE_LINE_INPUT);
        }
    }
    ~SilentConsole() {
        if (m_changed) {
            ::SetConsoleMode(m_console, m_before);
        }
    }
    SilentConsole(const SilentConsole&) = delete;
    SilentConsole& operator=(const SilentConsole&) = delete;
    [[nodiscard]] bool IsConsole() const { return m_changed; }

private:
    HANDLE m_console;
    DWORD m_before = 0;
    bool m_changed = false;
};

// UTF-8, with halves of surrogate pairs encoded as if they were characters, so that different names stay different.
std::string BytesOf(std::wstring_view text) {
    std::string bytes;
    for (std::size_t index = 0; index < text.size(); ++index) {
        std::uint32_t point = text[index];
        if ((point & 0xFC00) == 0xD800 && index + 1 < text.size() && (text[index + 1] & 0xFC00) == 0xDC00) {
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++index] - 0xDC00U);
        }
        const auto tail = [point](int shift) { return static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
        if (point < 0x80) {
            bytes += static_cast<char>(point);
        } else if (point < 0x800) {
            bytes += {static_cast<char>(0xC0 | (point >> 6)), tail(0)};
        } else if (point < 0x10000) {
            bytes += {static_cast<char>(0xE0 | (point >> 12)), tail(6), tail(0)};
        } else {
            bytes += {static_cast<char>(0xF0 | (point >> 18)), tail(12), tail(6), tail(0)};
        }
    }
    return bytes;
}

HANDLE interruptEvent = nullptr;

// Runs on a thread that the system starts for it.
BOOL WINAPI OnInterrupt(DWORD) {
    if (::WaitForSingleObject(interruptEvent, 0) == WAIT_OBJECT_0) {
        ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(ExitCode::Cancelled));
    }
    ::SetEvent(interruptEvent);
    return TRUE;
}

UINT outputCodePageBefore = 0;

void RestoreOutputCodePage() {
    ::SetConsoleOutputCP(outputCodePageBefore);
}

// Opens an item to ask about it.
HANDLE OpenForQuestions(const WideString& path) {
    return ::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

// Whether the name, up to its first dot, is one under which the system has a device in every folder.
bool IsDeviceName(std::wstring_view name) {
    std::wstring stem(name.substr(0, name.find(L'.')));
    stem.erase(stem.find_last_not_of(L' ') + 1);
    std::transform(stem.begin(), stem.end(), stem.begin(),
                   [](wchar_t unit) { return unit >= L'a' && unit <= L'z' ? static_cast<wchar_t>(unit - 32) : unit; });
    if (stem.size() == 4 && (stem.starts_with(L"COM") || stem.starts_with(L"LPT"))) {
        // The superscript digits count as digits here.
        return std::wstring_view(L"0123456789\x00B9\x00B2\x00B3").find(stem[3]) != std::wstring_view::npos;
    }
    return stem == L"CON" || stem == L"PRN" || stem == L"AUX" || stem == L"NUL" || stem == L"CONIN$" ||
           stem == L"CONOUT$";
}

bool WriteAll(HANDLE file, const std::string& content) {
    DWORD written = 0;
    return ::WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != FALSE &&
           written == content.size() && ::FlushFileBuffers(file) != FALSE;
}

}  // namespace

std::vector<Argument> Arguments(int, char**) {
    int count = 0;
    const std::unique_ptr<LPWSTR[], decltype(&::LocalFree)> values(::CommandLineToArgvW(::GetCommandLineW(), &count),
                                                                   &::LocalFree);
    std::vector<Argument> arguments;
    for (int index = 1; index < count; ++index) {
        arguments.push_back({BytesOf(values[index]), values[index]});
    }
    return arguments;
}

void PrepareOutput() {
    static_cast<void>(_setmode(_fileno(stdout), _O_BINARY));
    static_cast<void>(_setmode(_fileno(stderr), _O_BINARY));
    static_cast<void>(_setmode(_fileno(stdin), _O_BINARY));
    // Without a buffer a console gets one byte at a time, and can make nothing of the bytes of one letter.
    constexpr std::size_t BufferSize = 64 * 1024;
    static_cast<void>(std::setvbuf(stdout, nullptr, _IOFBF, BufferSize));
    outputCodePageBefore = ::GetConsoleOutputCP();
    if (outputCodePageBefore != 0 && ::SetConsoleOutputCP(CP_UTF8) != FALSE) {
        std::atexit(RestoreOutputCodePage);  // the console is the user's
    }
}

void WriteError(const std::string& text) {
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

WideString WithSlashes(const WideString& path) {
    WideString slashed = path;
    for (std::size_t index = 0; index < path.size(); ++index) {
        if (path[index] == L'\\') {
            slashed.MutableData()[index] = L'/';
        }
    }
    return slashed;
}

WideString LocalPath(const WideString& path) {
    const WideString slashed = WithSlashes(path);
    const bool hangsOnDrive = path.size() >= 2 && path[1] == L':' && (path.size() == 2 || slashed[2] != L'/');
    const DWORD room = hangsOnDrive ? ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr) : 0;
    std::wstring full(room, L'\0');
    full.resize(::GetFullPathNameW(path.c_str(), room, full.data(), nullptr));
    return room == 0 || full.empty() ? slashed : WithSlashes(full);
}

// The C library has no number of its own for what the system says of a pipe that nobody reads, which depends on how the
// pipe was made.
bool IsReaderGone(int error) {
    const unsigned long reason = _doserrno;
    return error == EPIPE || reason == ERROR_NO_DATA || reason == ERROR_BROKEN_PIPE ||
           reason == ERROR_PIPE_NOT_CONNECTED;
}

bool IsLocalName(const WideString& name) {
    const std::wstring_view text = name.view();
    const bool plain = std::none_of(text.begin(), text.end(), [](wchar_t unit) {
        return unit < 0x20 || std::wstring_view(L"<>:\"/\\|?*").find(unit) != std::wstring_view::npos;
    });
    // The system takes dots and spaces off the end, and would meet another file.
    return IsOwnName(name) && plain && !text.ends_with(L'.') && !text.ends_with(L' ') && !IsDeviceName(text);
}

WideString LocalNameKey(const WideString& name) {
    // One unit stays one unit: the file system compares names unit by unit, in capitals.
    std::wstring key(name.view());
    const int count = static_cast<int>(key.size());
    ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.c_str(), count, key.data(), count, nullptr, nullptr,
                    0);
    return key;
}

bool IsInteractive() {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_INPUT_HANDLE), &mode) != FALSE &&
           ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

std::string Environment(const char* name) {
    const WideString wide = WidenUtf8(name);
    std::wstring value(::GetEnvironmentVariableW(wide.c_str(), nullptr, 0), L'\0');
    value.resize(::GetEnvironmentVariableW(wide.c_str(), value.data(), static_cast<DWORD>(value.size())));
    return NarrowUtf8(value);
}

std::string ComputerName() {
    return Environment("COMPUTERNAME");
}

std::string ProxyText(const std::string&) {
    WINHTTP_PROXY_INFO information = {};
    if (::WinHttpGetDefaultProxyConfiguration(&information) == FALSE) {
        return {};
    }
    std::string text;
    if (information.dwAccessType == WINHTTP_ACCESS_TYPE_NAMED_PROXY && information.lpszProxy != nullptr) {
        text = NarrowUtf8(WideString(information.lpszProxy));
    }
    ::GlobalFree(information.lpszProxy);
    ::GlobalFree(information.lpszProxyBypass);
    return text;
}

Answer AskSecret(const std::string& prompt, HANDLE interrupt, std::string& secret) {
    const Handle input(::CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     nullptr, OPEN_EXISTING, 0, nullptr));
    const Handle output(::CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    if (!input.IsOpen() || !output.IsOpen()) {
        return Answer::NoTerminal;
    }
    // Silent before the question is seen: an answer that comes at once is not shown.
    const SilentConsole silent(input.Get());
    const WideString question = WidenUtf8(prompt);
    if (!silent.IsConsole() || ::WriteConsoleW(output.Get(), question.c_str(), static_cast<DWORD>(question.size()),
                                               nullptr, nullptr) == FALSE) {
        return Answer::NoTerminal;
    }
    std::wstring answer;
    WCHAR unit = 0;
    DWORD got = 0;
    while (::ReadConsoleW(input.Get(), &unit, 1, &got, nullptr) != FALSE && got == 1 && unit != L'\n') {
        if (unit != L'\r') {
            answer.push_back(unit);
        }
    }
    ::WriteConsoleW(output.Get(), L"\r\n", 2, nullptr, nullptr);
    secret = NarrowUtf8(answer);
    if (got == 0) {
        // Ctrl-C ends the read by itself; whoever hears it may be a moment later than this.
        constexpr DWORD Moment = 200;
        return ::WaitForSingleObject(interrupt, Moment) == WAIT_OBJECT_0 ? Answer::Interrupted : Answer::None;
    }
    return secret.empty() ? Answer::None : Answer::Given;
}

HANDLE InterruptEvent() {
    interruptEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    // A program that was started in the background is started deaf to Ctrl-C; the handler wants to hear it.
    ::SetConsoleCtrlHandler(nullptr, FALSE);
    ::SetConsoleCtrlHandler(OnInterrupt, TRUE);
    return interruptEvent;
}

bool IsPlainFile(const WideString& path) {
    const Handle item(OpenForQuestions(path));
    BY_HANDLE_FILE_INFORMATION information = {};
    return item.IsOpen() && ::GetFileType(item.Get()) == FILE_TYPE_DISK &&
           ::GetFileInformationByHandle(item.Get(), &information) != FALSE &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsOwnersAlone(const WideString& /*path*/) {
    return true;  // WritePrivateFile gives the rights, and the user's data folder has them as well
}

DWORD KeepRights(const WideString& /*from*/, const WideString& /*to*/) {
    return ERROR_SUCCESS;
}

// A file system that knows no sparse files fills the gap, which costs time and room only.
DWORD MakeSparse(const WideString& path) {
    const Handle file(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsOpen()) {
        return ::GetLastError();
    }
    DWORD returned = 0;
    ::DeviceIoControl(file.Get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
    return ERROR_SUCCESS;
}

WideString AbsolutePath(const WideString& path) {
    const Handle item(OpenForQuestions(path));
    if (!item.IsOpen()) {
        return WideString();
    }
    const DWORD room = ::GetFinalPathNameByHandleW(item.Get(), nullptr, 0, FILE_NAME_NORMALIZED);
    std::wstring name(room, L'\0');
    name.resize(::GetFinalPathNameByHandleW(item.Get(), name.data(), room, FILE_NAME_NORMALIZED));
    constexpr std::wstring_view Share = L"\\\\?\\UNC\\";
    constexpr std::wstring_view Plain = L"\\\\?\\";
    if (name.starts_with(Share)) {
        name.replace(0, Share.size(), L"\\\\");
    } else if (name.starts_with(Plain)) {
        name.erase(0, Plain.size());
    }
    return WithSlashes(name);
}

DWORD MakePrivateFolder(const WideString& path) {
    OwnerOnly rights;
    if (rights.Get() == nullptr) {
        return rights.Error();
    }
    if (::CreateDirectoryW(path.c_str(), rights.Get()) != FALSE) {
        return ERROR_SUCCESS;
    }
    const DWORD error = ::GetLastError();
    return error == ERROR_ALREADY_EXISTS ? ERROR_SUCCESS : error;
}

WideString OwnNewEnding() {
    static std::atomic<unsigned> count = 0;
    return WidenUtf8(".new-" + std::to_string(::GetCurrentProcessId()) + "-" + std::to_string(++count));
}

DWORD WritePrivateFile(const WideString& path, const std::string& content, const WideString& ending) {
    OwnerOnly rights;
    if (rights.Get() == nullptr) {
        return rights.Error();
    }
    const WideString temporary = path + ending;
    // A file that an earlier attempt left there keeps its rights when it is opened: made anew it gets these.
    ::DeleteFileW(temporary.c_str());
    {
        const Handle file(::CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, rights.Get(), CREATE_NEW,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file.IsOpen()) {
            return ::GetLastError();
        }
        if (!WriteAll(file.Get(), content)) {
            ::DeleteFileW(temporary.c_str());
            return ERROR_WRITE_FAULT;
        }
    }
    const DWORD how = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    return ::MoveFileExW(temporary.c_str(), path.c_str(), how) != FALSE ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace quillmark::cli
