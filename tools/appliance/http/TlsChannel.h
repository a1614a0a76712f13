// TLS over a non-blocking TCP socket, with buffers large enough that one system call moves many records.
//
// The caller's coroutine drives it; nothing runs in between. Errors of the socket come as boost::system::system_error,
// so do violations of TLS itself.
#pragma once

#include <openssl/ssl.h>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <memory>
#include <string_view>

namespace appliance {

class TlsChannel {
public:
    // `beforeWait` is called before each wait for the socket.
    TlsChannel(boost::asio::ip::tcp::socket& socket, SSL_CTX* context, std::function<void()> beforeWait);

    [[nodiscard]] boost::asio::awaitable<void> Handshake();
    // At least one byte, or 0 at the end of the stream (announced or not).
    [[nodiscard]] boost::asio::awaitable<std::size_t> ReadSome(char* data, std::size_t size);
    [[nodiscard]] boost::asio::awaitable<void> Write(std::string_view data);
    // Tells the peer that nothing more comes.
    [[nodiscard]] boost::asio::awaitable<void> SendClose();

private:
    struct SslDeleter {
        void operator()(SSL* ssl) const { SSL_free(ssl); }
    };
    struct BioDeleter {
        void operator()(BIO* bio) const { BIO_free(bio); }
    };

    // False at the end of the stream.
    [[nodiscard]] boost::asio::awaitable<bool> Pull();
    [[nodiscard]] boost::asio::awaitable<void> Flush();
    [[nodiscard]] std::size_t Decrypt(char* data, std::size_t size);
    [[noreturn]] void Fail();

    boost::asio::ip::tcp::socket& m_socket;
    std::function<void()> m_beforeWait;
    std::unique_ptr<SSL, SslDeleter> m_ssl;
    std::unique_ptr<BIO, BioDeleter> m_network;  // our end of the pair whose other end belongs to m_ssl
    int m_lastError = SSL_ERROR_NONE;
};

}  // namespace appliance
