#include "unit/winhttp/RawServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace quillmark::test {

namespace {

// A socket bound to a free loopback port.
int BoundSocket(std::uint16_t& port) {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (descriptor < 0 || bind(descriptor, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "no loopback port");
    }
    port = ntohs(address.sin_port);
    return descriptor;
}

}  // namespace

Peer::Peer(int descriptor, int number, const TlsIdentity* identity) : m_descriptor(descriptor), m_number(number) {
    const int on = 1;
    setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    if (identity != nullptr) {
        m_tls = SSL_new(identity->ServerContext());
        SSL_set_fd(m_tls, m_descriptor);
        m_dead = SSL_accept(m_tls) != 1;
    }
}

Peer::~Peer() {
    if (m_tls != nullptr) {
        if (!m_dead) {
            SSL_shutdown(m_tls);
        }
        SSL_free(m_tls);
    }
    close(m_descriptor);
}

std::size_t Peer::Receive(char* buffer, std::size_t size) {
    if (m_dead) {
        return 0;
    }
    const auto count = m_tls != nullptr ? SSL_read(m_tls, buffer, static_cast<int>(size))
                                        : static_cast<int>(recv(m_descriptor, buffer, size, 0));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool Peer::Fill() {
    char buffer[65536];
    const std::size_t count = Receive(buffer, sizeof(buffer));
    m_buffered.append(buffer, count);
    return count != 0;
}

std::string Peer::ReadThrough(std::string_view text) {
    std::size_t end = std::string::npos;
    while ((end = m_buffered.find(text)) == std::string::npos && Fill()) {
    }
    return Read(end == std::string::npos ? m_buffered.size() : end + text.size());
}

std::string Peer::Read(std::size_t count) {
    while (m_buffered.size() < count && Fill()) {
    }
    std::string bytes = m_buffered.substr(0, count);
    m_buffered.erase(0, bytes.size());
    return bytes;
}

std::string Peer::ReadToEnd() {
    while (Fill()) {
    }
    return std::exchange(m_buffered, {});
}

bool Peer::Send(std::string_view bytes) {
    while (!bytes.empty() && !m_dead) {
        const auto count = m_tls != nullptr
                               ? SSL_write(m_tls, bytes.data(), static_cast<int>(bytes.size()))
                               : static_cast<int>(send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL));
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return !m_dead;
}

void Peer::Reset() {
    const linger now{1, 0};
    setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof(now));
    m_dead = true;
}

void Peer::Abort() {
    shutdown(m_descriptor, SHUT_RDWR);
}

RawServer::RawServer(Script script, const TlsIdentity* identity)
    : m_script(std::move(script)), m_identity(identity), m_listener(BoundSocket(m_port)) {
    if (listen(m_listener, SOMAXCONN) != 0) {
        throw std::system_error(errno, std::generic_category(), "listen");
    }
    m_acceptor = std::thread([this] { Accept(); });
}

RawServer::~RawServer() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        for (Peer* peer : m_peers) {
            peer->Abort();
        }
    }
    shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    close(m_listener);
}

void RawServer::Accept() {
    // OpenSSL writes to connections that the other side has closed; the threads below inherit this.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    while (true) {
        const int descriptor = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) {
            return;
        }
        const int number = m_connections++;
        m_threads.emplace_back([this, descriptor, number] {
            Peer peer(descriptor, number, m_identity);
            {
                const std::lock_guard lock(m_mutex);
                m_peers.push_back(&peer);
                if (m_stopping) {
                    peer.Abort();
                }
            }
            m_script(peer);
            const std::lock_guard lock(m_mutex);
            std::erase(m_peers, &peer);
        });
    }
}

BlackHole::BlackHole() : m_listener(BoundSocket(m_port)) {
    listen(m_listener, 0);
    // Connections that nobody accepts, until one more stays without an answer.
    for (bool full = false; !full;) {
        const int filler = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        m_fillers.push_back(filler);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(m_port);
        // On loopback an answer is there before connect returns, so "in progress" means that there is none.
        full = connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 && m_fillers.size() > 1;
        if (full) {
            tcp_info info{};
            socklen_t size = sizeof(info);
            getsockopt(filler, IPPROTO_TCP, TCP_INFO, &info, &size);
            full = info.tcpi_state == TCP_SYN_SENT;
        }
    }
}

BlackHole::~BlackHole() {
    for (const int filler : m_fillers) {
        close(filler);
    }
    close(m_listener);
}

std::uint16_t UnusedPort() {
    std::uint16_t port = 0;
    close(BoundSocket(port));
    return port;
}

}  // namespace quillmark::test
