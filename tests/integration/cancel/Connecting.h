// Who waits for a connection that nobody takes: a black hole tells nothing, the kernel's table does.
#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace quillmark::testing {

// How many sockets of this network are trying to connect to the port.
inline int Connecting(std::uint16_t port) {
    constexpr const char* SynSent = "02";
    std::ifstream table("/proc/self/net/tcp");
    char wanted[16];
    std::snprintf(wanted, sizeof(wanted), ":%04X", static_cast<unsigned>(port));
    int count = 0;
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string number;
        std::string local;
        std::string remote;
        std::string state;
        fields >> number >> local >> remote >> state;
        count += remote.ends_with(wanted) && state == SynSent ? 1 : 0;
    }
    return count;
}

}  // namespace quillmark::testing
