#include "storage/Mappings.h"

#include "Pch.h"
#include "handlers/Handlers.h"
#include "http/Errors.h"

namespace appliance {

Reply ListMappings(Services& services, std::int64_t user, const Fields& query) {
    // How long clients want to wait for storages that do not answer. Here that is known without asking them.
    const std::string* timeout = FindField(query, "timeout");
    if (timeout != nullptr && !ParseNumber(*timeout)) {
        throw ApiError(ErrorId::Malformed, "The timeout is no number of seconds");
    }
    nlohmann::json contents = nlohmann::json::array();
    for (const Mapping& mapping : Mappings(services.data).List(user)) {
        contents.push_back(MappingDocument(mapping));
    }
    return JsonReply({{"contents", std::move(contents)}});
}

}  // namespace appliance
