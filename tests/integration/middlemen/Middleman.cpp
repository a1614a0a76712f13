#include "integration/middlemen/Middleman.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <vector>

#include "integration/support/HostClient.h"
#include "integration/support/Ports.h"

namespace quillmark::testing {
namespace {

std::string Filled(std::string text, const std::string& mark, const std::string& value) {
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size())) {
        text.replace(at, mark.size(), value);
    }
    return text;
}

std::vector<std::string> Command(const std::string& program, const std::string& configurationFile,
                                 const std::string& folder) {
    if (program == "nginx") {
        return {"nginx", "-p", folder, "-c", configurationFile};
    }
    return {program, "-N", "-f", configurationFile};
}

}  // namespace

Middleman::Middleman(const std::string& program, const std::string& configuration) : m_port(FreePort()) {
    // Both give up root for a user of their own, who writes the logs and the temporary files.
    std::filesystem::permissions(m_folder.Path(), std::filesystem::perms::all);
    WriteFileAt(m_folder / "configuration",
                Filled(Filled(configuration, "@FOLDER@", m_folder.Path().string()), "@PORT@", std::to_string(m_port)));
    m_process = Process(Command(program, m_folder / "configuration", m_folder.Path().string()), m_folder / "out",
                        m_folder / "err", {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}});
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!AcceptsConnections(m_port)) {
        if (!m_process.IsRunning() || std::chrono::steady_clock::now() > end) {
            throw std::runtime_error(program + " did not start: " + ReadFileAt(m_folder / "out") +
                                     ReadFileAt(m_folder / "err"));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

Middleman::~Middleman() {
    m_process.Signal(SIGTERM);
    m_process.Wait();
}

std::string Middleman::StopAndReadLog() {
    m_process.Signal(SIGTERM);
    m_process.Wait();
    return ReadFileAt(m_folder / "access.log");
}

}  // namespace quillmark::testing
