#include "integration/client/ScriptedServer.h"

namespace quillmark::testing {
namespace {

constexpr const char* Item =
    R"({"name":"item","directory":false,"revision":"7","creation_time":"2026-01-02T03:04:05.678Z",)"
    R"("modification_time":"2026-01-02T03:04:05.678Z","size":7,"attributes":128,"permissions":"WRITE",)"
    R"("folder_permissions":"WRITE"})";

// The text between two others, empty when they are not there.
std::string Between(const std::string& text, const std::string& before, const std::string& after) {
    const std::size_t start = text.find(before);
    if (start == std::string::npos) {
        return "";
    }
    const std::size_t from = start + before.size();
    return text.substr(from, text.find(after, from) - from);
}

std::string ReadBody(Peer& peer, const std::string& head) {
    const std::string boundary = Between(head, "boundary=\"", "\"");
    if (!boundary.empty()) {
        return peer.ReadThrough("--" + boundary + "--\r\n");
    }
    const std::string length = Between(head, "Content-Length: ", "\r\n");
    return length.empty() ? "" : peer.Read(std::stoul(length));
}

std::string GoodReply(const std::string& head) {
    if (head.starts_with("GET /endpoints ")) {
        return OkReply(R"({"qm":{"sync":{"1.7":{"path":"/api/1.7","tos":0}},"audit":{}}})");
    }
    if (head.starts_with("GET /api/1.7/init ")) {
        return OkReply(R"({"device_token_auth":false})");
    }
    if (head.starts_with("POST /api/1.7/sessions ")) {
        return OkReply(R"({"session_token":"T0KEN"})");
    }
    if (head.starts_with("GET /api/1.7/version ")) {
        return OkReply(R"({"quillmark_version":"1.2.3"})");
    }
    return OkReply(head.find("\r\nAccept: application/octet-stream\r\n") != std::string::npos ? "content" : Item);
}

}  // namespace

std::string OkReply(const std::string& body) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

ScriptedServer::ScriptedServer(std::string beginning, Script script)
    : m_beginning(std::move(beginning)), m_script(std::move(script)), m_server([this](Peer& peer) { Serve(peer); }) {}

void ScriptedServer::Serve(Peer& peer) {
    for (std::string head = peer.ReadHead(); !head.empty(); head = peer.ReadHead()) {
        const std::size_t start = std::min(head.find_first_not_of("\r\n"), head.size());
        const std::string request = head.substr(start) + ReadBody(peer, head);
        {
            const std::lock_guard lock(m_lock);
            m_paid += head.substr(0, start);
            m_requests.push_back(request);
        }
        if (request.starts_with(m_beginning) ? !m_script(peer) : !peer.Send(GoodReply(request))) {
            return;
        }
    }
}

std::string ScriptedServer::Request(const std::string& beginning) {
    const std::lock_guard lock(m_lock);
    for (const std::string& request : m_requests) {
        if (request.starts_with(beginning)) {
            return request;
        }
    }
    return "";
}

std::string ScriptedServer::PaidBytes() {
    const std::lock_guard lock(m_lock);
    return m_paid;
}

}  // namespace quillmark::testing
