#include "winhttp/Session.h"

#include <utility>

namespace quillmark::platform::winhttp {
namespace {

// An end that comes with the reply arrives within this time of it.
constexpr std::chrono::milliseconds kWatchAfterEarlyReply{30};

}  // namespace

Session::Session(ProxyChoice proxy, std::string userAgent)
    : InternetHandle(WINHTTP_HANDLE_TYPE_SESSION, nullptr), proxy_(std::move(proxy)) {
    settings_.userAgent = std::move(userAgent);
}

Settings Session::CurrentSettings() const {
    const std::lock_guard lock(mutex_);
    return settings_;
}

bool Session::WaitsForOwedBytes(const std::string& origin) const {
    const std::lock_guard lock(mutex_);
    return waitsForOwedBytes_.contains(origin);
}

void Session::RememberWaitsForOwedBytes(const std::string& origin) {
    const std::lock_guard lock(mutex_);
    waitsForOwedBytes_.insert(origin);
}

std::unique_ptr<Channel> Session::TakeChannel(const std::string& origin) {
    while (true) {
        std::unique_ptr<Channel> channel = channels_.Take(origin);
        const bool closed = channel->ClosesBefore(EndOfWatch(*channel, origin));
        if (channel->AnsweredEarly()) {
            const std::lock_guard lock(mutex_);
            (closed ? waitsForOwedBytes_ : keepsAfterEarlyReply_).insert(origin);
        }
        if (!closed) {
            return channel;
        }
    }
}

std::chrono::steady_clock::time_point Session::EndOfWatch(const Channel& channel, const std::string& origin) const {
    const std::lock_guard lock(mutex_);
    const bool watched = channel.AnsweredEarly() && !keepsAfterEarlyReply_.contains(origin);
    // Without a watch the moment is past: what has come by now is looked at, and nothing waited for.
    return watched ? channel.IdleSince() + kWatchAfterEarlyReply : channel.IdleSince();
}

}  // namespace quillmark::platform::winhttp
