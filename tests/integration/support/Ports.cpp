#include "integration/support/Ports.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillmark::testing {
namespace {

sockaddr_in Loopback(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

}  // namespace

std::uint16_t FreePort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Loopback(0);
    socklen_t length = sizeof(address);
    const bool bound = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
                       ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    ::close(socket);
    return bound ? ntohs(address.sin_port) : 0;
}

bool AcceptsConnections(std::uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    const bool connected = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    ::close(socket);
    return connected;
}

}  // namespace quillmark::testing
