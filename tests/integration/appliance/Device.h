// One device of a user with a session of its own, so that a test can have several.
#pragma once

#include <string>
#include <vector>

#include "integration/appliance/Curl.h"
#include "integration/appliance/ServerProcess.h"

namespace appliance_test {

class Device {
public:
    // Logs in; a refusal throws. The server may be killed and started again meanwhile.
    Device(const ServerProcess& server, const std::string& id, const std::string& user = "ann",
           const std::string& password = "secret");

    [[nodiscard]] const std::string& Token() const { return m_token; }

    // Resources are what follows the API path, such as "/folders/a".
    [[nodiscard]] CurlResult Curl(std::vector<std::string> arguments) const;
    [[nodiscard]] CurlResult Get(const std::string& resource) const;
    // A url-encoded form.
    CurlResult Post(const std::string& resource, const std::string& form) const;
    CurlResult Delete(const std::string& resource) const;
    // A whole file, stored at that path.
    CurlResult Upload(const std::string& path, const std::string& content,
                      const std::vector<std::string>& fields = {}) const;
    // The content of the file there; the reply's body when there is none.
    [[nodiscard]] std::string ContentOf(const std::string& path) const;
    // Makes a folder at that path, with the parent's path in front: "/a/b".
    CurlResult MakeFolder(const std::string& path) const;
    // The status of a GET of the item there.
    [[nodiscard]] int StatusOf(const std::string& path) const;
    // What the device is told of others' changes.
    [[nodiscard]] nlohmann::json Changes() const;

private:
    [[nodiscard]] std::string Url(const std::string& resource) const { return m_server.Http() + "/api/1.7" + resource; }

    const ServerProcess& m_server;
    std::string m_token;
};

// The reply refuses, with that status and that number.
void ExpectError(const CurlResult& result, int status, const std::string& errorId);

// Runs one statement on the data folder's rows. Only while no server uses it.
void ChangeRows(const std::string& dataFolder, const std::string& sql);

// The letters in the outbox, in the order in which they were written.
std::vector<nlohmann::json> Letters(const ServerProcess& server);

}  // namespace appliance_test
