#include "PseudoConsole.h"

#include <stdexcept>

namespace quillmark::test {
namespace {

// Declared here: the headers know them for newer systems than the library asks for.
using CreateFunction = HRESULT(WINAPI*)(COORD size, HANDLE input, HANDLE output, DWORD flags, void** console);
using CloseFunction = void(WINAPI*)(void* console);
constexpr DWORD_PTR ConsoleAttribute = 0x00020016;

template <typename Function>
Function Find(const char* name) {
    const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), name);
    if (found == nullptr) {
        throw std::runtime_error(std::string("the system has no ") + name);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

// Also where this program has the console: it is not what is to be interrupted.
BOOL WINAPI Ignore(DWORD) {
    return TRUE;
}

}  // namespace

PseudoConsole::PseudoConsole(SHORT columns) {
    HANDLE theirInput = nullptr;
    HANDLE theirOutput = nullptr;
    ::CreatePipe(&theirInput, &m_input, nullptr, 0);
    ::CreatePipe(&m_output, &theirOutput, nullptr, 0);
    const HRESULT made =
        Find<CreateFunction>("CreatePseudoConsole")({columns, 40}, theirInput, theirOutput, 0, &m_console);
    ::CloseHandle(theirInput);
    ::CloseHandle(theirOutput);
    if (made != S_OK) {
        throw std::runtime_error("no pseudo console: " + std::to_string(made));
    }
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    m_attributes.resize(size);
    ::InitializeProcThreadAttributeList(Attributes(), 1, 0, &size);
    ::UpdateProcThreadAttribute(Attributes(), 0, ConsoleAttribute, m_console, sizeof(m_console), nullptr, nullptr);
    m_watcher = std::thread([this] { Watch(); });
}

PseudoConsole::~PseudoConsole() {
    Find<CloseFunction>("ClosePseudoConsole")(m_console);
    ::CloseHandle(m_input);
    m_watcher.join();
    ::CloseHandle(m_output);
    ::DeleteProcThreadAttributeList(Attributes());
}

LPPROC_THREAD_ATTRIBUTE_LIST PseudoConsole::Attributes() const {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(const_cast<char*>(m_attributes.data()));
}

void PseudoConsole::Type(const std::string& text) const {
    DWORD written = 0;
    ::WriteFile(m_input, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

std::string PseudoConsole::Shown() const {
    const std::lock_guard lock(m_lock);
    return m_shown;
}

bool PseudoConsole::Shows(const std::string& text) const {
    for (int tries = 0; tries < 600; ++tries) {
        if (Shown().find(text) != std::string::npos) {
            return true;
        }
        ::Sleep(100);
    }
    return false;
}

void PseudoConsole::PressControlC(DWORD program) {
    ::SetConsoleCtrlHandler(Ignore, TRUE);
    ::FreeConsole();
    if (::AttachConsole(program) == FALSE || ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) == FALSE) {
        throw std::runtime_error("no Ctrl-C: " + std::to_string(::GetLastError()));
    }
    ::FreeConsole();
}

void PseudoConsole::Watch() {
    char buffer[512];
    DWORD got = 0;
    while (::ReadFile(m_output, buffer, sizeof(buffer), &got, nullptr) != FALSE && got > 0) {
        const std::lock_guard lock(m_lock);
        m_shown.append(buffer, got);
    }
}

}  // namespace quillmark::test
