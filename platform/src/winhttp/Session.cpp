#include "winhttp/Session.h"

#include <utility>

namespace quillmark::platform::winhttp {

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

}  // namespace quillmark::platform::winhttp
