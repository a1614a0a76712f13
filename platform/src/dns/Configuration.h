// Where look-ups go: what the machine's resolver configuration says.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <string>
#include <vector>

namespace quillmark::platform {

struct NameServer {
    sockaddr_storage address{};
    socklen_t length = 0;
};

struct ResolverConfiguration {
    // In the order of preference; at least one.
    std::vector<NameServer> servers;
    // The domains in which names without a dot are tried.
    std::vector<std::string> searchList;
    std::string hostsPath;
    unsigned budgetMilliseconds = 2000;
};

// Reads a file in the form of resolv.conf. Lines that make no sense are passed over; without any name server in it,
// or without the file, the server is the one of this machine. At most three servers count, as everywhere.
[[nodiscard]] ResolverConfiguration ReadResolverConfiguration(const std::string& resolverPath, std::string hostsPath);

}  // namespace quillmark::platform
