// One connection of a client from its first byte to its last: heads, bodies, answers, keep-alive, faults.
#pragma once

#include <openssl/ssl.h>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>

#include "Services.h"

namespace appliance {

// Serves the connection until either side ends it; throws nothing. Runs on the socket's executor, which has to be a
// strand. `slot` is held as long as that lasts. With a null context the connection is plain.
[[nodiscard]] boost::asio::awaitable<void> ServeConnection(boost::asio::ip::tcp::socket socket, SSL_CTX* tls,
                                                           Services& services, std::shared_ptr<void> slot);

}  // namespace appliance
