#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <system_error>

#include "unit/winhttp/RawSocket.h"

namespace quillmark::test {

namespace {

sockaddr_in Loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

int Number(RawSocket socket) {
    return static_cast<int>(socket);
}

}  // namespace

RawSocket BindRaw(std::uint16_t& port) {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof(address);
    if (descriptor < 0 || bind(descriptor, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "no loopback port");
    }
    port = ntohs(address.sin_port);
    return descriptor;
}

void ListenRaw(RawSocket listener, int queue) {
    if (listen(Number(listener), queue) != 0) {
        throw std::system_error(errno, std::generic_category(), "listen");
    }
}

RawSocket AcceptRaw(RawSocket listener) {
    const int descriptor = accept4(Number(listener), nullptr, nullptr, SOCK_CLOEXEC);
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    return descriptor < 0 ? NoSocket : descriptor;
}

void StopAccepting(RawSocket listener) {
    shutdown(Number(listener), SHUT_RDWR);
}

std::size_t ReceiveRaw(RawSocket socket, char* buffer, std::size_t size) {
    const auto count = recv(Number(socket), buffer, size, 0);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t SendRaw(RawSocket socket, std::string_view bytes) {
    const auto count = send(Number(socket), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void ShutRaw(RawSocket socket) {
    shutdown(Number(socket), SHUT_RDWR);
}

void ResetAtClose(RawSocket socket) {
    const linger now{1, 0};
    setsockopt(Number(socket), SOL_SOCKET, SO_LINGER, &now, sizeof(now));
}

void CloseRaw(RawSocket socket) {
    close(Number(socket));
}

RawSocket BeginConnect(std::uint16_t port, bool& pending) {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const sockaddr_in address = Loopback(port);
    // On loopback an answer is there before connect returns, so "in progress" means that there is none.
    pending = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0;
    if (pending) {
        tcp_info info{};
        socklen_t size = sizeof(info);
        getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size);
        pending = info.tcpi_state == TCP_SYN_SENT;
    }
    return descriptor;
}

void IgnoreBrokenPipes() {
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
}

}  // namespace quillmark::test
