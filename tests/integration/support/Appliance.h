// The reference server as a test uses it: a process of its own on free loopback ports, with a data folder that goes
// with it, one user "anna" with the password "secret", counters and fault rules.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "integration/support/Process.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

class Appliance {
public:
    // options are added to the command line, for example {"--api", "1.0"}.
    explicit Appliance(std::vector<std::string> options = {});

    [[nodiscard]] std::uint16_t HttpPort() const { return m_httpPort; }
    [[nodiscard]] std::uint16_t HttpsPort() const { return m_httpsPort; }
    [[nodiscard]] std::string HttpUrl() const { return "http://localhost:" + std::to_string(m_httpPort); }
    [[nodiscard]] std::string HttpsUrl() const { return "https://localhost:" + std::to_string(m_httpsPort); }
    // The authority that signed the server's certificate.
    [[nodiscard]] std::string AuthorityFile() const { return m_folder / "data/tls/ca.pem"; }
    [[nodiscard]] std::string CertificateFile() const { return m_folder / "data/tls/server.pem"; }
    [[nodiscard]] std::string KeyFile() const { return m_folder / "data/tls/server.key"; }

    // What the server counted since it started or since ResetStatistics.
    [[nodiscard]] nlohmann::json Statistics() const;
    void ResetStatistics() const;
    // How often a method met a path, both as the server counts them (the path decoded, without its query).
    [[nodiscard]] std::uint64_t RequestCount(const std::string& method, const std::string& path) const;
    [[nodiscard]] std::uint64_t ConnectionCount() const;

    // Adds a rule, or an array of rules; docs/protocol.md has their form.
    void AddFaults(const nlohmann::json& rules) const;
    // Rules that no request met; a test expects 0 at its end.
    [[nodiscard]] std::uint64_t UnusedFaults() const;

    // Orders a remote wipe of one of anna's devices.
    void OrderWipe(const std::string& device) const;
    // The texts that clients have posted to the logging endpoint, oldest first.
    [[nodiscard]] std::vector<std::string> AuditTexts() const;
    // The letters that the server has sent, in their order.
    [[nodiscard]] std::vector<nlohmann::json> Letters() const;

    void Kill();   // SIGKILL
    void Start();  // again, on the same ports and data
    [[nodiscard]] Process& ServerProcess() { return m_process; }

private:
    [[nodiscard]] nlohmann::json Control(const std::string& method, const std::string& resource,
                                         const std::string& body = "") const;
    void WaitForPorts();

    TempFolder m_folder;
    std::vector<std::string> m_options;
    std::uint16_t m_httpPort = 0;
    std::uint16_t m_httpsPort = 0;
    Process m_process;
};

// Where the programs of this build are: "…/bin/quillmark".
[[nodiscard]] std::string ProgramPath(const std::string& name);

}  // namespace quillmark::testing
