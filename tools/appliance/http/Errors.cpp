#include "http/Errors.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace appliance {

namespace {

struct ErrorEntry {
    ErrorId id;
    unsigned status;
    unsigned severity;  // 1: the client can put it right itself, 2: a person has to, 3: the server's own trouble
};

constexpr std::array Errors{
    ErrorEntry{ErrorId::SessionInvalid, 401, 1},
    ErrorEntry{ErrorId::Malformed, 400, 2},
    ErrorEntry{ErrorId::ItemMissing, 404, 1},
    ErrorEntry{ErrorId::ItemExists, 409, 1},
    ErrorEntry{ErrorId::WrongKind, 409, 1},
    ErrorEntry{ErrorId::Refused, 403, 2},
    ErrorEntry{ErrorId::CredentialsRefused, 401, 2},
    ErrorEntry{ErrorId::DeviceRefused, 401, 2},
    ErrorEntry{ErrorId::IdentityMissing, 401, 2},
    ErrorEntry{ErrorId::DeviceRegistered, 400, 1},
    ErrorEntry{ErrorId::BodyMismatch, 400, 1},
    ErrorEntry{ErrorId::BodyTooLarge, 413, 2},
    ErrorEntry{ErrorId::LengthMissing, 411, 2},
    ErrorEntry{ErrorId::HeadTooLarge, 431, 2},
    ErrorEntry{ErrorId::BodyTypeUnsupported, 415, 2},
    ErrorEntry{ErrorId::ItemLocked, 423, 1},
    ErrorEntry{ErrorId::StorageOffline, 503, 3},
    ErrorEntry{ErrorId::EndpointUnknown, 404, 2},
    ErrorEntry{ErrorId::MethodUnknown, 405, 2},
    ErrorEntry{ErrorId::RevisionMismatch, 409, 1},
    ErrorEntry{ErrorId::UploadOutOfStep, 409, 1},
    ErrorEntry{ErrorId::JobNotReady, 409, 1},
    ErrorEntry{ErrorId::Internal, 500, 3},
    ErrorEntry{ErrorId::StorageFull, 507, 3},
};

const ErrorEntry& EntryOf(ErrorId id) {
    return *std::find_if(Errors.begin(), Errors.end(), [&](const ErrorEntry& entry) { return entry.id == id; });
}

// Both numbers are texts on the wire.
nlohmann::json ErrorDocument(const ErrorEntry& entry, const std::string& message) {
    return {{"errorId", std::to_string(static_cast<unsigned>(entry.id))},
            {"severity", std::to_string(entry.severity)},
            {"message", message}};
}

}  // namespace

Reply ErrorReply(ErrorId id, const std::string& message) {
    const ErrorEntry& entry = EntryOf(id);
    Reply reply;
    reply.status = entry.status;
    reply.body = JsonText(ErrorDocument(entry, message));
    return reply;
}

Reply MismatchReply(const nlohmann::json& currentItem) {
    const ErrorEntry& entry = EntryOf(ErrorId::RevisionMismatch);
    nlohmann::json document = ErrorDocument(entry, "The item has another revision by now");
    document["document_info"] = currentItem;
    Reply reply;
    reply.status = entry.status;
    reply.body = JsonText(document);
    return reply;
}

Reply JsonReply(const nlohmann::json& document) {
    Reply reply;
    reply.body = JsonText(document);
    return reply;
}

std::string JsonText(const nlohmann::json& document) {
    return document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace appliance
