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
        const std::lock_guard lock(m_mutex);
        m_set = true;
        if (m_multi != nullptr) {
            curl_multi_wakeup(m_multi);
        }
    }

    [[nodiscard]] bool IsSet() const { return m_set; }

    // The multi handle that is waited on from now on, or null. The handle outlives its being watched.
    void Watch(CURLM* multi) {
        const std::lock_guard lock(m_mutex);
        m_multi = multi;
    }

private:
    std::mutex m_mutex;
    std::atomic<bool> m_set{false};
    CURLM* m_multi = nullptr;
};

}  // namespace quillmark::platform::winhttp
