#include "Pch.h"
#include "handlers/Handlers.h"
#include "http/Errors.h"

namespace appliance {

namespace asio = boost::asio;
using nlohmann::json;

namespace {

constexpr const char* LoggingVersion = "1.0";

}  // namespace

asio::awaitable<Reply> AnswerEndpoints(Services& services, Exchange&) {
    json sync = json::object();
    for (const OfferedApi& api : services.options.apis) {
        sync[api.version] = {{"path", api.path}, {"tos", services.options.tos}};
    }
    json audit = json::object();
    if (services.options.audit) {
        audit[LoggingVersion] = {{"path", std::string(LoggingPath)}, {"tos", services.options.tos}};
    }
    co_return JsonReply({{"qm", {{"sync", sync}, {"audit", audit}}}});
}

asio::awaitable<Reply> AnswerInit(Services& services, Exchange&) {
    co_return JsonReply({{"device_token_auth", services.options.deviceTokenAuth}});
}

asio::awaitable<Reply> AnswerVersion(Services& services, Exchange&) {
    co_return JsonReply({{"quillmark_version", services.options.versionText}});
}

}  // namespace appliance
