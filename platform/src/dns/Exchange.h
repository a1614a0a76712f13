// Sends a question to the name servers and waits for the answer.
#pragma once

#include <span>

#include "dns/Configuration.h"
#include "dns/Message.h"
#include "events/Deadline.h"

namespace quillmark::platform {

// Asks the servers one after the other, a short while apart, over and over until one answers or the deadline has come;
// all that were asked are listened to. A server that refuses or fails is not asked again and the next one is
// asked at once. An answer that was cut is fetched over TCP.
// ERROR_TIMEOUT, DNS_ERROR_NO_DNS_SERVERS when none could be reached, or what the last one said when all failed.
[[nodiscard]] Answer AskServers(std::span<const NameServer> servers, const Question& question,
                                const Deadline& deadline);

}  // namespace quillmark::platform
