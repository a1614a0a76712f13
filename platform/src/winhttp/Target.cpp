#include "winhttp/Target.h"

#include <algorithm>

#include "winhttp/CurlHandles.h"
#include "winhttp/Text.h"

namespace quillmark::platform::winhttp {

namespace {

constexpr std::uint16_t HttpPort = 80;
constexpr std::uint16_t HttpsPort = 443;

bool IsHostCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-' ||
           c == '_';
}

bool IsAddressCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == ':' || c == '.';
}

std::optional<std::string> Part(CURLU* url, CURLUPart part, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, flags) != CURLUE_OK) {
        return std::nullopt;
    }
    std::string copy(text);
    curl_free(text);
    return copy;
}

}  // namespace

std::string Target::Url() const {
    return Origin() + object;
}

std::string Target::Origin() const {
    std::string origin = (secure ? "https://" : "http://") + host;
    if (port != (secure ? HttpsPort : HttpPort)) {
        origin += ":" + std::to_string(port);
    }
    return origin;
}

std::optional<std::string> HostFromServerName(std::string_view serverName) {
    if (serverName.starts_with('[') && serverName.ends_with(']')) {
        serverName = serverName.substr(1, serverName.size() - 2);
        if (serverName.find(':') == std::string_view::npos) {
            return std::nullopt;
        }
    }
    if (serverName.empty()) {
        return std::nullopt;
    }
    if (serverName.find(':') != std::string_view::npos) {
        if (std::count(serverName.begin(), serverName.end(), ':') < 2 ||
            !std::all_of(serverName.begin(), serverName.end(), IsAddressCharacter)) {
            return std::nullopt;
        }
        return "[" + std::string(serverName) + "]";
    }
    if (!std::all_of(serverName.begin(), serverName.end(), IsHostCharacter)) {
        return std::nullopt;
    }
    return std::string(serverName);
}

std::optional<std::string> ObjectFromPath(std::string_view path) {
    const bool clean = std::all_of(path.begin(), path.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte > 0x20 && byte < 0x7F && c != '#';
    });
    if (!clean) {
        return std::nullopt;
    }
    return path.starts_with('/') ? std::string(path) : "/" + std::string(path);
}

std::optional<Target> Resolve(const Target& base, const std::string& location) {
    const UrlHandle url(curl_url());
    if (url == nullptr || curl_url_set(url.get(), CURLUPART_URL, base.Url().c_str(), CURLU_PATH_AS_IS) != CURLUE_OK ||
        curl_url_set(url.get(), CURLUPART_URL, location.c_str(), CURLU_URLENCODE) != CURLUE_OK) {
        return std::nullopt;
    }
    const auto scheme = Part(url.get(), CURLUPART_SCHEME);
    const auto host = Part(url.get(), CURLUPART_HOST);
    const auto port = Part(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
    auto object = Part(url.get(), CURLUPART_PATH);
    std::uint64_t number = 0;
    if (!scheme || !host || !port || !object || !ParseNumber(*port, number) || number > 65535 ||
        (*scheme != "http" && *scheme != "https")) {
        return std::nullopt;
    }
    if (const auto query = Part(url.get(), CURLUPART_QUERY)) {
        *object += "?" + *query;
    }
    return Target{*scheme == "https", *host, static_cast<std::uint16_t>(number), *object};
}

}  // namespace quillmark::platform::winhttp
