#include "integration/cli/CliTest.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace quillmark::testing {

void CliTest::StartServer(Arguments options) {
    m_server.emplace(std::move(options));
}

void CliTest::StartAndLogin(Arguments options) {
    StartServer(std::move(options));
    const ProcessResult login = Quillmark({"login", m_server->HttpUrl(), "--user", "anna"});
    ASSERT_EQ(0, login.exitCode) << login.errors;
}

ProcessResult CliTest::Unprivileged(const Arguments& arguments) const {
    Arguments command;
    if (::geteuid() == 0) {
        command = {"setpriv", "--bounding-set", "-all", "--inh-caps", "-all", "--reuid", "0", "--"};
    }
    const Arguments own = Command(arguments);
    command.insert(command.end(), own.begin(), own.end());
    return Process::Run(command, HomeEnvironment());
}

// Without repetitions: a test that wants some says so.
CliTest::Arguments CliTest::Command(const Arguments& arguments) const {
    Arguments command = {ProgramPath("quillmark"), "--session", SessionFile(), "--retries", "0"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

Process::Environment CliTest::HomeEnvironment() const {
    std::filesystem::create_directories(Local("home/registry"));
    return {{"HOME", Local("home")},
            {"XDG_CONFIG_HOME", ""},
            {"XDG_DATA_HOME", ""},
            {"QUILLMARK_REGISTRY", Local("home/registry")},
            {"QUILLMARK_PASSWORD", "secret"},
            {"SSL_CERT_FILE", ""},
            {"SSL_CERT_DIR", ""},
            {"http_proxy", ""},
            {"https_proxy", ""},
            {"all_proxy", ""},
            {"HTTPS_PROXY", ""},
            {"ALL_PROXY", ""}};
}

ProcessResult CliTest::Quillmark(const Arguments& arguments, const Process::Environment& environment,
                                 const std::string& input) const {
    Process::Environment all = HomeEnvironment();
    for (const auto& [name, value] : environment) {
        all[name] = value;
    }
    return Process::Run(Command(arguments), all, input);
}

std::string CliTest::OutputOf(const Arguments& arguments) const {
    const ProcessResult result = Quillmark(arguments);
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("", result.errors);
    return result.output;
}

void CliTest::LoginDevice(const std::string& device) {
    const ProcessResult login =
        QuillmarkAs(device, {"login", m_server->HttpUrl(), "--user", "anna", "--device", device});
    ASSERT_EQ(0, login.exitCode) << login.errors;
}

ProcessResult CliTest::QuillmarkAs(const std::string& device, const Arguments& arguments) const {
    Arguments command = {ProgramPath("quillmark"), "--session", Local("home/" + device + "/session")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return Process::Run(command, HomeEnvironment());
}

std::string CliTest::RevisionOf(const std::string& item) const {
    const std::string shown = OutputOf({"stat", item});
    const std::string label = "revision:   ";
    const std::size_t start = shown.find(label);
    return start == std::string::npos
               ? ""
               : shown.substr(start + label.size(), shown.find('\n', start) - start - label.size());
}

std::string CliTest::ContentOf(const std::string& item) const {
    const ProcessResult result = Quillmark({"get", "-q", item, Local("content")});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    return Read(Local("content"));
}

void CliTest::ExpectFailure(int exitCode, const std::string& text, const Arguments& arguments) const {
    const ProcessResult result = Quillmark(arguments);
    EXPECT_EQ(exitCode, result.exitCode) << result.errors;
    EXPECT_EQ("", result.output);
    EXPECT_NE(std::string::npos, result.errors.find(text)) << result.errors;
}

std::string CliTest::Write(const std::string& name, const std::string& content) const {
    const std::filesystem::path path = Local(name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    std::filesystem::permissions(path, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    return path.string();
}

std::string CliTest::Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

std::vector<std::string> CliTest::NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace quillmark::testing
