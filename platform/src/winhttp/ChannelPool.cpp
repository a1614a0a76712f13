#include "winhttp/ChannelPool.h"

#include <new>
#include <utility>
#include <vector>

namespace quillmark::platform::winhttp {

Channel::Channel() : multi_(curl_multi_init()), easy_(curl_easy_init()) {
    if (multi_ == nullptr || easy_ == nullptr) {
        throw std::bad_alloc();
    }
    curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, 1L);
}

std::unique_ptr<Channel> ChannelPool::Take(const std::string& origin) {
    std::deque<Idle> expired;
    {
        const std::lock_guard lock(mutex_);
        const auto found = idle_.find(origin);
        if (found != idle_.end() && !found->second.empty()) {
            if (Clock::now() - found->second.back().since < kLongestIdle) {
                std::unique_ptr<Channel> channel = std::move(found->second.back().channel);
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
    Idle oldest;
    const std::lock_guard lock(mutex_);
    if (closed_) {
        return;
    }
    std::deque<Idle>& idle = idle_[origin];
    if (idle.size() == kMostIdle) {
        oldest = std::move(idle.front());
        idle.pop_front();
    }
    idle.push_back({std::move(channel), Clock::now()});
}

void ChannelPool::Close() {
    std::map<std::string, std::deque<Idle>> idle;
    const std::lock_guard lock(mutex_);
    closed_ = true;
    idle.swap(idle_);
}

}  // namespace quillmark::platform::winhttp
