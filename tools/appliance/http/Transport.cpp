#include "http/Transport.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "Pch.h"
#include "http/SocketIo.h"

namespace appliance {

namespace asio = boost::asio;
using boost::system::error_code;
using boost::system::system_error;

namespace {

constexpr std::size_t CopyBuffer = 256UL * 1024;

[[noreturn]] void ThrowErrno(int code) {
    throw system_error(error_code(code, boost::system::system_category()));
}

}  // namespace

Transport::Transport(asio::ip::tcp::socket socket, SSL_CTX* tls, std::chrono::seconds idle)
    : m_socket(std::move(socket)),
      m_watch(m_socket.get_executor()),
      m_idle(idle),
      m_beforeWait([this] { ExpectProgress(); }) {
    error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    m_socket.native_non_blocking(true);
    if (tls != nullptr) {
        m_tls = std::make_unique<TlsChannel>(m_socket, tls, m_beforeWait);
    }
}

asio::awaitable<void> Transport::Handshake() {
    if (m_tls) {
        co_await m_tls->Handshake();
    }
}

asio::awaitable<std::size_t> Transport::ReadSome(char* data, std::size_t size) {
    std::size_t allowed = m_reading.Allowance(size);
    if (allowed == 0) {
        if (const auto stop = m_reading.TakeReachedStop()) {
            co_await Stop(*stop);
        }
        allowed = m_reading.Allowance(size);
    }
    const std::size_t count = co_await ReceiveSome(data, allowed);
    m_reading.Moved(count);
    m_received += count;
    co_return count;
}

asio::awaitable<std::size_t> Transport::ReceiveSome(char* data, std::size_t size) {
    if (m_tls) {
        const std::size_t decrypted = co_await m_tls->ReadSome(data, size);
        co_return decrypted;
    }
    const std::size_t received = co_await Receive(m_socket, data, size, m_beforeWait);
    co_return received;
}

asio::awaitable<void> Transport::Write(std::string_view data, bool more) {
    while (!data.empty()) {
        const std::size_t allowed = m_writing.Allowance(data.size());
        if (allowed > 0) {
            co_await Send(data.substr(0, allowed), more && !m_writing.IsActive());
            m_writing.Moved(allowed);
            m_sent += allowed;
            data.remove_prefix(allowed);
        }
        if (const auto stop = m_writing.TakeReachedStop()) {
            co_await Stop(*stop);
        }
    }
}

asio::awaitable<void> Transport::Send(std::string_view data, bool more) {
    if (m_tls) {
        co_await m_tls->Write(data);
    } else {
        co_await SendAll(m_socket, data, more, m_beforeWait);
    }
}

asio::awaitable<void> Transport::SendFile(int file, std::uint64_t offset, std::uint64_t length) {
    if (m_tls || m_writing.IsActive()) {
        co_await CopyFile(file, offset, length);
    } else {
        co_await SendFilePart(m_socket, file, offset, length, m_beforeWait);
        m_sent += length;
    }
}

asio::awaitable<void> Transport::CopyFile(int file, std::uint64_t offset, std::uint64_t length) {
    const auto buffer = std::make_unique_for_overwrite<char[]>(CopyBuffer);
    while (length > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(length, CopyBuffer));
        const ssize_t count = ::pread(file, buffer.get(), wanted, static_cast<off_t>(offset));
        if (count <= 0) {
            ThrowErrno(count == 0 ? EIO : errno);
        }
        const auto moved = static_cast<std::size_t>(count);
        co_await Write(std::string_view(buffer.get(), moved));
        offset += moved;
        length -= moved;
    }
}

asio::awaitable<void> Transport::Linger() {
    SetLimit(m_idle);
    m_reading = Interference();
    m_writing = Interference();
    if (m_tls) {
        co_await m_tls->SendClose();
    }
    m_socket.shutdown(asio::ip::tcp::socket::shutdown_send);
    const auto buffer = std::make_unique_for_overwrite<char[]>(CopyBuffer);
    std::size_t dropped = 0;
    do {
        dropped = co_await Receive(m_socket, buffer.get(), CopyBuffer, m_beforeWait);
    } while (dropped > 0);
}

asio::awaitable<void> Transport::Pause(std::chrono::milliseconds time) {
    m_deadline = Clock::time_point::max();
    asio::steady_timer timer(m_socket.get_executor(), time);
    co_await timer.async_wait(asio::use_awaitable);
    ExpectProgress();
}

asio::awaitable<void> Transport::Stop(StopPoint stop) {
    if (stop.action != StopAction::Stall) {
        Abandon(stop.action);
    }
    co_await Pause(stop.stallTime);
}

void Transport::Abandon(StopAction action) {
    error_code ignored;
    if (action == StopAction::Reset) {
        m_socket.set_option(asio::socket_base::linger(true, 0), ignored);
    } else {
        // Unread bytes would turn the close into a reset.
        m_socket.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
        char dropped[4096];
        while (::recv(m_socket.native_handle(), dropped, sizeof(dropped), 0) > 0) {
        }
    }
    m_socket.close(ignored);
    throw ConnectionAbandoned();
}

void Transport::SetLimit(std::chrono::seconds limit) {
    m_limit = Clock::now() + limit;
    ExpectProgress();
}

void Transport::ClearLimit() {
    m_limit = Clock::time_point::max();
}

// Only notes the time: the timer is moved when it fires too early, not at each read and write.
void Transport::ExpectProgress() {
    if (m_expired) {
        throw system_error(asio::error::timed_out);
    }
    m_deadline = std::min(Clock::now() + m_idle, m_limit);
    if (m_watch.expiry() > m_deadline || m_watch.expiry() == Clock::time_point()) {
        Watch();
    }
}

void Transport::Watch() {
    m_watch.expires_at(m_deadline);
    m_watch.async_wait([weak = weak_from_this()](const error_code& error) {
        const auto self = weak.lock();
        if (error || !self) {
            return;
        }
        if (Clock::now() >= self->m_deadline) {
            self->m_expired = true;
            error_code ignored;
            self->m_socket.cancel(ignored);
        } else {
            self->Watch();
        }
    });
}

void Transport::Close() {
    m_watch.cancel();
    error_code ignored;
    m_socket.close(ignored);
}

}  // namespace appliance
