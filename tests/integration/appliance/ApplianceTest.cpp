#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

void ApplianceTest::StartServer(std::vector<std::string> extra) {
    m_server.reset();
    m_server.emplace(std::move(extra));
}

void ApplianceTest::Login() {
    const CurlResult result = RunCurl({"-d", "user_id=ann&password=secret&device_id=test", Url("/sessions")});
    ASSERT_EQ(result.status, 200) << result.body << result.errors;
    m_token = result.Json().at("session_token").get<std::string>();
}

std::string ApplianceTest::Url(const std::string& resource) const {
    return m_server->Http() + "/api/1.7" + resource;
}

CurlResult ApplianceTest::Curl(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"-b", "session_token=" + m_token});
    return RunCurl(arguments);
}

void ApplianceTest::MakeFolder(const std::string& name) const {
    const CurlResult result = Curl({"--data-urlencode", "name=" + name, "-d", "operation=create", Url("/folders/")});
    ASSERT_EQ(result.status, 200) << result.body << result.errors;
}

CurlResult ApplianceTest::Upload(const std::string& resource, const std::string& content,
                                 const std::vector<std::string>& extra) const {
    const std::string file = m_server->Scratch("upload");
    WriteFile(file, content);
    std::vector<std::string> arguments{"-F", "operation=create", "-F", "size=" + std::to_string(content.size())};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.insert(arguments.end(), {"-F", "file=@" + file, Url("/folders" + resource)});
    return Curl(arguments);
}

CurlResult ApplianceTest::Download(const std::string& resource) const {
    return Curl({"-H", "Accept: application/octet-stream", Url("/folders" + resource)});
}

int ApplianceTest::StatusOf(const std::string& resource) const {
    return Curl({Url("/folders" + resource)}).status;
}

std::string ApplianceTest::UploadRequest(const std::string& resource, const std::string& content,
                                         std::size_t owed) const {
    const std::string body = UploadBody(content, std::to_string(content.size()));
    return MultipartRequest(resource, body, body.size() + owed);
}

std::string ApplianceTest::MultipartRequest(const std::string& resource, const std::string& body,
                                            std::size_t announced) const {
    return "POST /api/1.7/folders" + resource +
           " HTTP/1.1\r\n"
           "Host: localhost\r\n"
           "Accept: application/json\r\n"
           "Cookie: session_token=" +
           m_token + "\r\nContent-Type: multipart/form-data; boundary=\"" + Boundary +
           "\"\r\nContent-Length: " + std::to_string(announced) + "\r\n\r\n" + body;
}

std::string ApplianceTest::GetRequest(const std::string& resource) const {
    return "GET /api/1.7/folders" + resource +
           " HTTP/1.1\r\nHost: localhost\r\nAccept: application/json\r\nCookie: session_token=" + m_token + "\r\n\r\n";
}

void ApplianceTest::AddFaults(const nlohmann::json& rules) const {
    const CurlResult result =
        RunCurl({"-H", "Content-Type: application/json", "-d", rules.dump(), m_server->Http() + "/control/faults"});
    ASSERT_EQ(result.status, 200) << result.body << result.errors;
}

nlohmann::json ApplianceTest::FaultReport() const {
    return RunCurl({m_server->Http() + "/control/faults"}).Json();
}

nlohmann::json ApplianceTest::Statistics() const {
    return RunCurl({m_server->Http() + "/control/statistics"}).Json();
}

std::string UploadBody(const std::string& content, const std::string& size) {
    const std::string line = std::string("--") + Boundary + "\r\n";
    return line + "Content-Disposition: form-data; name=\"operation\"\r\n\r\ncreate\r\n" + line +
           "Content-Disposition: form-data; name=\"size\"\r\n\r\n" + size + "\r\n" + line +
           "Content-Disposition: form-data; name=\"file\"; filename=\"%2Fa+b.txt\"\r\n"
           "Content-Type: application/octet-stream\r\n\r\n" +
           content + "\r\n--" + Boundary + "--\r\n";
}

}  // namespace appliance_test
