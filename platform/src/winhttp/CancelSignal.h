// How the thread that closes a request's handle reaches the thread that is blocked in the request.
#pragma once

#include <curl/curl.h>

#include <atomic>
#include <mutex>

namespace quillmark::platform::winhttp {

class CancelSignal {
public:
    // From any thread, once or more: the call that waits on the multi handle wakes up and finds IsSet.
    void Set() {
        const std::lock_guard lock(mutex_);
        set_ = true;
        if (multi_ != nullptr) {
            curl_multi_wakeup(multi_);
        }
    }

    [[nodiscard]] bool IsSet() const { return set_; }

    // The multi handle that is waited on from now on, or null. The handle outlives its being watched.
    void Watch(CURLM* multi) {
        const std::lock_guard lock(mutex_);
        multi_ = multi;
    }

private:
    std::mutex mutex_;
    std::atomic<bool> set_{false};
    CURLM* multi_ = nullptr;
};

}  // namespace quillmark::platform::winhttp
