// squid and nginx as a test uses them: a process in the foreground, with a configuration, a log and a port of its own.
#pragma once

#include <cstdint>
#include <string>

#include "integration/support/Process.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

class Middleman {
public:
    // Starts "program arguments" in a folder of its own after writing the configuration there, with @FOLDER@ and @PORT@
    // filled in; waits until it accepts connections. Throws with what it printed when it does not.
    Middleman(const std::string& program, const std::string& configuration);
    ~Middleman();
    Middleman(const Middleman&) = delete;
    Middleman& operator=(const Middleman&) = delete;

    [[nodiscard]] std::uint16_t Port() const { return m_port; }
    // Lines of its access log, which the configuration writes to @FOLDER@/access.log. Complete once it has ended.
    [[nodiscard]] std::string StopAndReadLog();

private:
    TempFolder m_folder;
    std::uint16_t m_port;
    Process m_process;
};

}  // namespace quillmark::testing
