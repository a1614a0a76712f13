#include "unit/winhttp/RawServer.h"

#include <algorithm>
#include <utility>

namespace quillmark::test {

namespace {

// More connections than a test makes at once.
constexpr int QueueLength = 128;

std::unique_ptr<RawStream> StreamOf(RawSocket socket, const TlsIdentity* identity) {
    if (identity != nullptr) {
        return identity->Accept(socket);
    }
    return std::make_unique<PlainStream>(socket);
}

}  // namespace

Peer::Peer(RawSocket socket, int number, const TlsIdentity* identity)
    : m_socket(socket), m_number(number), m_stream(StreamOf(socket, identity)) {}

Peer::~Peer() {
    // A secure stream takes its leave.
    m_stream.reset();
    CloseRaw(m_socket);
}

bool Peer::Fill() {
    char buffer[65536];
    const std::size_t count = m_dead ? 0 : m_stream->Receive(buffer, sizeof(buffer));
    m_buffered.append(buffer, count);
    return count != 0;
}

std::string Peer::ReadThrough(std::string_view text) {
    std::size_t end = std::string::npos;
    std::size_t seen = 0;  // the text does not begin before that
    while ((end = m_buffered.find(text, seen)) == std::string::npos) {
        seen = m_buffered.size() - std::min(m_buffered.size(), text.size());
        if (!Fill()) {
            break;
        }
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
        const std::size_t count = m_stream->Send(bytes);
        if (count == 0) {
            return false;
        }
        bytes.remove_prefix(count);
    }
    return !m_dead;
}

void Peer::Reset() {
    ResetAtClose(m_socket);
    m_stream->Abandon();
    m_dead = true;
}

void Peer::Abort() {
    ShutRaw(m_socket);
}

RawServer::RawServer(Script script, const TlsIdentity* identity)
    : m_script(std::move(script)), m_identity(identity), m_listener(BindRaw(m_port)) {
    ListenRaw(m_listener, QueueLength);
    if (identity != nullptr) {
        m_port = identity->PortInFrontOf(m_port);
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
    StopAccepting(m_listener);
    m_acceptor.join();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    CloseRaw(m_listener);
}

void RawServer::Accept() {
    IgnoreBrokenPipes();
    while (true) {
        const RawSocket socket = AcceptRaw(m_listener);
        if (socket == NoSocket) {
            return;
        }
        {
            const std::lock_guard lock(m_mutex);
            if (m_stopping) {
                CloseRaw(socket);
                return;
            }
        }
        const int number = m_connections++;
        m_threads.emplace_back([this, socket, number] { Serve(socket, number); });
    }
}

void RawServer::Serve(RawSocket socket, int number) {
    Peer peer(socket, number, m_identity);
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
}

BlackHole::BlackHole() : m_listener(BindRaw(m_port)) {
    ListenRaw(m_listener, 0);
    // Connections that nobody accepts, until one more stays without an answer.
    for (bool full = false; !full;) {
        m_fillers.push_back(BeginConnect(m_port, full));
    }
}

BlackHole::~BlackHole() {
    for (const RawSocket filler : m_fillers) {
        CloseRaw(filler);
    }
    CloseRaw(m_listener);
}

std::uint16_t UnusedPort() {
    std::uint16_t port = 0;
    CloseRaw(BindRaw(port));
    return port;
}

}  // namespace quillmark::test
