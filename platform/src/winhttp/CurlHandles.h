// Owners of libcurl's handles, and its one-time initialisation.
#pragma once

#include <curl/curl.h>

#include <memory>

namespace quillmark::platform::winhttp {

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;
using MultiHandle = std::unique_ptr<CURLM, MultiDeleter>;
using List = std::unique_ptr<curl_slist, ListDeleter>;
using UrlHandle = std::unique_ptr<CURLU, UrlDeleter>;

// Initialises libcurl once in the process; false when it cannot be used. It is never shut down: look-ups that were
// given up may still be running on threads of their own.
[[nodiscard]] bool InitialiseCurl();

}  // namespace quillmark::platform::winhttp
