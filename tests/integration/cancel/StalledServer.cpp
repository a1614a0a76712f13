#include "integration/cancel/StalledServer.h"

#include <chrono>
#include <tuple>
#include <utility>

namespace quillmark::testing {
namespace {

constexpr const char* ItemReply =
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

bool IsDiscovery(const std::string& head) {
    return head.starts_with("GET /endpoints ") || head.starts_with("GET /api/1.7/init ");
}

void ReadBody(test::Peer& peer, const std::string& head) {
    const std::string boundary = Between(head, "boundary=\"", "\"");
    if (!boundary.empty()) {
        std::ignore = peer.ReadThrough("--" + boundary + "--\r\n");
        return;
    }
    const std::string length = Between(head, "Content-Length: ", "\r\n");
    if (!length.empty()) {
        std::ignore = peer.Read(std::stoul(length));
    }
}

std::string GoodReply(const std::string& head) {
    if (head.starts_with("GET /endpoints ")) {
        return JsonReply(
            R"({"qm":{"sync":{"1.7":{"path":"/api/1.7","tos":0}},"audit":{"1.0":{"path":"/api/audit","tos":0}}}})");
    }
    if (head.starts_with("GET /api/1.7/init ")) {
        return JsonReply(R"({"device_token_auth":false})");
    }
    if (head.starts_with("POST /api/1.7/sessions ")) {
        return JsonReply(R"({"session_token":"T0KEN"})");
    }
    if (head.starts_with("GET /api/1.7/version ")) {
        return JsonReply(R"({"quillmark_version":"1.2.3"})");
    }
    return JsonReply(head.find("application/octet-stream") != std::string::npos ? "content" : ItemReply);
}

}  // namespace

std::string JsonReply(const std::string& body) {
    return BeginningOfReply(body.size(), body);
}

std::string BeginningOfReply(std::size_t length, const std::string& bytes) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n" + bytes;
}

StalledServer::StalledServer(Stall stall)
    : m_stall(std::move(stall)), m_server([this](test::Peer& peer) { Serve(peer); }) {}

StalledServer::~StalledServer() {
    {
        const std::lock_guard lock(m_lock);
        m_ended = true;
    }
    m_changed.notify_all();
}

bool StalledServer::AwaitStall(int count) {
    std::unique_lock lock(m_lock);
    return m_changed.wait_for(lock, std::chrono::minutes(1), [&] { return m_stalled >= count; });
}

void StalledServer::Release() {
    {
        const std::lock_guard lock(m_lock);
        m_released = true;
    }
    m_changed.notify_all();
}

int StalledServer::Matches() {
    const std::lock_guard lock(m_lock);
    return m_matches;
}

bool StalledServer::Take(const std::string& head) {
    const std::lock_guard lock(m_lock);
    const bool meant = m_stall.request.empty() ? !IsDiscovery(head) : head.starts_with(m_stall.request);
    return meant && ++m_matches <= m_stall.count;
}

bool StalledServer::HoldUp(test::Peer& peer, const std::string& head) {
    if (m_stall.readsRequest) {
        ReadBody(peer, head);
    }
    peer.Send(m_stall.reply);
    std::unique_lock lock(m_lock);
    ++m_stalled;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_released || m_ended; });
    const bool released = m_released;
    lock.unlock();
    return released && peer.Send(GoodReply(head));
}

void StalledServer::Serve(test::Peer& peer) {
    for (std::string head = peer.ReadHead(); !head.empty(); head = peer.ReadHead()) {
        head.erase(0, head.find_first_not_of("\r\n"));
        if (Take(head)) {
            if (!HoldUp(peer, head)) {
                return;
            }
            continue;
        }
        ReadBody(peer, head);
        if (!peer.Send(GoodReply(head))) {
            return;
        }
    }
}

}  // namespace quillmark::testing
