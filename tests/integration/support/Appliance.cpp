#include "integration/support/Appliance.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace quillmark::testing {
namespace {

constexpr std::chrono::seconds StartTime{60};  // generous: sanitizers on a busy machine

std::uint16_t PortIn(const std::string& portFile, const std::string& scheme) {
    std::ifstream file(portFile);
    std::string line;
    while (std::getline(file, line)) {
        if (line.compare(0, scheme.size() + 1, scheme + "=") == 0) {
            return static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1)));
        }
    }
    return 0;
}

}  // namespace

std::string ProgramPath(const std::string& name) {
    return std::string(QUILLMARK_PROGRAM_FOLDER) + "/" + name;
}

Appliance::Appliance(std::vector<std::string> options) : m_options(std::move(options)) {
    Start();
}

void Appliance::Start() {
    const std::string portFile = m_folder / "ports";
    std::filesystem::remove(portFile);
    std::vector<std::string> command = {ProgramPath("quillmark-appliance"),
                                        "--data",
                                        m_folder / "data",
                                        "--user",
                                        "anna:secret",
                                        "--listen",
                                        "127.0.0.1:" + std::to_string(m_httpPort),
                                        "--tls-listen",
                                        "127.0.0.1:" + std::to_string(m_httpsPort),
                                        "--port-file",
                                        portFile,
                                        "--control",
                                        "/control",
                                        "--faults"};
    command.insert(command.end(), m_options.begin(), m_options.end());
    m_process = Process(command, m_folder / "appliance.out", m_folder / "appliance.err");
    WaitForPorts();
}

// The server has no way to call us, so its port file is looked for until it is complete or the server has ended.
void Appliance::WaitForPorts() {
    const auto end = std::chrono::steady_clock::now() + StartTime;
    while (std::chrono::steady_clock::now() < end && m_process.IsRunning()) {
        m_httpPort = PortIn(m_folder / "ports", "http");
        m_httpsPort = PortIn(m_folder / "ports", "https");
        if (m_httpPort != 0 && m_httpsPort != 0) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::ifstream errors(m_folder / "appliance.err");
    throw std::runtime_error("the reference server did not start: " +
                             std::string(std::istreambuf_iterator<char>(errors), {}));
}

void Appliance::Kill() {
    m_process.Signal(SIGKILL);
    m_process.Wait();
}

nlohmann::json Appliance::Control(const std::string& method, const std::string& resource,
                                  const std::string& body) const {
    std::vector<std::string> command = {"curl",
                                        "--silent",
                                        "--show-error",
                                        "--fail-with-body",
                                        "--noproxy",
                                        "*",
                                        "-X",
                                        method,
                                        HttpUrl() + "/control" + resource};
    if (!body.empty()) {
        command.insert(command.end(), {"-H", "Expect:", "--data-binary", "@-"});
    }
    const ProcessResult result = Process::Run(command, {}, body);
    if (result.exitCode != 0) {
        throw std::runtime_error("control request failed: " + result.output + result.errors);
    }
    return nlohmann::json::parse(result.output);
}

nlohmann::json Appliance::Statistics() const {
    return Control("GET", "/statistics");
}

void Appliance::ResetStatistics() const {
    static_cast<void>(Control("DELETE", "/statistics"));
}

std::uint64_t Appliance::RequestCount(const std::string& method, const std::string& path) const {
    std::uint64_t count = 0;
    const nlohmann::json statistics = Statistics();
    for (const nlohmann::json& entry : statistics.at("requests")) {
        if (entry.at("method") == method && entry.at("path") == path) {
            count += entry.at("count").get<std::uint64_t>();
        }
    }
    return count;
}

std::uint64_t Appliance::ConnectionCount() const {
    return Statistics().at("connections").get<std::uint64_t>();
}

void Appliance::AddFaults(const nlohmann::json& rules) const {
    static_cast<void>(Control("POST", "/faults", rules.dump()));
}

void Appliance::OrderWipe(const std::string& device) const {
    static_cast<void>(Control("POST", "/wipe", "user=anna&device=" + device));
}

std::vector<std::string> Appliance::AuditTexts() const {
    std::vector<std::string> texts;
    const nlohmann::json report = Control("GET", "/audit");
    for (const nlohmann::json& entry : report.at("audit")) {
        texts.push_back(entry.at("data").get<std::string>());
    }
    return texts;
}

std::vector<nlohmann::json> Appliance::Letters() const {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder / "data/outbox")) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<nlohmann::json> letters;
    for (const auto& file : files) {
        std::ifstream stream(file);
        letters.push_back(nlohmann::json::parse(stream));
    }
    return letters;
}

std::uint64_t Appliance::UnusedFaults() const {
    return Control("GET", "/faults").at("unused").get<std::uint64_t>();
}

}  // namespace quillmark::testing
