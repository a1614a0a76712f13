// The server's errors: one number each, with the HTTP status and the severity that go with it, and the exception by
// which a handler refuses a request. The table in docs/protocol.md lists them for clients.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>

#include "http/HttpMessage.h"

namespace appliance {

enum class ErrorId : unsigned {
    SessionInvalid = 6,
    Malformed = 1001,
    ItemMissing = 1002,
    ItemExists = 1003,
    WrongKind = 1004,
    Refused = 1005,
    CredentialsRefused = 1010,
    DeviceRefused = 1011,
    IdentityMissing = 1012,
    DeviceRegistered = 1013,
    BodyMismatch = 1020,
    BodyTooLarge = 1021,
    LengthMissing = 1022,
    HeadTooLarge = 1023,
    BodyTypeUnsupported = 1024,
    ItemLocked = 1030,
    StorageOffline = 1031,
    EndpointUnknown = 1040,
    MethodUnknown = 1041,
    RevisionMismatch = 1077,
    UploadOutOfStep = 1202,
    JobNotReady = 1203,
    Internal = 1500,
    StorageFull = 1507,
};

// Thrown by whatever finds that a request cannot be granted; becomes the reply.
class ApiError : public std::runtime_error {
public:
    ApiError(ErrorId id, const std::string& message) : std::runtime_error(message), m_id(id) {}

    [[nodiscard]] ErrorId Id() const { return m_id; }

private:
    ErrorId m_id;
};

// {"errorId":"<number>","severity":"<number>","message":"<text>"} with the status of that error.
Reply ErrorReply(ErrorId id, const std::string& message);

// The same with the item as it is now as "document_info", for a refused revision.
Reply MismatchReply(const nlohmann::json& currentItem);

// 200 with that document.
Reply JsonReply(const nlohmann::json& document);

// Texts that are not UTF-8 are mended with U+FFFD, so that no reply fails for what somebody sent.
std::string JsonText(const nlohmann::json& document);

}  // namespace appliance
