#include "integration/appliance/Device.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace appliance_test {

using nlohmann::json;

Device::Device(const ServerProcess& server, const std::string& id, const std::string& user, const std::string& password)
    : m_server(server) {
    const CurlResult result =
        RunCurl({"-d", "user_id=" + user + "&password=" + password + "&device_id=" + id, Url("/sessions")});
    if (result.status != 200) {
        throw std::runtime_error("no login: " + result.body + result.errors);
    }
    m_token = result.Json().at("session_token").get<std::string>();
}

CurlResult Device::Curl(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"-b", "session_token=" + m_token});
    return RunCurl(arguments);
}

CurlResult Device::Get(const std::string& resource) const {
    return Curl({Url(resource)});
}

CurlResult Device::Post(const std::string& resource, const std::string& form) const {
    return Curl({"-d", form, Url(resource)});
}

CurlResult Device::Delete(const std::string& resource) const {
    return Curl({"-X", "DELETE", Url(resource)});
}

CurlResult Device::Upload(const std::string& path, const std::string& content,
                          const std::vector<std::string>& fields) const {
    const TemporaryFolder folder;
    WriteFile(folder.Path("upload"), content);
    std::vector<std::string> arguments{"-F", "operation=create", "-F", "size=" + std::to_string(content.size())};
    for (const std::string& field : fields) {
        arguments.insert(arguments.end(), {"-F", field});
    }
    arguments.insert(arguments.end(), {"-F", "file=@" + folder.Path("upload"), Url("/folders" + path)});
    return Curl(arguments);
}

std::string Device::ContentOf(const std::string& path) const {
    return Curl({"-H", "Accept: application/octet-stream", Url("/folders" + path)}).body;
}

CurlResult Device::MakeFolder(const std::string& path) const {
    const std::size_t slash = path.rfind('/');
    return Post("/folders" + path.substr(0, slash + 1), "operation=create&name=" + path.substr(slash + 1));
}

int Device::StatusOf(const std::string& path) const {
    return Get("/folders" + path).status;
}

json Device::Changes() const {
    return Get("/notifs").Json()["contents"];
}

void ExpectError(const CurlResult& result, int status, const std::string& errorId) {
    EXPECT_EQ(result.status, status) << result.body;
    EXPECT_EQ(result.Json()["errorId"], errorId) << result.body;
}

void ChangeRows(const std::string& dataFolder, const std::string& sql) {
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open((dataFolder + "/appliance.db").c_str(), &connection), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(connection);
    sqlite3_close(connection);
}

std::vector<json> Letters(const ServerProcess& server) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(server.DataFolder() + "/outbox")) {
        names.push_back(entry.path().string());
    }
    std::sort(names.begin(), names.end());
    std::vector<json> letters;
    for (const std::string& name : names) {
        letters.push_back(json::parse(ReadFile(name)));
    }
    return letters;
}

}  // namespace appliance_test
