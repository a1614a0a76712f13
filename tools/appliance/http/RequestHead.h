// Reads the head of the next request of a connection.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <optional>

#include "http/HttpMessage.h"
#include "http/ReadBuffer.h"

namespace appliance {

// Longest request line and header fields together.
constexpr std::size_t LargestHead = 64UL * 1024;

// Empty when the peer ended the stream before a first byte. `owed` is how many bytes the body of the request before was
// short of its announced length: a client that pays them sends line breaks, so at most that many CR and LF are skipped
// before the request line. Throws ApiError for what is no HTTP request; the connection cannot go on then.
[[nodiscard]] boost::asio::awaitable<std::optional<Request>> ReadRequestHead(Transport& transport, ReadBuffer& buffer,
                                                                             std::size_t owed);

}  // namespace appliance
