#include "storage/Sessions.h"

#include <openssl/evp.h>

#include <mutex>

#include "storage/Random.h"

namespace appliance {

namespace {

constexpr std::size_t TokenBytes = 32;
constexpr Ticks TicksPerSecond = 10'000'000;

std::string HashOf(std::string_view token) {
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (EVP_Digest(token.data(), token.size(), hash, &length, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("a session token could not be hashed");
    }
    return ToHex({reinterpret_cast<const char*>(hash), length});
}

}  // namespace

Sessions::Sessions(Store& store, std::chrono::seconds lifetime)
    : m_store(store), m_lifetime(lifetime.count() * TicksPerSecond) {
    m_store.RemoveSessionsExpiredBy(CurrentTicks());
    for (const SessionRow& row : m_store.LoadSessions()) {
        m_sessions.emplace(row.tokenHash, Session{row.user, row.device, row.expires});
    }
}

std::string Sessions::Open(std::int64_t user, const std::string& device) {
    std::string token = ToHex(RandomBytes(TokenBytes));
    const Ticks now = CurrentTicks();
    const SessionRow row{HashOf(token), user, device, now + m_lifetime};
    m_store.RemoveSessionsExpiredBy(now);
    m_store.AddSession(row);
    const std::unique_lock lock(m_lock);
    std::erase_if(m_sessions, [&](const auto& entry) { return entry.second.expires <= now; });
    m_sessions.emplace(row.tokenHash, Session{user, device, row.expires});
    return token;
}

std::optional<Actor> Sessions::ActorOf(std::string_view token) {
    const auto session = Find(token);
    return session ? std::optional(Actor{session->user, session->device}) : std::nullopt;
}

std::optional<Sessions::Session> Sessions::Find(std::string_view token) {
    if (token.empty()) {
        return std::nullopt;
    }
    const std::string hash = HashOf(token);
    const std::shared_lock lock(m_lock);
    const auto found = m_sessions.find(hash);
    if (found == m_sessions.end() || found->second.expires <= CurrentTicks()) {
        return std::nullopt;
    }
    return found->second;
}

void Sessions::Close(std::string_view token) {
    const std::string hash = HashOf(token);
    m_store.RemoveSession(hash);
    const std::unique_lock lock(m_lock);
    m_sessions.erase(hash);
}

void Sessions::CloseAllOf(const Actor& actor) {
    m_store.RemoveSessionsOf(actor);
    const std::unique_lock lock(m_lock);
    std::erase_if(m_sessions, [&](const auto& entry) {
        return entry.second.user == actor.user && entry.second.device == actor.device;
    });
}

std::optional<std::string> Sessions::Rotate(std::string_view token) {
    const auto session = Find(token);
    if (!session) {
        return std::nullopt;
    }
    Close(token);
    return Open(session->user, session->device);
}

}  // namespace appliance
