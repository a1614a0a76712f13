// The byte stream below one HTTP connection: a TCP socket, plain or with TLS on it.
//
// Coroutines of one connection use it one after the other, on the connection's strand. Every call that moves bytes
// fails with boost::system::system_error when the peer is gone, when nothing moved for the idle time or when the limit
// of the present phase has passed; ConnectionAbandoned says that a fault ended the connection on purpose. After either
// the object is good for nothing but destruction.
//
// It is also where faults act on bytes (see Interference), and where bytes are counted.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "faults/Interference.h"
#include "http/TlsChannel.h"

namespace appliance {

class ConnectionAbandoned : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override { return "the connection was ended on purpose"; }
};

class Transport : public std::enable_shared_from_this<Transport> {
public:
    using Clock = std::chrono::steady_clock;

    // With a null context the stream is plain.
    Transport(boost::asio::ip::tcp::socket socket, SSL_CTX* tls, std::chrono::seconds idle);

    [[nodiscard]] boost::asio::awaitable<void> Handshake();

    // At least one byte, or 0 at the end of the stream.
    [[nodiscard]] boost::asio::awaitable<std::size_t> ReadSome(char* data, std::size_t size);

    // All of it. `more` announces that further bytes follow at once, so that the system may put them into one packet.
    [[nodiscard]] boost::asio::awaitable<void> Write(std::string_view data, bool more = false);

    // That part of a file; plain streams hand it over inside the kernel.
    [[nodiscard]] boost::asio::awaitable<void> SendFile(int file, std::uint64_t offset, std::uint64_t length);

    // Ends our side, then reads and drops what the peer still sends, for at most the idle time: late bytes must not
    // reset the reply away before the peer has read it.
    [[nodiscard]] boost::asio::awaitable<void> Linger();

    [[nodiscard]] boost::asio::awaitable<void> Pause(std::chrono::milliseconds time);

    // Ends the connection the way a fault wants it, then throws ConnectionAbandoned.
    [[noreturn]] void Abandon(StopAction action);

    // Everything until the next call has to be done by then, however steadily bytes drip in.
    void SetLimit(std::chrono::seconds limit);
    void ClearLimit();

    void InterfereWithReading(Interference interference) { m_reading = interference; }
    void InterfereWithWriting(Interference interference) { m_writing = interference; }

    // Bytes of content since the start, both ways.
    [[nodiscard]] std::uint64_t Received() const { return m_received; }
    [[nodiscard]] std::uint64_t Sent() const { return m_sent; }

    // No coroutine uses the stream any more: ends the watch over it and closes it.
    void Close();

private:
    [[nodiscard]] boost::asio::awaitable<std::size_t> ReceiveSome(char* data, std::size_t size);
    [[nodiscard]] boost::asio::awaitable<void> Send(std::string_view data, bool more);
    [[nodiscard]] boost::asio::awaitable<void> CopyFile(int file, std::uint64_t offset, std::uint64_t length);
    [[nodiscard]] boost::asio::awaitable<void> Stop(StopPoint stop);
    void ExpectProgress();
    void Watch();

    boost::asio::ip::tcp::socket m_socket;
    std::unique_ptr<TlsChannel> m_tls;
    boost::asio::steady_timer m_watch;
    std::chrono::seconds m_idle;
    std::function<void()> m_beforeWait;
    Clock::time_point m_deadline = Clock::time_point::max();
    Clock::time_point m_limit = Clock::time_point::max();
    bool m_expired = false;
    Interference m_reading;
    Interference m_writing;
    std::uint64_t m_received = 0;
    std::uint64_t m_sent = 0;
};

}  // namespace appliance
