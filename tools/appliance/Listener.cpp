#include "Listener.h"

#include "Pch.h"
#include "http/HttpConnection.h"

namespace appliance {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

// When descriptors have run out, others have to be closed first.
constexpr std::chrono::milliseconds AcceptPause{50};

}  // namespace

Listener::Listener(asio::io_context& io, const ListenAddress& address, SSL_CTX* tls, Services& services,
                   std::atomic<std::size_t>& open)
    : m_io(io),
      m_acceptor(asio::make_strand(io)),
      m_address(address.address),
      m_tls(tls),
      m_services(services),
      m_open(open) {
    try {
        const tcp::endpoint endpoint(asio::ip::make_address(address.address), address.port);
        m_acceptor.open(endpoint.protocol());
        m_acceptor.set_option(tcp::acceptor::reuse_address(true));
        m_acceptor.bind(endpoint);
        m_acceptor.listen();
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("cannot listen on " + address.address + ':' + std::to_string(address.port) + ": " +
                                 error.code().message());
    }
}

void Listener::Start() {
    asio::co_spawn(m_acceptor.get_executor(), Accept(), asio::detached);
}

ListenAddress Listener::BoundAddress() const {
    return {m_address, m_acceptor.local_endpoint().port()};
}

asio::awaitable<void> Listener::Accept() {
    for (;;) {
        tcp::socket socket(asio::make_strand(m_io));
        boost::system::error_code error;
        co_await m_acceptor.async_accept(socket, asio::redirect_error(asio::use_awaitable, error));
        if (error) {
            asio::steady_timer pause(m_acceptor.get_executor(), AcceptPause);
            co_await pause.async_wait(asio::use_awaitable);
            continue;
        }
        if (m_open >= m_services.options.maxConnections) {
            continue;
        }
        ++m_open;
        std::shared_ptr<void> slot(nullptr, [open = &m_open](void*) { --*open; });
        const auto strand = socket.get_executor();
        asio::co_spawn(strand, ServeConnection(std::move(socket), m_tls, m_services, std::move(slot)), asio::detached);
    }
}

}  // namespace appliance
