// Which endpoint a request addresses, and who is asking.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Services.h"
#include "http/HttpMessage.h"
#include "http/RequestBody.h"
#include "storage/Actor.h"

namespace appliance {

// Where a request goes: the endpoint list at the root, or a resource below an offered API path.
struct Target {
    std::string_view resource;   // such as "/folders", without the API path
    std::string_view itemPath;   // what follows the resource, still encoded
    std::string_view pathToken;  // session token in the path, as clients of version 1.0 send it
    bool kerberos = false;       // on the branch whose user a front end has authenticated
};

// One request on its way through a handler.
struct Exchange {
    const Request& request;
    RequestBody& body;
    Target target;
};

// Empty when no offered API path is meant.
std::optional<Target> FindTarget(const Options& options, const Request& request);

// The session token that came with the request; empty when none did.
std::string_view SessionTokenOf(const Request& request, const Target& target);

// For whom, and on which device, the request acts. Throws SessionInvalid, or on the Kerberos branch IdentityMissing.
Actor RequireActor(const Services& services, const Request& request, const Target& target);

// The name that a trusted front end vouches for; throws IdentityMissing when there is none.
std::string RequireFrontEndName(const Services& services, const Request& request);

}  // namespace appliance
