#include "model/Mappings.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

#include "common/CaseFold.h"
#include "common/GuidText.h"
#include "model/JsonReader.h"
#include "model/PathUtilities.h"

namespace quillmark {
namespace {

constexpr Logger ResponseLog("CNativeHttp::GetMappingsFromResponse", LogSource::NativeHttp);
constexpr Logger DictionaryLog("CNativeHttp::ProcessMappingJSONDictionary", LogSource::NativeHttp);

constexpr DWORD NotReachable = 1;
constexpr DWORD Reachable = 2;

DWORD StatusOf(const WideString& word) {
    constexpr std::array<WideView, 4> Unreachable{QM_W("OFFLINE"), QM_W("TIMEOUT"), QM_W("INACCESSIBLE"),
                                                  QM_W("BAD_CREDENTIALS")};
    return std::any_of(Unreachable.begin(), Unreachable.end(),
                       [&word](WideView known) { return EqualsIgnoreCase(word, known); })
               ? NotReachable
               : Reachable;
}

DWORD ModeOf(const WideString& word) {
    if (EqualsIgnoreCase(word, QM_W("AUTOMATIC"))) {
        return 2;
    }
    return EqualsIgnoreCase(word, QM_W("OFFLINE")) ? 3 : 1;
}

bool IsTrue(const Json::Value& value) {
    return value.isBool() && value.asBool();
}

// Bytes. What is negative or no number is no limit; fractions are cut off.
std::uint64_t LimitOf(const Json::Value& value) {
    constexpr double Bound = 18446744073709551616.0;  // 2^64, exact
    if (value.isUInt64()) {
        return value.asUInt64();
    }
    const double number = value.isNumeric() ? value.asDouble() : 0;
    if (number >= Bound) {
        return std::numeric_limits<std::uint64_t>::max();
    }
    return number > 0 ? static_cast<std::uint64_t>(number) : 0;
}

// What a storage can do when the server does not tell. An smb share is a file system under the server's own hands: it
// takes everything. A webdav storage takes whole files only, and not every one can lock. Of others nothing is assumed.
MappingCapabilities DefaultCapabilities(const WideString& storageType) {
    if (EqualsIgnoreCase(storageType, QM_W("smb"))) {
        return {.deltaUpload = true, .locking = true, .resumableUploads = true, .fileSizeUploadLimit = 0};
    }
    if (EqualsIgnoreCase(storageType, QM_W("webdav"))) {
        return {.deltaUpload = false, .locking = false, .resumableUploads = false, .fileSizeUploadLimit = 0};
    }
    return {};
}

MappingCapabilities ReadCapabilities(const Json::Value& dictionary, const WideString& storageType) {
    const Json::Value& capabilities = dictionary["capabilities"];
    if (!capabilities.isObject()) {
        return DefaultCapabilities(storageType);
    }
    return {.deltaUpload = IsTrue(capabilities["delta_upload"]),
            .locking = IsTrue(capabilities["locking"]),
            .resumableUploads = IsTrue(capabilities["resumable_uploads"]),
            .fileSizeUploadLimit = LimitOf(capabilities["file_size_upload_limit"])};
}

// Both identifiers or neither.
void ReadIdentifiers(const Json::Value& dictionary, MappingAttributes& attributes) {
    GUID storageId = {};
    GUID guid = {};
    if (ParseGuid(MemberText(dictionary, "storage_id"), storageId) && ParseGuid(MemberText(dictionary, "guid"), guid)) {
        attributes.storageId = storageId;
        attributes.guid = guid;
        attributes.hasIdentifiers = true;
    }
}

std::shared_ptr<const MappingAttributes> ReadAttributes(const Json::Value& dictionary, const WideString& name) {
    const auto attributes = std::make_shared<MappingAttributes>();
    attributes->name = name;
    attributes->description = MemberText(dictionary, "description");
    attributes->permissions = MemberText(dictionary, "permissions");
    if (MemberText(dictionary, "folder_permissions") == QM_W("READONLY")) {
        attributes->permissions = QM_W("ROOT_READONLY");
    }
    attributes->type = MemberText(dictionary, "type");
    attributes->status = StatusOf(MemberText(dictionary, "status"));
    attributes->mode = ModeOf(MemberText(dictionary, "mode"));
    attributes->allowSharing = IsTrue(dictionary["allow_sharing"]);
    ReadIdentifiers(dictionary, *attributes);
    return attributes;
}

DWORD CreateMapping(const Json::Value& dictionary, const WideString& name, MappingList& mappings) {
    if (name.empty()) {
        return ERROR_INVALID_DATA;
    }
    try {
        const auto mapping = std::make_shared<CMapping>();
        mapping->attributes = ReadAttributes(dictionary, name);
        mapping->capabilities =
            std::make_shared<MappingCapabilities>(ReadCapabilities(dictionary, mapping->attributes->type));
        // A path on the server has no extended form: it comes back as it is, and the log says so.
        mapping->path = PathUtilities::NormalizePath(WideString(QM_W("/")) + name);
        mappings.push_back(mapping);
        return ERROR_SUCCESS;
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

void ProcessMappings(const Json::Value& value, MappingList& mappings);

void ProcessMappingJSONDictionary(const Json::Value& dictionary, MappingList& mappings) {
    if (dictionary.isMember("contents")) {
        ProcessMappings(dictionary["contents"], mappings);
        return;
    }
    const WideString name = MemberText(dictionary, "name");
    if (const DWORD error = CreateMapping(dictionary, name, mappings); error != ERROR_SUCCESS) {
        DictionaryLog.Error("Failed to create mapping for [%S] - error [%d]", name, error);
    }
}

// An array of dictionaries, or one; null is an empty array.
void ProcessMappings(const Json::Value& value, MappingList& mappings) {
    if (!value.isNull() && !value.isArray()) {
        ProcessMappingJSONDictionary(value, mappings);
        return;
    }
    for (const Json::Value& dictionary : value) {
        ProcessMappingJSONDictionary(dictionary, mappings);
    }
}

}  // namespace

DWORD ReadMappings(const ResponseBuffer& reply, MappingList& mappings, DWORD& count) {
    const std::size_t before = mappings.size();
    DWORD error = ERROR_INVALID_DATA;
    try {
        Json::Value root;
        if (ParseJSONFromServer(reply, JSONComments::Skip, ResponseLog, root)) {
            ProcessMappings(std::as_const(root), mappings);
            error = ERROR_SUCCESS;
        }
    } catch (const Json::Exception& exception) {
        LogJSONException(ResponseLog, exception);
    } catch (const std::bad_alloc& exception) {
        LogJSONException(ResponseLog, exception);
        error = ERROR_NOT_ENOUGH_MEMORY;
    }
    count = static_cast<DWORD>(mappings.size() - before);
    return error;
}

}  // namespace quillmark
