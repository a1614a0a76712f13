#include "winhttp/CurlHandles.h"

namespace quillmark::platform::winhttp {

bool InitialiseCurl() {
    static const bool initialised = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return initialised;
}

}  // namespace quillmark::platform::winhttp
