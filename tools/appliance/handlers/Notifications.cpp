#include "Pch.h"
#include "handlers/Handlers.h"
#include "http/Errors.h"
#include "storage/ChangeFeed.h"

namespace appliance {

namespace asio = boost::asio;

asio::awaitable<Reply> GetChanges(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    const auto handover = services.changes.Collect(actor);
    Reply reply = JsonReply({{"contents", handover->Contents()}});
    // What does not reach the connection comes again.
    reply.written = [handover] { handover->Complete(); };
    co_return reply;
}

}  // namespace appliance
