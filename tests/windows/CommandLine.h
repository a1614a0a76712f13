// quillmark.exe as a person at a prompt has it: started with a command line, its login kept in the test's folder.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "LoadedLibrary.h"
#include "PseudoConsole.h"

namespace quillmark::test {

struct Outcome {
    DWORD exitCode = 0;
    std::string output;
    std::string errors;
};

// A program that was started and may be running still.
class Program {
public:
    static constexpr DWORD Killed = 99;

    explicit Program(const PROCESS_INFORMATION& process) : m_process(process) {}
    ~Program();
    Program(Program&& other) noexcept : m_process(std::exchange(other.m_process, {})) {}
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    Program& operator=(Program&&) = delete;

    [[nodiscard]] DWORD Id() const { return m_process.dwProcessId; }
    void Kill() const { ::TerminateProcess(m_process.hProcess, Killed); }
    // Waits for its end and gives back its exit code. One that does not end in two minutes is killed.
    [[nodiscard]] DWORD Wait() const;

private:
    PROCESS_INFORMATION m_process;
};

// Where a program's input comes from and its output goes to; null: no input, and files of the test's. A handle that a
// program shall have is inheritable.
struct Streams {
    HANDLE input = nullptr;
    HANDLE output = nullptr;
};

class CommandLineTest : public ::testing::Test {
protected:
    CommandLineTest();

    [[nodiscard]] std::wstring Path(const std::wstring& name) const { return (m_folder.Path() / name).wstring(); }
    void Write(const std::wstring& name, const std::string& content) const;
    [[nodiscard]] std::string Read(const std::wstring& name) const;
    // The names in a folder of the test's, sorted.
    [[nodiscard]] std::vector<std::wstring> NamesIn(const std::wstring& folder) const;

    // Starts quillmark.exe with these arguments; at a console when one is given. Its output goes into files.
    [[nodiscard]] Program Start(const std::vector<std::wstring>& arguments,
                                const PseudoConsole* console = nullptr) const;
    // The same with all that it writes shown at the console.
    [[nodiscard]] Program StartShown(const std::vector<std::wstring>& arguments, const PseudoConsole& console) const {
        return StartLine(L"at_console.exe " + LineOf(arguments), &console);
    }
    // The same with these streams.
    [[nodiscard]] Program StartWith(const Streams& streams, const std::vector<std::wstring>& arguments) const {
        return StartLine(LineOf(arguments), nullptr, streams);
    }
    // Waits for the program that was started last.
    [[nodiscard]] Outcome Finish(const Program& program) const;
    [[nodiscard]] Outcome Run(const std::vector<std::wstring>& arguments) const { return Finish(Start(arguments)); }
    // Runs any program.
    [[nodiscard]] Outcome RunLine(const std::wstring& line) const { return Finish(StartLine(line)); }
    [[nodiscard]] Outcome Login(const std::string& url = HttpUrl()) const {
        return Run({L"login", std::wstring(url.begin(), url.end()), L"--user", L"anna"});
    }

    // Has the server stop for so long before it answers the third chunk of an upload that begins afterwards.
    static void HoldUpTheThirdChunk(int milliseconds);
    // Waits until all of the server's fault rules have come to be used. Fails after a minute.
    static void AwaitHeldUp();

private:
    [[nodiscard]] std::wstring LineOf(const std::vector<std::wstring>& arguments) const;
    [[nodiscard]] Program StartLine(std::wstring line, const PseudoConsole* console = nullptr,
                                    const Streams& streams = {}) const;
    [[nodiscard]] HANDLE OpenFor(const wchar_t* name, SECURITY_ATTRIBUTES& inherited) const;

    TempFolder m_folder{"prompt"};
    std::wstring m_session;
};

}  // namespace quillmark::test
