// A running quillmark-appliance with a data folder of its own, on free ports.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "integration/appliance/Process.h"

namespace appliance_test {

class ServerProcess {
public:
    // Starts it with user ann, password secret, HTTP and HTTPS, the control path and faults (unless another control
    // path is given), and what is asked for beyond that. Throws when it does not come up.
    explicit ServerProcess(std::vector<std::string> extra = {"--no-sync"});

    [[nodiscard]] const std::string& Http() const { return m_http; }    // http://127.0.0.1:PORT
    [[nodiscard]] const std::string& Https() const { return m_https; }  // https://127.0.0.1:PORT
    [[nodiscard]] std::uint16_t HttpPort() const;
    [[nodiscard]] std::uint16_t HttpsPort() const;
    [[nodiscard]] std::string DataFolder() const { return m_folder.Path("data"); }
    [[nodiscard]] std::string AuthorityFile() const { return m_folder.Path("data/tls/ca.pem"); }
    [[nodiscard]] std::string Scratch(const std::string& name) const { return m_folder.Path(name); }
    [[nodiscard]] std::string ReadyLine() const;
    [[nodiscard]] std::string ErrorText() const;

    // SIGTERM; the exit code.
    int Stop();
    // Kills it in the middle of whatever it does and starts it again on the same data.
    void KillAndStartAgain();
    // Stops it and starts it again on the same data with these options instead. Throws when it does not come up.
    void StartAgainWith(std::vector<std::string> extra);

private:
    void Start();

    TemporaryFolder m_folder;
    std::vector<std::string> m_extra;
    std::unique_ptr<Process> m_process;
    std::string m_http;
    std::string m_https;
};

}  // namespace appliance_test
