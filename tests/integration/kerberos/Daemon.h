// A server program of the system in the foreground, on a loopback port of its own, gone with the test's process however
// that ends.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "integration/support/Process.h"

namespace quillmark::testing {

class Daemon {
public:
    // Writes what the program reads for this port and gives back its command.
    using Prepare = std::function<std::vector<std::string>(std::uint16_t port)>;

    // The program writes its output to files in the folder. environment is added to the test's own.
    Daemon(std::string folder, Process::Environment environment, Prepare prepare);

    // Returns when it accepts connections; throws with what it printed when it does not. The first start chooses a
    // port, later ones keep it.
    void Start();
    void Kill();
    [[nodiscard]] std::uint16_t Port() const { return m_port; }

private:
    // False when it ended instead, for example because somebody else has the port.
    bool StartOn(std::uint16_t port);

    std::string m_folder;
    Process::Environment m_environment;
    Prepare m_prepare;
    std::uint16_t m_port = 0;
    Process m_process;
};

// The environment that a program of the system needs: where the programs of the administrator are.
[[nodiscard]] Process::Environment SystemEnvironment();

// Runs a program to its end and gives back what it printed; throws with that when it fails.
std::string RunProgram(const std::vector<std::string>& command, Process::Environment environment,
                       const std::string& input = "");

}  // namespace quillmark::testing
