#include "http/TlsChannel.h"

#include <openssl/bio.h>
#include <openssl/err.h>

#include "Pch.h"
#include "http/SocketIo.h"

namespace appliance {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

constexpr std::size_t NetworkBuffer = 256UL * 1024;
constexpr std::size_t RecordSize = 16UL * 1024;

}  // namespace

TlsChannel::TlsChannel(asio::ip::tcp::socket& socket, SSL_CTX* context, std::function<void()> beforeWait)
    : m_socket(socket), m_beforeWait(std::move(beforeWait)), m_ssl(SSL_new(context)) {
    BIO* inner = nullptr;
    BIO* network = nullptr;
    if (!m_ssl || BIO_new_bio_pair(&inner, NetworkBuffer, &network, NetworkBuffer) != 1) {
        throw std::bad_alloc();
    }
    m_network.reset(network);
    SSL_set_bio(m_ssl.get(), inner, inner);
    SSL_set_accept_state(m_ssl.get());
    SSL_set_mode(m_ssl.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
}

asio::awaitable<void> TlsChannel::Handshake() {
    for (;;) {
        ERR_clear_error();
        const int result = SSL_do_handshake(m_ssl.get());
        m_lastError = SSL_get_error(m_ssl.get(), result);
        co_await Flush();
        if (result == 1) {
            co_return;
        }
        if (m_lastError == SSL_ERROR_WANT_READ) {
            const bool more = co_await Pull();
            if (!more) {
                throw boost::system::system_error(asio::error::eof);
            }
        } else if (m_lastError != SSL_ERROR_WANT_WRITE) {
            Fail();
        }
    }
}

asio::awaitable<std::size_t> TlsChannel::ReadSome(char* data, std::size_t size) {
    for (;;) {
        const std::size_t count = Decrypt(data, size);
        if (count > 0) {
            co_return count;
        }
        co_await Flush();
        if (m_lastError == SSL_ERROR_ZERO_RETURN) {
            co_return 0;
        }
        if (m_lastError == SSL_ERROR_WANT_READ) {
            const bool more = co_await Pull();
            if (!more) {
                co_return 0;
            }
        } else if (m_lastError != SSL_ERROR_WANT_WRITE) {
            Fail();
        }
    }
}

// Everything that has arrived and fits, so that the caller sees large blocks instead of records.
std::size_t TlsChannel::Decrypt(char* data, std::size_t size) {
    std::size_t total = 0;
    while (total < size) {
        std::size_t count = 0;
        ERR_clear_error();
        const int result = SSL_read_ex(m_ssl.get(), data + total, size - total, &count);
        if (result != 1) {
            m_lastError = SSL_get_error(m_ssl.get(), result);
            break;
        }
        total += count;
    }
    return total;
}

asio::awaitable<void> TlsChannel::Write(std::string_view data) {
    while (!data.empty()) {
        std::size_t count = 0;
        ERR_clear_error();
        const int result = SSL_write_ex(m_ssl.get(), data.data(), std::min(data.size(), RecordSize), &count);
        if (result == 1) {
            data.remove_prefix(count);
            continue;
        }
        m_lastError = SSL_get_error(m_ssl.get(), result);
        if (m_lastError == SSL_ERROR_WANT_WRITE) {
            co_await Flush();
        } else if (m_lastError == SSL_ERROR_WANT_READ) {
            co_await Flush();
            const bool more = co_await Pull();
            if (!more) {
                throw boost::system::system_error(asio::error::eof);
            }
        } else {
            Fail();
        }
    }
    co_await Flush();
}

asio::awaitable<void> TlsChannel::SendClose() {
    ERR_clear_error();
    SSL_shutdown(m_ssl.get());
    co_await Flush();
}

asio::awaitable<bool> TlsChannel::Pull() {
    char* space = nullptr;
    const int room = BIO_nwrite0(m_network.get(), &space);
    if (room <= 0) {
        co_return true;  // The pair is full: there is something to decrypt.
    }
    const std::size_t count = co_await Receive(m_socket, space, static_cast<std::size_t>(room), m_beforeWait);
    if (count == 0) {
        co_return false;
    }
    BIO_nwrite(m_network.get(), &space, static_cast<int>(count));
    co_return true;
}

asio::awaitable<void> TlsChannel::Flush() {
    for (;;) {
        char* bytes = nullptr;
        const int ready = BIO_nread0(m_network.get(), &bytes);
        if (ready <= 0) {
            co_return;
        }
        co_await SendAll(m_socket, std::string_view(bytes, static_cast<std::size_t>(ready)), false, m_beforeWait);
        BIO_nread(m_network.get(), &bytes, ready);
    }
}

void TlsChannel::Fail() {
    const error_code error(static_cast<int>(ERR_get_error() & 0x7FFFFFFF), boost::system::generic_category());
    throw boost::system::system_error(error, "TLS");
}

}  // namespace appliance
