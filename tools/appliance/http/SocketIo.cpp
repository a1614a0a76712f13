#include "http/SocketIo.h"

#include <sys/sendfile.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "Pch.h"

namespace appliance {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

constexpr std::uint64_t LargestSendFile = 1U << 30;

[[noreturn]] void ThrowErrno(int code) {
    throw boost::system::system_error(code, boost::system::system_category());
}

// What to do after a call that moved nothing: true to wait, false to call again.
bool MustWait(int code) {
    if (code == EINTR) {
        return false;
    }
    if (code != EAGAIN && code != EWOULDBLOCK) {
        ThrowErrno(code);
    }
    return true;
}

}  // namespace

asio::awaitable<std::size_t> Receive(tcp::socket& socket, char* data, std::size_t size,
                                     const std::function<void()>& beforeWait) {
    for (;;) {
        const ssize_t count = ::recv(socket.native_handle(), data, size, 0);
        if (count >= 0) {
            co_return static_cast<std::size_t>(count);
        }
        if (MustWait(errno)) {
            beforeWait();
            co_await socket.async_wait(tcp::socket::wait_read, asio::use_awaitable);
        }
    }
}

asio::awaitable<void> SendAll(tcp::socket& socket, std::string_view data, bool more,
                              const std::function<void()>& beforeWait) {
    const int flags = MSG_NOSIGNAL | (more ? MSG_MORE : 0);
    while (!data.empty()) {
        const ssize_t count = ::send(socket.native_handle(), data.data(), data.size(), flags);
        if (count >= 0) {
            data.remove_prefix(static_cast<std::size_t>(count));
        } else if (MustWait(errno)) {
            beforeWait();
            co_await socket.async_wait(tcp::socket::wait_write, asio::use_awaitable);
        }
    }
}

asio::awaitable<void> SendFilePart(tcp::socket& socket, int file, std::uint64_t offset, std::uint64_t length,
                                   const std::function<void()>& beforeWait) {
    auto position = static_cast<off_t>(offset);
    while (length > 0) {
        const auto wanted = static_cast<std::size_t>(std::min(length, LargestSendFile));
        const ssize_t count = ::sendfile(socket.native_handle(), file, &position, wanted);
        if (count > 0) {
            length -= static_cast<std::uint64_t>(count);
        } else if (count == 0) {
            ThrowErrno(EIO);  // The peer must not take what it has got for the whole.
        } else if (MustWait(errno)) {
            beforeWait();
            co_await socket.async_wait(tcp::socket::wait_write, asio::use_awaitable);
        }
    }
}

}  // namespace appliance
