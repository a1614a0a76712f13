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
constexpr std::size_t kMostLastBytes = 1024 * 1024;

}  // namespace

Channel::Channel() : multi_(curl_multi_init()), easy_(curl_easy_init()) {
    if (multi_ == nullptr || easy_ == nullptr) {
        throw std::bad_alloc();
    }
    curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, 1L);
}

void Channel::EndExchange(bool answeredEarly) {
    answeredEarly_ = answeredEarly;
    idleSince_ = std::chrono::steady_clock::now();
    if (curl_easy_getinfo(easy_.get(), CURLINFO_ACTIVESOCKET, &socket_) != CURLE_OK) {
        socket_ = CURL_SOCKET_BAD;
    }
}

bool Channel::ClosesBefore(std::chrono::steady_clock::time_point moment) const {
    if (socket_ == CURL_SOCKET_BAD) {
        return false;
    }
    pollfd entry{socket_, POLLIN | POLLRDHUP, 0};
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(moment - std::chrono::steady_clock::now());
    // Interrupted, it is as if nothing had come.
    return ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(wait.count(), 0))) > 0;
}

int Channel::OnCloseSocket(void* self, curl_socket_t socket) {
    auto& channel = *static_cast<Channel*>(self);
    if (channel.keepLastBytes_) {
        std::array<char, 16384> buffer;
        ssize_t count = 0;
        while (channel.lastBytes_.size() < kMostLastBytes &&
               (count = recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
            channel.lastBytes_.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }
    return close(socket);
}

std::unique_ptr<Channel> ChannelPool::Take(const std::string& origin) {
    std::deque<std::unique_ptr<Channel>> expired;
    {
        const std::lock_guard lock(mutex_);
        const auto found = idle_.find(origin);
        if (found != idle_.end() && !found->second.empty()) {
            if (Clock::now() - found->second.back()->IdleSince() < kLongestIdle) {
                std::unique_ptr<Channel> channel = std::move(found->second.back());
                found->second.pop_back();
                return channel;
            }
            // The newest is too old, so all are. They are closed after the lock is left.
            expired = std::move(found->second);
            idle_.erase(found);
        }
    }
    return std::make_unique<Channel>();
}

void ChannelPool::Keep(const std::string& origin, std::unique_ptr<Channel> channel) {
    std::unique_ptr<Channel> oldest;
    const std::lock_guard lock(mutex_);
    if (closed_) {
        return;
    }
    std::deque<std::unique_ptr<Channel>>& idle = idle_[origin];
    if (idle.size() == kMostIdle) {
        oldest = std::move(idle.front());
        idle.pop_front();
    }
    idle.push_back(std::move(channel));
}

void ChannelPool::Close() {
    std::map<std::string, std::deque<std::unique_ptr<Channel>>> idle;
    const std::lock_guard lock(mutex_);
    closed_ = true;
    idle.swap(idle_);
}

}  // namespace quillmark::platform::winhttp
