// Accepts the connections of one address and lets each be served on a strand of its own.
#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>

#include "Options.h"
#include "Services.h"

namespace appliance {

class Listener {
public:
    // Binds and listens, so that clients can connect when the constructor returns. `open` counts the connections of all
    // listeners. Throws std::runtime_error when the address is not to be had.
    Listener(boost::asio::io_context& io, const ListenAddress& address, SSL_CTX* tls, Services& services,
             std::atomic<std::size_t>& open);

    // Starts accepting.
    void Start();

    // With the port that the system chose where 0 was asked for.
    [[nodiscard]] ListenAddress BoundAddress() const;

private:
    [[nodiscard]] boost::asio::awaitable<void> Accept();

    boost::asio::io_context& m_io;
    boost::asio::ip::tcp::acceptor m_acceptor;
    std::string m_address;
    SSL_CTX* m_tls;
    Services& m_services;
    std::atomic<std::size_t>& m_open;
};

}  // namespace appliance
