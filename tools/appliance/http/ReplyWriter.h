// Puts a reply on the wire.
#pragma once

#include <boost/asio/awaitable.hpp>

#include "faults/Fault.h"
#include "http/HttpMessage.h"
#include "http/Transport.h"

namespace appliance {

// Head and body. `fault` may be null; else it acts on the answer's bytes and announcements.
[[nodiscard]] boost::asio::awaitable<void> WriteReply(Transport& transport, const Reply& reply, bool keepAlive,
                                                      const Fault* fault);

}  // namespace appliance
