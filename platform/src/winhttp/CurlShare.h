// What the requests of a session share although each drives a libcurl handle of its own: cookies, name look-ups and TLS
// sessions. Any number of threads may use handles that are attached to it. It outlives all of them.
#pragma once

#include <curl/curl.h>

#include <array>
#include <mutex>

namespace quillmark::platform::winhttp {

class CurlShare {
public:
    // Throws std::bad_alloc.
    CurlShare();
    ~CurlShare();
    CurlShare(const CurlShare&) = delete;
    CurlShare& operator=(const CurlShare&) = delete;

    [[nodiscard]] CURLSH* Get() const { return m_share; }

private:
    static void Lock(CURL* easy, curl_lock_data data, curl_lock_access access, void* self);
    static void Unlock(CURL* easy, curl_lock_data data, void* self);

    std::array<std::mutex, CURL_LOCK_DATA_LAST> m_locks;
    CURLSH* m_share;
};

}  // namespace quillmark::platform::winhttp
