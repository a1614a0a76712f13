#include "dns/Configuration.h"

#include <netdb.h>

#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>

namespace quillmark::platform {
namespace {

constexpr std::size_t MostServers = 3;
constexpr std::size_t MostDomains = 6;

std::optional<NameServer> ParseServer(const std::string& address) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.c_str(), "53", &hints, &found) != 0) {
        return std::nullopt;
    }
    NameServer server;
    std::memcpy(&server.address, found->ai_addr, found->ai_addrlen);
    server.length = found->ai_addrlen;
    freeaddrinfo(found);
    return server;
}

std::vector<std::string> Words(std::istringstream& line, std::size_t most) {
    std::vector<std::string> words;
    for (std::string word; words.size() < most && line >> word;) {
        words.push_back(word);
    }
    return words;
}

}  // namespace

ResolverConfiguration ReadResolverConfiguration(const std::string& resolverPath, std::string hostsPath) {
    ResolverConfiguration configuration;
    configuration.hostsPath = std::move(hostsPath);
    std::ifstream file(resolverPath);
    for (std::string text; std::getline(file, text);) {
        std::istringstream line(text);
        std::string keyword;
        line >> keyword;
        if (keyword == "nameserver" && configuration.servers.size() < MostServers) {
            std::string address;
            line >> address;
            if (const auto server = ParseServer(address)) {
                configuration.servers.push_back(*server);
            }
        } else if (keyword == "search" || keyword == "domain") {
            // The last line of either kind counts.
            configuration.searchList = Words(line, keyword == "domain" ? 1 : MostDomains);
        }
    }
    if (configuration.servers.empty()) {
        configuration.servers.push_back(*ParseServer("127.0.0.1"));
    }
    return configuration;
}

}  // namespace quillmark::platform
