#include "integration/appliance/ResumeTest.h"

#include <filesystem>

namespace appliance_test {

namespace {

std::vector<std::string> HeadersOf(const ChunkOf& chunk) {
    const std::uint64_t length = chunk.blockSize.value_or(chunk.content.size());
    std::vector<std::string> headers{"qm_file_size: " + std::to_string(chunk.fileSize),
                                     "qm_offset: " + std::to_string(chunk.offset),
                                     "qm_block_size: " + std::to_string(length)};
    if (chunk.offset == 0) {
        headers.emplace_back("qm_start: true");
    }
    if (chunk.offset + length == chunk.fileSize) {
        headers.emplace_back("qm_finish: true");
    }
    for (const std::string& header : chunk.headers) {
        const std::string name = header.substr(0, header.find(':') + 1);
        std::erase_if(headers, [&](const std::string& other) { return other.starts_with(name); });
        headers.push_back(header);
    }
    return headers;
}

void AddHeaders(std::vector<std::string>& arguments, const std::vector<std::string>& headers) {
    for (const std::string& header : headers) {
        arguments.insert(arguments.end(), {"-H", header});
    }
}

}  // namespace

std::string ResumeTest::UploadUrl(const ChunkOf& chunk) const {
    return Url("/resume/upload" + chunk.path + "?resume_id=" + chunk.id);
}

CurlResult ResumeTest::Send(const ChunkOf& chunk) const {
    const TemporaryFolder folder;
    WriteFile(folder.Path("chunk"), chunk.content);
    std::vector<std::string> arguments{"-H", "Expect:", "-F", "file=@" + folder.Path("chunk")};
    AddHeaders(arguments, HeadersOf(chunk));
    arguments.push_back(UploadUrl(chunk));
    return Curl(arguments);
}

std::string ResumeTest::RawChunk(const ChunkOf& chunk) const {
    const std::string body = std::string("--") + Boundary +
                             "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"%2Ff\"\r\n"
                             "Content-Type: application/octet-stream\r\n\r\n" +
                             chunk.content + "\r\n--" + Boundary + "--\r\n";
    std::string head = "POST /api/1.7/resume/upload" + chunk.path + "?resume_id=" + chunk.id +
                       " HTTP/1.1\r\nHost: localhost\r\nAccept: application/json\r\nCookie: session_token=" + Token() +
                       "\r\nContent-Type: multipart/form-data; boundary=\"" + Boundary +
                       "\"\r\nContent-Length: " + std::to_string(body.size() + 3) + "\r\n";
    for (const std::string& header : HeadersOf(chunk)) {
        head += header + "\r\n";
    }
    return head + "\r\n" + body;
}

CurlResult ResumeTest::Ask(const ChunkOf& chunk) const {
    return Curl({UploadUrl(chunk)});
}

std::string ResumeTest::Received(const ChunkOf& chunk) const {
    const nlohmann::json answer = Ask(chunk).Json();
    return answer.contains("bytes_received") ? answer["bytes_received"].get<std::string>()
                                             : "error " + answer.value("errorId", std::string("without a number"));
}

bool ResumeTest::IsLocked(const ChunkOf& chunk) const {
    return Ask(chunk).Json().value("is_locked", std::string()) == "true";
}

CurlResult ResumeTest::Cancel(const ChunkOf& chunk) const {
    return Curl({"-X", "DELETE", UploadUrl(chunk)});
}

CurlResult ResumeTest::Complete(const std::string& newPath, const ChunkOf& chunk) const {
    return Curl({"-H", "qm_finish: true", "-H", "qm_new_path: " + newPath, "-H",
                 std::string("Content-Type: multipart/form-data; boundary=") + Boundary, "--data-binary",
                 std::string("--") + Boundary + "--\r\n", UploadUrl(chunk)});
}

std::size_t ResumeTest::ContentFiles() {
    const std::filesystem::directory_iterator folder(Server().DataFolder() + "/contents");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

std::uintmax_t ResumeTest::ContentBytes() {
    std::uintmax_t bytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(Server().DataFolder() + "/contents")) {
        bytes += entry.file_size();
    }
    return bytes;
}

}  // namespace appliance_test
