// The endpoints that a server offers, as its reply to the discovery request lists them.
#pragma once

#include <cstdint>
#include <map>

#include "quillmark/ResponseBuffer.h"
#include "quillmark/WideString.h"

namespace quillmark {

struct Endpoint {
    WideString path;       // URL path, never empty
    std::int32_t tos = 0;  // as the server gives it; 0 when it gives none
};

// By version key: "1.3", or "1" alone.
using EndpointMap = std::map<WideString, Endpoint>;

// Reads the endpoints for synchronising and for logging; entries without a path are left out. Either map is empty when
// the reply has no such list. False, logged, when the reply cannot be read; the maps are then not to be used. Lets only
// std::bad_alloc out. Logged "CNativeHttp::GetEndpointsFromResponse".
[[nodiscard]] bool GetEndpointsFromResponse(const ResponseBuffer& reply, EndpointMap& sync, EndpointMap& logging);

}  // namespace quillmark
