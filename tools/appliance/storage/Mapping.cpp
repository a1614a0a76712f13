#include "storage/Mapping.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include "http/Uri.h"

namespace appliance {

namespace {

constexpr std::string_view Reachable = "ONLINE";
constexpr std::array<std::string_view, 5> Statuses{Reachable, "OFFLINE", "TIMEOUT", "INACCESSIBLE", "BAD_CREDENTIALS"};

[[noreturn]] void Refuse(const std::string& text, const std::string& reason) {
    throw std::invalid_argument("mapping '" + text + "': " + reason);
}

// The words without a value.
bool ApplyFlag(Mapping& mapping, std::string_view word) {
    if (word == "readonly") {
        mapping.readOnly = true;
    } else if (word == "no-sharing") {
        mapping.sharing = false;
    } else if (word == "no-delta") {
        mapping.deltas = false;
    } else if (word == "no-locking") {
        mapping.locking = false;
    } else if (word == "no-resumable") {
        mapping.resumable = false;
    } else {
        return false;
    }
    return true;
}

void ApplyValue(Mapping& mapping, const std::string& text, std::string_view key, const std::string& value) {
    if (key == "description") {
        mapping.description = value;
        return;
    }
    if (value.empty()) {
        Refuse(text, std::string(key) + " has no value");
    }
    if (key == "type") {
        mapping.type = value;
    } else if (key == "mode") {
        mapping.mode = value;
    } else if (key == "status") {
        if (!IsMappingStatus(value)) {
            Refuse(text, "'" + value + "' is none of ONLINE, OFFLINE, TIMEOUT, INACCESSIBLE, BAD_CREDENTIALS");
        }
        mapping.status = value;
    } else {
        const auto limit = ParseNumber(value);
        if (!limit || *limit == 0 || *limit > static_cast<unsigned long long>(INT64_MAX)) {
            Refuse(text, "the limit '" + value + "' is no number of bytes");
        }
        mapping.sizeLimit = *limit;
    }
}

void Apply(Mapping& mapping, const std::string& text, std::string_view setting) {
    constexpr std::array<std::string_view, 5> keys{"type", "status", "mode", "description", "limit"};
    const std::size_t equals = setting.find('=');
    const std::string_view key = setting.substr(0, equals);
    if (equals == std::string_view::npos) {
        if (!ApplyFlag(mapping, key)) {
            Refuse(text, "'" + std::string(setting) + "' is no setting");
        }
        return;
    }
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
        Refuse(text, "'" + std::string(key) + "' is no setting with a value");
    }
    ApplyValue(mapping, text, key, std::string(setting.substr(equals + 1)));
}

}  // namespace

bool Mapping::IsReachable() const {
    return EqualsIgnoringCase(status, Reachable);
}

bool IsMappingStatus(const std::string& word) {
    return std::any_of(Statuses.begin(), Statuses.end(),
                       [&](std::string_view status) { return EqualsIgnoringCase(word, status); });
}

Mapping ParseMapping(const std::string& text) {
    if (!IsUtf8(text)) {
        Refuse(text, "it is not UTF-8");
    }
    Mapping mapping;
    const std::size_t end = text.find(';');
    mapping.name = text.substr(0, end);
    if (!IsItemName(mapping.name)) {
        Refuse(text, "a folder cannot have the name '" + mapping.name + "'");
    }
    for (std::size_t at = end; at != std::string::npos;) {
        const std::size_t next = text.find(';', at + 1);
        Apply(mapping, text, std::string_view(text).substr(at + 1, next == std::string::npos ? next : next - at - 1));
        at = next;
    }
    return mapping;
}

nlohmann::json MappingDocument(const Mapping& mapping) {
    const char* permissions = mapping.readOnly ? "READONLY" : "WRITE";
    return {{"name", mapping.name},
            {"description", mapping.description},
            {"permissions", permissions},
            {"folder_permissions", permissions},
            {"status", mapping.status},
            {"mode", mapping.mode},
            {"type", mapping.type},
            {"allow_sharing", mapping.sharing},
            {"storage_id", mapping.storageId},
            {"guid", mapping.guid},
            {"capabilities",
             {{"delta_upload", mapping.deltas},
              {"locking", mapping.locking},
              {"resumable_uploads", mapping.resumable},
              {"file_size_upload_limit", mapping.sizeLimit.value_or(0)}}}};
}

}  // namespace appliance
