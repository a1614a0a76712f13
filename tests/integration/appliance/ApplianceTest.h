// What the suites of the reference server share: a server, a session on it, and bodies written out by hand.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "integration/appliance/Curl.h"
#include "integration/appliance/RawConnection.h"
#include "integration/appliance/ServerProcess.h"

namespace appliance_test {

// The boundary of every body that the tests write themselves.
constexpr const char* Boundary = "QM_MARK--{0F8FAD5B-D9CB-469F-A165-70867728950E}--QM_MARK";

class ApplianceTest : public testing::Test {
protected:
    // Starts the server, or another one with other options.
    void StartServer(std::vector<std::string> extra = {"--no-sync"});
    ServerProcess& Server() { return *m_server; }

    // Logs in as ann and keeps the token.
    void Login();
    [[nodiscard]] const std::string& Token() const { return m_token; }

    // <HTTP address>/api/1.7<resource>
    [[nodiscard]] std::string Url(const std::string& resource) const;
    // curl with the session's cookie.
    [[nodiscard]] CurlResult Curl(std::vector<std::string> arguments) const;

    void MakeFolder(const std::string& name) const;
    // Uploads with curl; the reply.
    [[nodiscard]] CurlResult Upload(const std::string& resource, const std::string& content,
                                    const std::vector<std::string>& extra = {}) const;
    [[nodiscard]] CurlResult Download(const std::string& resource) const;
    [[nodiscard]] int StatusOf(const std::string& resource) const;

    // The whole request of an upload as a bare socket sends it. `owed` is what Content-Length says too much; `fields`
    // go between the operation and the size.
    [[nodiscard]] std::string UploadRequest(const std::string& resource, const std::string& content,
                                            std::size_t owed) const;
    [[nodiscard]] std::string MultipartRequest(const std::string& resource, const std::string& body,
                                               std::size_t announced) const;
    [[nodiscard]] std::string GetRequest(const std::string& resource) const;

    void AddFaults(const nlohmann::json& rules) const;
    // Whether every rule has met its request.
    [[nodiscard]] nlohmann::json FaultReport() const;
    [[nodiscard]] nlohmann::json Statistics() const;

private:
    std::optional<ServerProcess> m_server;
    std::string m_token;
};

// Multipart fields "operation" and "size", and the part "file" with that content.
std::string UploadBody(const std::string& content, const std::string& size);

}  // namespace appliance_test
