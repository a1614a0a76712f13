// What a fault does around the work of a request. What it does to bytes is Interference, what it does to an answer is
// the reply writer's.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <optional>

#include "Services.h"
#include "faults/Faults.h"
#include "http/HttpMessage.h"
#include "http/Transport.h"

namespace appliance {

// The request's head has come. A reply is to be sent instead of doing the work.
[[nodiscard]] boost::asio::awaitable<std::optional<Reply>> ActBeforeWork(Services& services, const TakenFault& taken,
                                                                         const Request& request, Transport& transport);

// The work is done and the request's body has been read; the answer has not been sent.
[[nodiscard]] boost::asio::awaitable<void> ActAfterWork(Services& services, const TakenFault& taken,
                                                        Transport& transport);

}  // namespace appliance
