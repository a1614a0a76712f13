#include "winhttp/ChannelPool.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>
#include <vector>

namespace quillmark::platform::winhttp {

namespace {

// A head and the body of an error.
constexpr std::size_t MostLastBytes = 1024UL * 1024;

}  // namespace

Channel::Channel() : m_multi(curl_multi_init()), m_easy(curl_easy_init()) {
    if (m_multi == nullptr || m_easy == nullptr) {
        throw std::bad_alloc();
    }
    curl_multi_setopt(m_multi.get(), CURLMOPT_MAXCONNECTS, 1L);
}

void Channel::EndExchange(bool answeredEarly) {
    m_answeredEarly = answeredEarly;
    m_idleSince = std::chrono::steady_clock::now();
    if (curl_easy_getinfo(m_easy.get(), CURLINFO_ACTIVESOCKET, &m_socket) != CURLE_OK) {
        m_socket = CURL_SOCKET_BAD;
    }
}

bool Channel::ClosesBefore(std::chrono::steady_clock::time_point moment) const {
    if (m_socket == CURL_SOCKET_BAD) {
        return false;
    }
    pollfd entry{m_socket, POLLIN | POLLRDHUP, 0};
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(moment - std::chrono::steady_clock::now());
    // Interrupted, it is as if nothing had come.
    return ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(wait.count(), 0))) > 0;
}

int Channel::OnCloseSocket(void* self, curl_socket_t socket) {
    auto& channel = *static_cast<Channel*>(self);
    if (channel.m_keepLastBytes) {
        std::array<char, 16384> buffer;
        ssize_t count = 0;
        while (channel.m_lastBytes.size() < MostLastBytes &&
               (count = recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
            channel.m_lastBytes.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }
    return close(socket);
}

std::unique_ptr<Channel> ChannelPool::Take(const std::string& origin) {
    std::deque<std::unique_ptr<Channel>> expired;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_idle.find(origin);
        if (found != m_idle.end() && !found->second.empty()) {
            if (Clock::now() - found->second.back()->IdleSince() < LongestIdle) {
                std::unique_ptr<Channel> channel = std::move(found->second.back());
                found->second.pop_back();
                return channel;
            }
            // The newest is too old, so all are. They are closed after the lock is left.
            expired = std::move(found->second);
            m_idle.erase(found);
        }
    }
    return std::make_unique<Channel>();
}

void ChannelPool::Keep(const std::string& origin, std::unique_ptr<Channel> channel) {
    std::unique_ptr<Channel> oldest;
    const std::lock_guard lock(m_mutex);
    if (m_closed) {
        return;
    }
    std::deque<std::unique_ptr<Channel>>& idle = m_idle[origin];
    if (idle.size() == MostIdle) {
        oldest = std::move(idle.front());
        idle.pop_front();
    }
    idle.push_back(std::move(channel));
}

void ChannelPool::Close() {
    std::map<std::string, std::deque<std::unique_ptr<Channel>>> idle;
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    idle.swap(m_idle);
}

}  // namespace quillmark::platform::winhttp
