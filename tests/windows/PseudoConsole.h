// A console without a window: a program started at it reads what the test types and shows the test what it writes.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "quillmark/Platform.h"

namespace quillmark::test {

class PseudoConsole {
public:
    // Throws std::runtime_error when the system makes none.
    explicit PseudoConsole(SHORT columns = 120);
    // Ends the programs at the console.
    ~PseudoConsole();
    PseudoConsole(const PseudoConsole&) = delete;
    PseudoConsole& operator=(const PseudoConsole&) = delete;

    // For the start of a program at this console.
    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST Attributes() const;

    void Type(const std::string& text) const;
    // What the console has shown so far, with the sequences that steer a terminal.
    [[nodiscard]] std::string Shown() const;
    // Whether the text is shown within a minute.
    [[nodiscard]] bool Shows(const std::string& text) const;

    // Presses Ctrl-C at the console that the program is at.
    static void PressControlC(DWORD program);

private:
    void Watch();

    HANDLE m_input = nullptr;
    HANDLE m_output = nullptr;
    void* m_console = nullptr;
    std::vector<char> m_attributes;
    mutable std::mutex m_lock;
    std::string m_shown;
    std::thread m_watcher;
};

}  // namespace quillmark::test
