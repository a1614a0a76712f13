// The logging endpoint that clients post statistics to, and what tests see of it.
#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "storage/AuditLog.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::size_t ReportedEntries = 100;

}  // namespace

asio::awaitable<Reply> PostAudit(Services& services, Exchange& exchange) {
    if (!services.options.audit) {
        throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
    }
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    const Fields fields = co_await exchange.body.ReadForm();
    AuditLog(services.data).Add(actor, RequireField(fields, "data"));
    co_return JsonReply(nlohmann::json::object());
}

Reply ReportAudit(Services& services, const Request& request) {
    if (request.method != "GET") {
        throw ApiError(ErrorId::MethodUnknown, "This endpoint has no such method");
    }
    nlohmann::json entries = nlohmann::json::array();
    for (const AuditEntry& entry : AuditLog(services.data).Last(ReportedEntries)) {
        entries.push_back(
            {{"user", entry.user}, {"device", entry.device}, {"time", FormatTicks(entry.time)}, {"data", entry.text}});
    }
    return JsonReply({{"audit", std::move(entries)}});
}

}  // namespace appliance
