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

Peer::Peer(int descriptor, int number, const TlsIdentity* identity) : descriptor_(descriptor), number_(number) {
    const int on = 1;
    setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    if (identity != nullptr) {
        tls_ = SSL_new(identity->ServerContext());
        SSL_set_fd(tls_, descriptor_);
        dead_ = SSL_accept(tls_) != 1;
    }
}

Peer::~Peer() {
    if (tls_ != nullptr) {
        if (!dead_) {
            SSL_shutdown(tls_);
        }
        SSL_free(tls_);
    }
    close(descriptor_);
}

std::size_t Peer::Receive(char* buffer, std::size_t size) {
    if (dead_) {
        return 0;
    }
    const auto count = tls_ != nullptr ? SSL_read(tls_, buffer, static_cast<int>(size))
                                       : static_cast<int>(recv(descriptor_, buffer, size, 0));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool Peer::Fill() {
    char buffer[65536];
    const std::size_t count = Receive(buffer, sizeof(buffer));
    buffered_.append(buffer, count);
    return count != 0;
}

std::string Peer::ReadThrough(std::string_view text) {
    std::size_t end = std::string::npos;
    while ((end = buffered_.find(text)) == std::string::npos && Fill()) {
    }
    return Read(end == std::string::npos ? buffered_.size() : end + text.size());
}

std::string Peer::Read(std::size_t count) {
    while (buffered_.size() < count && Fill()) {
    }
    std::string bytes = buffered_.substr(0, count);
    buffered_.erase(0, bytes.size());
    return bytes;
}

std::string Peer::ReadToEnd() {
    while (Fill()) {
    }
    return std::exchange(buffered_, {});
}

bool Peer::Send(std::string_view bytes) {
    while (!bytes.empty() && !dead_) {
        const auto count = tls_ != nullptr
                               ? SSL_write(tls_, bytes.data(), static_cast<int>(bytes.size()))
                               : static_cast<int>(send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return !dead_;
}

void Peer::Reset() {
    const linger now{1, 0};
    setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &now, sizeof(now));
    dead_ = true;
}

void Peer::Abort() {
    shutdown(descriptor_, SHUT_RDWR);
}

RawServer::RawServer(Script script, const TlsIdentity* identity)
    : script_(std::move(script)), identity_(identity), listener_(BoundSocket(port_)) {
    if (listen(listener_, SOMAXCONN) != 0) {
        throw std::system_error(errno, std::generic_category(), "listen");
    }
    acceptor_ = std::thread([this] { Accept(); });
}

RawServer::~RawServer() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (Peer* peer : peers_) {
            peer->Abort();
        }
    }
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    close(listener_);
}

void RawServer::Accept() {
    // OpenSSL writes to connections that the other side has closed; the threads below inherit this.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    while (true) {
        const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) {
            return;
        }
        const int number = connections_++;
        threads_.emplace_back([this, descriptor, number] {
            Peer peer(descriptor, number, identity_);
            {
                const std::lock_guard lock(mutex_);
                peers_.push_back(&peer);
                if (stopping_) {
                    peer.Abort();
                }
            }
            script_(peer);
            const std::lock_guard lock(mutex_);
            std::erase(peers_, &peer);
        });
    }
}

BlackHole::BlackHole() : listener_(BoundSocket(port_)) {
    listen(listener_, 0);
    // Connections that nobody accepts, until one more stays without an answer.
    for (bool full = false; !full;) {
        const int filler = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        fillers_.push_back(filler);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port_);
        // On loopback an answer is there before connect returns, so "in progress" means that there is none.
        full = connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 && fillers_.size() > 1;
        if (full) {
            tcp_info info{};
            socklen_t size = sizeof(info);
            getsockopt(filler, IPPROTO_TCP, TCP_INFO, &info, &size);
            full = info.tcpi_state == TCP_SYN_SENT;
        }
    }
}

BlackHole::~BlackHole() {
    for (const int filler : fillers_) {
        close(filler);
    }
    close(listener_);
}

std::uint16_t UnusedPort() {
    std::uint16_t port = 0;
    close(BoundSocket(port));
    return port;
}

}  // namespace quillmark::test
