#include "CommandLine.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "BareWinHttp.h"

namespace quillmark::test {
namespace {

std::wstring Quoted(const std::wstring& argument) {
    return L"\"" + argument + L"\"";
}

}  // namespace

Program::~Program() {
    if (m_process.hProcess != nullptr) {
        ::CloseHandle(m_process.hProcess);
        ::CloseHandle(m_process.hThread);
    }
}

DWORD Program::Wait() const {
    if (::WaitForSingleObject(m_process.hProcess, 120'000) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "the program does not end";
        Kill();
        ::WaitForSingleObject(m_process.hProcess, INFINITE);
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(m_process.hProcess, &exitCode);
    return exitCode;
}

CommandLineTest::CommandLineTest() {
    ::SetEnvironmentVariableW(L"QUILLMARK_PASSWORD", L"secret");
    m_session = (m_folder.Path() / "state" / "session").wstring();
}

void CommandLineTest::Write(const std::wstring& name, const std::string& content) const {
    std::ofstream(m_folder.Path() / name, std::ios::binary) << content;
}

std::string CommandLineTest::Read(const std::wstring& name) const {
    std::ifstream file(m_folder.Path() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::wstring> CommandLineTest::NamesIn(const std::wstring& folder) const {
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(Path(folder))) {
        names.push_back(entry.path().filename().wstring());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::wstring CommandLineTest::LineOf(const std::vector<std::wstring>& arguments) const {
    std::wstring line = L"quillmark.exe --session " + Quoted(m_session);
    for (const std::wstring& argument : arguments) {
        line += L" " + Quoted(argument);
    }
    return line;
}

Program CommandLineTest::Start(const std::vector<std::wstring>& arguments, const PseudoConsole* console) const {
    return StartLine(LineOf(arguments), console);
}

Program CommandLineTest::StartLine(std::wstring line, const PseudoConsole* console, const Streams& streams) const {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    STARTUPINFOEXW start = {};
    start.StartupInfo.cb = console != nullptr ? sizeof(start) : sizeof(start.StartupInfo);
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = streams.input;
    start.StartupInfo.hStdOutput = streams.output != nullptr ? streams.output : OpenFor(L"output", inherited);
    start.StartupInfo.hStdError = OpenFor(L"errors", inherited);
    start.lpAttributeList = console != nullptr ? console->Attributes() : nullptr;
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE,
                                 console != nullptr ? EXTENDED_STARTUPINFO_PRESENT : 0, nullptr, nullptr,
                                 &start.StartupInfo, &process));
    if (streams.output == nullptr) {
        ::CloseHandle(start.StartupInfo.hStdOutput);
    }
    ::CloseHandle(start.StartupInfo.hStdError);
    return Program(process);
}

Outcome CommandLineTest::Finish(const Program& program) const {
    const DWORD exitCode = program.Wait();
    return {exitCode, Read(L"output"), Read(L"errors")};
}

HANDLE CommandLineTest::OpenFor(const wchar_t* name, SECURITY_ATTRIBUTES& inherited) const {
    return ::CreateFileW(Path(name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
}

void CommandLineTest::HoldUpTheThirdChunk(int milliseconds) {
    const std::string chunk = R"("method": "POST", "path": "/api/1.7/resume/", "match": "prefix")";
    Ask(HttpUrl(), L"POST", L"/control/faults", "{" + chunk + R"(, "kind": "delay", "ms": 1, "count": 2})");
    Ask(HttpUrl(), L"POST", L"/control/faults",
        "{" + chunk + R"(, "kind": "delay", "ms": )" + std::to_string(milliseconds) + "}");
}

void CommandLineTest::AwaitHeldUp() {
    for (int tries = 0; tries < 600; ++tries) {
        const std::string report = Ask(HttpUrl(), L"GET", L"/control/faults");
        if (report.find("\"unused\":0") != std::string::npos || report.find("\"unused\": 0") != std::string::npos) {
            return;
        }
        ::Sleep(100);
    }
    FAIL() << "the server was not asked for what it holds up";
}

}  // namespace quillmark::test
