// What the suites of the client library share: a reference server, a client that is logged in to it, local files.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "integration/support/Appliance.h"
#include "integration/support/HostClient.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

using Attributes = std::shared_ptr<IServerAttributes>;

// Calls a function with each position that a transfer reaches.
class OnProgress : public IProgressSink {
public:
    explicit OnProgress(std::function<void(std::uint64_t position)> action) : m_action(std::move(action)) {}

    void Begin(const WideString&, std::uint64_t, std::uint64_t) override {}
    void Advance(const void*, std::uint32_t, std::uint64_t position, std::uint64_t, std::uint64_t) override {
        m_action(position);
    }

private:
    std::function<void(std::uint64_t)> m_action;
};

// Runs the action once, as soon as the transfer has reached that position.
std::shared_ptr<IProgressSink> OnceAt(std::uint64_t position, std::function<void()> action);

class ClientTest : public ::testing::Test {
protected:
    // A server with these options, and a client for one of its addresses.
    void Start(std::vector<std::string> options = {"--no-sync"}, bool secure = false);
    // The same, logged in.
    void StartAndLogin(std::vector<std::string> options = {"--no-sync"}, bool secure = false);

    Appliance& Server() { return *m_server; }
    HostClient& Client() { return *m_client; }
    [[nodiscard]] std::string LocalPath(const std::string& name) const { return m_folder / name; }

    // Uploads a local file of that content; attributes are taken and overwritten as UploadFile does.
    DWORD Upload(const std::string& serverPath, const std::string& content, const Attributes& attributes,
                 HANDLE cancelEvent = nullptr, const std::shared_ptr<IProgressSink>& progress = nullptr);
    // Likewise, with fresh attributes.
    DWORD Upload(const std::string& serverPath, const std::string& content);
    // Downloads to a local file and gives back its content; what goes wrong fails the test.
    std::string ContentOf(const std::string& serverPath);
    DWORD MakeFolder(const std::string& serverPath);
    // The code of GetPathAttributes; the record, when the caller wants it.
    DWORD Look(const std::string& serverPath, Attributes* attributes = nullptr);
    std::string Token();

private:
    std::optional<Appliance> m_server;
    std::optional<HostClient> m_client;
    TempFolder m_folder;
};

// size bytes that do not repeat with any block size.
std::string Pattern(std::size_t size);

}  // namespace quillmark::testing
