// A server whose every byte and every close is written out by the test.
//
// Listens on a free loopback port. Each connection gets a thread of its own that runs the script with it; the
// connection is closed when the script returns. The destructor ends all of them: what a script waits for then comes to
// its end.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "unit/winhttp/RawStream.h"
#include "unit/winhttp/TlsIdentity.h"

namespace quillmark::test {

// One accepted connection.
class Peer {
public:
    // Takes the socket; with an identity the connection is secure from the first byte.
    Peer(RawSocket socket, int number, const TlsIdentity* identity);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // The connections of a server are numbered from 0.
    [[nodiscard]] int Number() const { return m_number; }

    // A request's head with its blank line; what is there when the connection ends first.
    [[nodiscard]] std::string ReadHead() { return ReadThrough("\r\n\r\n"); }

    // Bytes up to and with that text.
    [[nodiscard]] std::string ReadThrough(std::string_view text);

    // So many bytes, fewer when the connection ends first.
    [[nodiscard]] std::string Read(std::size_t count);

    // Everything until the other side closes.
    std::string ReadToEnd();

    // False when the other side is gone.
    bool Send(std::string_view bytes);

    // Ends the connection with a reset.
    void Reset();

    // Ends every wait of the script, from another thread.
    void Abort();

private:
    bool Fill();

    const RawSocket m_socket;
    const int m_number;
    std::unique_ptr<RawStream> m_stream;
    std::string m_buffered;
    bool m_dead = false;
};

class RawServer {
public:
    using Script = std::function<void(Peer&)>;

    explicit RawServer(Script script, const TlsIdentity* identity = nullptr);
    ~RawServer();
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;

    // Where clients connect to.
    [[nodiscard]] std::uint16_t Port() const { return m_port; }

    // How many connections were accepted so far.
    [[nodiscard]] int Connections() const { return m_connections; }

private:
    void Accept();
    void Serve(RawSocket socket, int number);

    const Script m_script;
    const TlsIdentity* const m_identity;
    std::uint16_t m_port = 0;
    RawSocket m_listener;
    std::atomic<int> m_connections{0};
    std::mutex m_mutex;
    bool m_stopping = false;
    std::vector<Peer*> m_peers;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
};

// A listener that takes no connection: its queue is full, so that connecting to it neither succeeds nor fails.
class BlackHole {
public:
    BlackHole();
    ~BlackHole();
    BlackHole(const BlackHole&) = delete;
    BlackHole& operator=(const BlackHole&) = delete;

    [[nodiscard]] std::uint16_t Port() const { return m_port; }

private:
    std::uint16_t m_port = 0;
    RawSocket m_listener;
    std::vector<RawSocket> m_fillers;
};

// A port on which nothing listens.
[[nodiscard]] std::uint16_t UnusedPort();

}  // namespace quillmark::test
