// What the suites of the command-line host share: a server, the program in a home of its own, local files.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "integration/support/Appliance.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

class CliTest : public ::testing::Test {
protected:
    using Arguments = std::vector<std::string>;

    // Starts a server and logs in to it. Quick: what is acknowledged need not survive a power cut here.
    void StartServer(Arguments options = {"--no-sync"});
    void StartAndLogin(Arguments options = {"--no-sync"});
    [[nodiscard]] Appliance& Server() { return *m_server; }

    // Logs another device of the user in, with a session of its own, and runs a command as that device.
    void LoginDevice(const std::string& device);
    ProcessResult QuillmarkAs(const std::string& device, const Arguments& arguments) const;

    // Runs "quillmark --session ... ARGUMENTS" to its end, with QUILLMARK_PASSWORD=secret unless the environment says
    // otherwise.
    ProcessResult Quillmark(const Arguments& arguments, const Process::Environment& environment = {},
                            const std::string& input = "") const;
    // The same as somebody whom permissions stop.
    [[nodiscard]] ProcessResult Unprivileged(const Arguments& arguments) const;
    [[nodiscard]] Arguments Command(const Arguments& arguments) const;
    [[nodiscard]] Process::Environment HomeEnvironment() const;
    // Expects success without a word on standard error, and gives back standard output.
    std::string OutputOf(const Arguments& arguments) const;

    [[nodiscard]] std::string Local(const std::string& name) const { return m_folder / name; }
    // The revision that the server shows for an item.
    [[nodiscard]] std::string RevisionOf(const std::string& item) const;
    // An item's content, by a download.
    [[nodiscard]] std::string ContentOf(const std::string& item) const;
    // Expects this exit code, and the text in what it says on standard error.
    void ExpectFailure(int exitCode, const std::string& text, const Arguments& arguments) const;

    // Writes a local file for its owner only, folders above it included, and gives back its path.
    std::string Write(const std::string& name, const std::string& content) const;
    [[nodiscard]] static std::string Read(const std::string& path);
    [[nodiscard]] std::string SessionFile() const { return m_folder / "home/session"; }
    // Names in a local folder, sorted.
    [[nodiscard]] static std::vector<std::string> NamesIn(const std::string& folder);

private:
    TempFolder m_folder;
    std::optional<Appliance> m_server;
};

}  // namespace quillmark::testing
