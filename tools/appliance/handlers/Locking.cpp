#include <limits>

#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "storage/Locks.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

const char* WordFor(LockState state) {
    switch (state) {
        case LockState::Locked:
            return "locked";
        case LockState::ReadOnly:
            return "readonly";
        case LockState::Unlocked:
            break;
    }
    return "unlocked";
}

std::chrono::seconds RequireTimeout(const Fields& fields) {
    const auto number = ParseNumber(RequireField(fields, "timeout"));
    if (!number || *number == 0 || *number > std::numeric_limits<std::int32_t>::max()) {
        throw ApiError(ErrorId::Malformed, "The timeout is no number of seconds");
    }
    return std::chrono::seconds(*number);
}

}  // namespace

asio::awaitable<Reply> GetLock(Services& services, Exchange& exchange) {
    const std::int64_t user = RequireActor(services, exchange.request, exchange.target).user;
    const ItemPath path = RequireItemPath(exchange.target.itemPath);
    co_return JsonReply({{"status", WordFor(Locks(services.data).StateOf(user, path))}});
}

asio::awaitable<Reply> TakeLock(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    const ItemPath path = RequireItemPath(exchange.target.itemPath);
    const Fields fields = co_await exchange.body.ReadForm();
    Locks(services.data).Take(actor, path, RequireTimeout(fields));
    co_return JsonReply({{"status", WordFor(LockState::Locked)}});
}

asio::awaitable<Reply> ReleaseLock(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    Locks(services.data).Release(actor, RequireItemPath(exchange.target.itemPath));
    co_return JsonReply({{"status", WordFor(LockState::Unlocked)}});
}

}  // namespace appliance
