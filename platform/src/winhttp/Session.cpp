#include "winhttp/Session.h"

#include <utility>

namespace quillmark::platform::winhttp {
namespace {

// An end that comes with the reply arrives within this time of it.
constexpr std::chrono::milliseconds WatchAfterEarlyReply{30};

}  // namespace

Session::Session(ProxyChoice proxy, std::string userAgent)
    : InternetHandle(WINHTTP_HANDLE_TYPE_SESSION, nullptr), m_proxy(std::move(proxy)) {
    m_settings.userAgent = std::move(userAgent);
}

Settings Session::CurrentSettings() const {
    const std::lock_guard lock(m_mutex);
    return m_settings;
}

bool Session::WaitsForOwedBytes(const std::string& origin) const {
    const std::lock_guard lock(m_mutex);
    return m_waitsForOwedBytes.contains(origin);
}

void Session::RememberWaitsForOwedBytes(const std::string& origin) {
    const std::lock_guard lock(m_mutex);
    m_waitsForOwedBytes.insert(origin);
}

std::unique_ptr<Channel> Session::TakeChannel(const std::string& origin) {
    while (true) {
        std::unique_ptr<Channel> channel = m_channels.Take(origin);
        const bool closed = channel->ClosesBefore(EndOfWatch(*channel, origin));
        if (channel->AnsweredEarly()) {
            const std::lock_guard lock(m_mutex);
            (closed ? m_waitsForOwedBytes : m_keepsAfterEarlyReply).insert(origin);
        }
        if (!closed) {
            return channel;
        }
    }
}

std::chrono::steady_clock::time_point Session::EndOfWatch(const Channel& channel, const std::string& origin) const {
    const std::lock_guard lock(m_mutex);
    const bool watched = channel.AnsweredEarly() && !m_keepsAfterEarlyReply.contains(origin);
    // Without a watch the moment is past: what has come by now is looked at, and nothing waited for.
    return watched ? channel.IdleSince() + WatchAfterEarlyReply : channel.IdleSince();
}

}  // namespace quillmark::platform::winhttp
