// PseudoTerminal: a program on a terminal of its own, with a keyboard and a screen. The screen takes in what the
// program writes only while the test waits for something; a program that writes much waits meanwhile.
//
//     PseudoTerminal terminal(command, environment, 80, 24);
//     ASSERT_TRUE(terminal.Await([](const ScreenModel& screen) { return screen.Rows().size() == 2; }));
//     terminal.Interrupt();
//     EXPECT_EQ(7, terminal.Wait());
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "integration/support/Process.h"
#include "support/ScreenModel.h"

namespace quillmark::testing {

class PseudoTerminal {
public:
    // TERM is "xterm" unless the environment says otherwise.
    PseudoTerminal(const std::vector<std::string>& command, const Process::Environment& environment,
                   std::size_t columns = 80, std::size_t rows = 24);
    ~PseudoTerminal();  // kills what still runs
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // Waits until the screen is as wanted. False when the program ends before, or after a minute.
    bool Await(const std::function<bool(const ScreenModel&)>& holds);
    // Waits until a row holds that text.
    bool AwaitText(const std::string& text);
    // Waits for the program's end; the exit code, 128 plus the signal when one ended it.
    int Wait();
    void Type(const std::string& keys) const;
    // Ctrl-C.
    void Interrupt() const { Type("\x03"); }
    void Resize(std::size_t columns, std::size_t rows);
    // The terminal goes away, as when its window is closed: SIGHUP, and nothing can be written any more.
    void HangUp();

    [[nodiscard]] const ScreenModel& Screen() const { return m_screen; }
    // All that the program wrote, as it came.
    [[nodiscard]] const std::string& Output() const { return m_output; }

private:
    // Takes in what comes until then. False at the program's end, and when nothing came.
    bool Read(std::chrono::steady_clock::time_point limit);

    int m_terminal = -1;
    pid_t m_id = 0;
    int m_exitCode = -1;
    bool m_ended = false;  // nobody has the terminal open any more
    ScreenModel m_screen;
    std::string m_output;
};

}  // namespace quillmark::testing
