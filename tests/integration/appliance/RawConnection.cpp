#include "integration/appliance/RawConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace appliance_test {

namespace {

// Longer than anything a healthy server needs; a test that runs into it fails on what is missing.
constexpr int PatienceMilliseconds = 20'000;

std::size_t AnnouncedLength(const std::string& head) {
    constexpr std::string_view name = "\r\nContent-Length: ";
    const std::size_t at = head.find(name);
    return at == std::string::npos ? 0 : std::stoull(head.substr(at + name.size()));
}

}  // namespace

RawConnection::RawConnection(std::uint16_t port) {
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        throw std::system_error(errno, std::generic_category(), "connect");
    }
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

RawConnection::~RawConnection() {
    ::close(m_socket);
}

bool RawConnection::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool RawConnection::SendByteByByte(std::string_view bytes) {
    for (const char& byte : bytes) {
        if (!Send(std::string_view(&byte, 1))) {
            return false;
        }
    }
    return true;
}

void RawConnection::EndSending() {
    ::shutdown(m_socket, SHUT_WR);
}

RawReply RawConnection::ReadReply() {
    RawReply reply;
    std::size_t end = m_received.find("\r\n\r\n");
    while (end == std::string::npos) {
        if (!Fill()) {
            reply.body = m_received;
            return reply;
        }
        end = m_received.find("\r\n\r\n");
    }
    reply.head = m_received.substr(0, end + 2);
    m_received.erase(0, end + 4);
    reply.status = std::stoi(reply.head.substr(9, 3));
    const std::size_t length = AnnouncedLength(reply.head);
    while (m_received.size() < length && Fill()) {
    }
    reply.body = m_received.substr(0, length);
    m_received.erase(0, length);
    return reply;
}

std::string RawConnection::ReadAll() {
    while (Fill()) {
    }
    return std::exchange(m_received, {});
}

RawEnd RawConnection::WaitForEnd(std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !WaitForBytes(left)) {
            return RawEnd::StillOpen;
        }
        if (!Fill()) {
            return m_reset ? RawEnd::Reset : RawEnd::EndOfStream;
        }
    }
}

bool RawConnection::WaitForBytes(std::chrono::milliseconds time) {
    pollfd entry{m_socket, POLLIN, 0};
    return ::poll(&entry, 1, static_cast<int>(time.count())) > 0;
}

bool RawConnection::Fill() {
    if (!WaitForBytes(std::chrono::milliseconds(PatienceMilliseconds))) {
        return false;
    }
    char block[65536];
    const ssize_t count = ::recv(m_socket, block, sizeof(block), 0);
    if (count <= 0) {
        m_reset = count < 0 && errno == ECONNRESET;
        return false;
    }
    m_received.append(block, static_cast<std::size_t>(count));
    return true;
}

}  // namespace appliance_test
