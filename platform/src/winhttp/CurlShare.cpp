#include "winhttp/CurlShare.h"

#include <new>

namespace quillmark::platform::winhttp {

CurlShare::CurlShare() : m_share(curl_share_init()) {
    if (m_share == nullptr) {
        throw std::bad_alloc();
    }
    curl_share_setopt(m_share, CURLSHOPT_LOCKFUNC, &CurlShare::Lock);
    curl_share_setopt(m_share, CURLSHOPT_UNLOCKFUNC, &CurlShare::Unlock);
    curl_share_setopt(m_share, CURLSHOPT_USERDATA, this);
    curl_share_setopt(m_share, CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
    curl_share_setopt(m_share, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
    curl_share_setopt(m_share, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
}

CurlShare::~CurlShare() {
    curl_share_cleanup(m_share);
}

void CurlShare::Lock(CURL* /*easy*/, curl_lock_data data, curl_lock_access /*access*/, void* self) {
    static_cast<CurlShare*>(self)->m_locks[data].lock();
}

void CurlShare::Unlock(CURL* /*easy*/, curl_lock_data data, void* self) {
    static_cast<CurlShare*>(self)->m_locks[data].unlock();
}

}  // namespace quillmark::platform::winhttp
