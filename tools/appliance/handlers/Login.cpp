#include <algorithm>

#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "storage/ChangeFeed.h"
#include "storage/Devices.h"
#include "storage/Passwords.h"
#include "storage/Sessions.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

User CheckPassword(Services& services, const Fields& fields) {
    const std::string& name = RequireField(fields, "user_id");
    const std::string& password = RequireField(fields, "password");
    auto user = services.store.FindUser(name);
    if (!user) {
        PretendToVerify(password);
    }
    if (!user || !VerifyPassword(password, user->passwordHash)) {
        throw ApiError(ErrorId::CredentialsRefused, "The user name or the password is wrong");
    }
    return std::move(*user);
}

// On the Kerberos branch the front end has checked who it is; the form's name and password count for nothing.
User CheckIdentity(Services& services, const Request& request) {
    auto user = services.store.FindUser(RequireFrontEndName(services, request));
    if (!user) {
        throw ApiError(ErrorId::IdentityMissing, "The authenticated user has no account here");
    }
    return std::move(*user);
}

void CheckDevice(const Options& options, const Fields& fields) {
    if (!options.deviceTokenAuth) {
        return;
    }
    const std::string* token = FindField(fields, "device_token");
    const auto& good = options.deviceTokens;
    if (token == nullptr || std::find(good.begin(), good.end(), *token) == good.end()) {
        throw ApiError(ErrorId::DeviceRefused, "The device token is missing or unknown");
    }
}

// A session for the device, which is told of changes from now on. The wipe is looked for behind the opening: an order
// ends the sessions that are there, so whichever of the two comes second sees the other.
std::string OpenSession(Services& services, const Actor& actor) {
    services.changes.Begin(actor);
    std::string token = services.sessions.Open(actor.user, actor.device);
    if (Devices(services.data).IsToBeWiped(actor)) {
        services.sessions.Close(token);
        throw ApiError(ErrorId::DeviceRefused, "The device is to be wiped");
    }
    return token;
}

// The operator's text as JSON when it is JSON, else as a text.
nlohmann::json PolicyBlock(const std::string& text) {
    auto parsed = nlohmann::json::parse(text, nullptr, false);
    return parsed.is_discarded() ? nlohmann::json(text) : parsed;
}

}  // namespace

asio::awaitable<Reply> Login(Services& services, Exchange& exchange) {
    const Fields fields = co_await exchange.body.ReadForm();
    const std::string& device = RequireField(fields, "device_id");
    const User user =
        exchange.target.kerberos ? CheckIdentity(services, exchange.request) : CheckPassword(services, fields);
    CheckDevice(services.options, fields);
    nlohmann::json document{{"session_token", OpenSession(services, {user.id, device})}};
    if (!services.options.policyBlock.empty()) {
        document["policy_block"] = PolicyBlock(services.options.policyBlock);
    }
    co_return JsonReply(document);
}

}  // namespace appliance
