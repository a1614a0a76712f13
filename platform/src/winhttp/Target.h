// Where a request goes: scheme, host, port and the request target, checked before they are used.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmark::platform::winhttp {

struct Target {
    bool secure = false;
    // As in a URL: an IPv6 literal has its brackets.
    std::string host;
    std::uint16_t port = 0;
    // Path and query, with a leading "/".
    std::string object;

    [[nodiscard]] std::string Url() const;

    // What distinguishes connections from each other.
    [[nodiscard]] std::string Origin() const;
};

// A host as it stands in a URL, from a server name; nothing when it is no host name or address literal.
[[nodiscard]] std::optional<std::string> HostFromServerName(std::string_view serverName);

// The request target for an object path; nothing when it holds what cannot stand in a request line.
[[nodiscard]] std::optional<std::string> ObjectFromPath(std::string_view path);

// Where a Location header leads from a target; nothing when it leads to no http or https URL.
[[nodiscard]] std::optional<Target> Resolve(const Target& base, const std::string& location);

}  // namespace quillmark::platform::winhttp
