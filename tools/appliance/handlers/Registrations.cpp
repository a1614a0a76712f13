// Registering a device with a user's account. No session: the letter that the user is sent has to be answered by
// whoever reads the user's mail.
#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "storage/Devices.h"
#include "storage/Outbox.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

struct RegistrationForm {
    std::string user;
    Actor actor;
    Registration registration;
};

RegistrationForm ReadRegistration(Services& services, const Fields& fields) {
    RegistrationForm form;
    form.user = RequireField(fields, "user_id");
    form.actor.device = RequireField(fields, "device_id");
    form.registration = {RequireField(fields, "device_name"), RequireField(fields, "platform")};
    const auto user = services.store.FindUser(form.user);
    if (!user) {
        throw ApiError(ErrorId::CredentialsRefused, "There is no such user");
    }
    form.actor.user = user->id;
    return form;
}

void SendConfirmation(const Outbox& outbox, const RegistrationForm& form) {
    outbox.Post({{"kind", "registration"},
                 {"recipient", form.user},
                 {"device_id", form.actor.device},
                 {"device_name", form.registration.name},
                 {"platform", form.registration.platform}});
}

}  // namespace

asio::awaitable<Reply> PostRegistration(Services& services, Exchange& exchange) {
    const Fields fields = co_await exchange.body.ReadForm();
    const RegistrationForm form = ReadRegistration(services, fields);
    const bool again = exchange.target.itemPath == "/resend";
    if (!again && !exchange.target.itemPath.empty()) {
        throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
    }
    Devices devices(services.data);
    if (again && !devices.IsRegistered(form.actor)) {
        throw ApiError(ErrorId::ItemMissing, "The device is not registered");
    }
    if (!again && !devices.Register(form.actor, form.registration)) {
        // Clients look for these words, and ask for the letter again.
        throw ApiError(ErrorId::DeviceRegistered,
                       "The user " + form.user + " has registered the device " + form.actor.device + " already");
    }
    SendConfirmation(services.outbox, form);
    co_return JsonReply(nlohmann::json::object());
}

}  // namespace appliance
