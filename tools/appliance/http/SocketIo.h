// Moving bytes over a non-blocking socket: tried at once, and only when nothing moves is the event loop asked to wait.
// A busy connection then costs one system call per block and no hand-over between threads.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <string_view>

namespace appliance {

// At least one byte, or 0 at the end of the stream. `beforeWait` runs before each wait. Errors are
// boost::system::system_error.
[[nodiscard]] boost::asio::awaitable<std::size_t> Receive(boost::asio::ip::tcp::socket& socket, char* data,
                                                          std::size_t size, const std::function<void()>& beforeWait);

// All of it. `more` announces that further bytes follow at once.
[[nodiscard]] boost::asio::awaitable<void> SendAll(boost::asio::ip::tcp::socket& socket, std::string_view data,
                                                   bool more, const std::function<void()>& beforeWait);

// That part of a file, handed over inside the kernel. A file that turns out to be shorter is an error.
[[nodiscard]] boost::asio::awaitable<void> SendFilePart(boost::asio::ip::tcp::socket& socket, int file,
                                                        std::uint64_t offset, std::uint64_t length,
                                                        const std::function<void()>& beforeWait);

}  // namespace appliance
