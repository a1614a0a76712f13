#include "dns/Socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quillmark::platform {

Socket::Socket(const NameServer& server, int kind)
    : m_descriptor(socket(server.address.ss_family, kind | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    // A datagram socket is connected too, so that only this server's messages reach it and its refusal is an error.
    if (IsOpen() && connect(m_descriptor, reinterpret_cast<const sockaddr*>(&server.address), server.length) != 0 &&
        errno != EINPROGRESS) {
        close(std::exchange(m_descriptor, -1));
    }
}

Socket::~Socket() {
    if (IsOpen()) {
        close(m_descriptor);
    }
}

Socket::Socket(Socket&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

bool Socket::AwaitReady(short event, const Deadline& deadline) const {
    for (;;) {
        pollfd waited = {.fd = m_descriptor, .events = event, .revents = 0};
        const timespec remaining = deadline.Remaining();
        const int ready = ppoll(&waited, 1, &remaining, nullptr);
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
    }
}

bool Socket::SendAll(std::span<const std::uint8_t> bytes, const Deadline& deadline) const {
    while (!bytes.empty()) {
        if (!AwaitReady(POLLOUT, deadline)) {
            return false;
        }
        const ssize_t sent = send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR && errno != EAGAIN) {
            return false;
        }
        bytes = bytes.subspan(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
    return true;
}

bool Socket::ReceiveAll(std::span<std::uint8_t> bytes, const Deadline& deadline) const {
    while (!bytes.empty()) {
        if (!AwaitReady(POLLIN, deadline)) {
            return false;
        }
        const ssize_t received = recv(m_descriptor, bytes.data(), bytes.size(), 0);
        if (received == 0 || (received < 0 && errno != EINTR && errno != EAGAIN)) {
            return false;
        }
        bytes = bytes.subspan(received < 0 ? 0 : static_cast<std::size_t>(received));
    }
    return true;
}

}  // namespace quillmark::platform
