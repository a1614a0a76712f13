// Remote wipes: a device's acknowledgement, and the order, which here comes through the control path.
#include "storage/Devices.h"

#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "storage/Sessions.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

// A name without an account has no device either.
std::optional<Actor> FindActor(Services& services, const std::string& user, const std::string& device) {
    const auto known = services.store.FindUser(user);
    return known ? std::optional(Actor{known->id, device}) : std::nullopt;
}

[[noreturn]] void RefuseUnknown() {
    throw ApiError(ErrorId::ItemMissing, "There is no such device");
}

}  // namespace

asio::awaitable<Reply> AcknowledgeWipe(Services& services, Exchange& exchange) {
    const Fields fields = co_await exchange.body.ReadForm();
    const auto actor = FindActor(services, RequireField(fields, "username"), RequireField(fields, "device_id"));
    if (!actor || !Devices(services.data).AcknowledgeWipe(*actor)) {
        RefuseUnknown();
    }
    Reply reply;
    reply.status = 204;
    co_return reply;
}

asio::awaitable<Reply> OrderWipe(Services& services, const Request& request, RequestBody& body) {
    if (request.method != "POST") {
        throw ApiError(ErrorId::MethodUnknown, "This endpoint has no such method");
    }
    const Fields fields = co_await body.ReadForm();
    const auto actor = FindActor(services, RequireField(fields, "user"), RequireField(fields, "device"));
    if (!actor || !Devices(services.data).OrderWipe(*actor)) {
        RefuseUnknown();
    }
    services.sessions.CloseAllOf(*actor);
    co_return JsonReply({{"ordered", true}});
}

}  // namespace appliance
