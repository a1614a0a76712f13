// Everything about a transfer that libcurl is told in advance: what goes on the wire, and which of libcurl's own habits
// are switched off.
#pragma once

#include <string>

#include "winhttp/CurlHandles.h"
#include "winhttp/RequestHeaders.h"
#include "winhttp/Session.h"
#include "winhttp/Settings.h"
#include "winhttp/Target.h"

namespace quillmark::platform::winhttp {

// One request as it goes out. A redirect or an answered challenge is a plan of its own.
struct TransferPlan {
    Target target;
    std::string verb;
    bool http10 = false;
    RequestHeaders headers;
    // Announced length of the body.
    std::uint64_t bodyLength = 0;
    DWORD disabledFeatures = 0;
    // Set when a challenge is answered.
    Credentials server;
    Credentials proxy;
};

// Resets the easy handle and sets it up for the plan, callbacks apart. Returns the header list, which the caller keeps
// until the transfer is over. Throws std::bad_alloc.
[[nodiscard]] List ApplyPlan(CURL* easy, const TransferPlan& plan, Session& session);

}  // namespace quillmark::platform::winhttp
