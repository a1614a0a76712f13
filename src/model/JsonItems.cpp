#include "model/JsonItems.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "common/CaseFold.h"
#include "common/Log.h"
#include "model/JsonReader.h"
#include "quillmark/AttributeTime.h"
#include "quillmark/WideString.h"

namespace quillmark {
namespace {

constexpr Logger ArrayLog("CNativeHttp::ProcessJSONArray", LogSource::NativeHttp);
constexpr Logger DictionaryLog("CNativeHttp::ProcessJSONDictionary", LogSource::NativeHttp);

// What a name may not hold, as a terminated text. The first unit is the terminator, on purpose: the set is empty and
// every name is accepted, ':' and '*' included, because the server decides what its items are called. The units behind
// it document what was considered for refusal; no search reaches them.
// clang-format off
constexpr WideChar RejectedInNames[] = {
    0x0000,
    0x0001, 0x0002, 0x0003, 0x0004, 0x0005, 0x0006, 0x0007, 0x0008, 0x0009,
    0x0010, 0x0011, 0x0012, 0x0013, 0x0014, 0x0015, 0x0016, 0x0017, 0x0018, 0x0019,
    0x0020, 0x0021, 0x0022, 0x0023, 0x0024, 0x0025, 0x0026, 0x0027, 0x0028, 0x0029,
    0x0030, 0x0031,
    QM_W('"'), QM_W('*'), QM_W('/'), QM_W(':'), QM_W('<'), QM_W('>'), QM_W('?'), QM_W('\\'), QM_W('|'),
    0x0000};
// clang-format on

bool HoldsRejectedUnit(const WideString& name) {
    return name.view().find_first_of(WideView(RejectedInNames)) != WideView::npos;
}

// Types 1 to 3 of the library: signed, unsigned, real. Booleans are no numbers here, though the library converts them.
bool IsNumber(const Json::Value& value) {
    return value.type() == Json::intValue || value.type() == Json::uintValue || value.type() == Json::realValue;
}

// "WRITE" in any letter case; anything else means that writing is not allowed.
bool IsReadOnlyPermission(const std::string& permission) {
    return !EqualsIgnoreCase(WidenUtf8(permission), QM_W("WRITE"));
}

// Truncates towards zero. What 64 bits cannot hold becomes the nearest value that they can, so that a server's 1e300 is
// a defined number: upwards that is the value of an unset size.
std::int64_t ToInt64(double value) {
    constexpr double Limit = 9223372036854775808.0;  // 2^63, exact
    if (value >= Limit) {
        return std::numeric_limits<std::int64_t>::max();
    }
    if (value < -Limit) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(std::trunc(value));
}

// The part behind the last '\' or, only when there is none, behind the last '/': a path with both is split at the
// backslash. Without either there is no name.
WideString LeafOf(const WideString& path) {
    std::size_t separator = path.FindLast(QM_W('\\'));
    if (separator == WideString::npos) {
        separator = path.FindLast(QM_W('/'));
    }
    return separator == WideString::npos ? WideString() : path.Substring(separator + 1);
}

WideString NameOf(const Json::Value& dictionary) {
    const std::string name = dictionary["name"].asString();
    if (!name.empty()) {
        return WidenUtf8(name);
    }
    return LeafOf(WidenUtf8(dictionary["orca_path"].asString()));
}

// False when a time is given that cannot be read; why has then been logged. A time that is missing or no text stays
// unset.
bool ReadTimes(const Json::Value& dictionary, IServerAttributes& item) {
    const Json::Value& creation = dictionary["creation_time"];
    if (creation.isString()) {
        CAttributeTime time;
        time = creation.asString();
        item.SetCreationTime(time);
        if (!item.GetCreationTime().IsSet()) {
            return false;
        }
    } else {
        DictionaryLog.Warning("Invalid or missing 'creation_time' in server response.");
    }

    const Json::Value& modification = dictionary["modification_time"];
    if (modification.isString()) {
        CAttributeTime time;
        time = modification.asString();
        item.SetChangeTime(time);
        item.SetLastWriteTime(time);
        item.SetLastAccessTime(time);
        if (!item.GetLastAccessTime().IsSet()) {
            return false;
        }
    } else {
        // The same text as above is meant: there is no message of its own for this member.
        DictionaryLog.Warning("Invalid or missing 'creation_time' in server response.");
    }
    return true;
}

void ReadSize(const Json::Value& dictionary, IServerAttributes& item) {
    const Json::Value& size = dictionary["size"];
    if (IsNumber(size)) {
        // Through double, fractions cut off: a size above 2^53 loses its last bits.
        item.SetSize(ToInt64(size.asDouble()));
    } else {
        DictionaryLog.Warning("Invalid or missing 'size' in server response (type is %d)",
                              static_cast<std::int32_t>(size.type()));
        item.SetSize(0);
    }
}

// Replaces the attributes that SetDirectory stored, then makes sure that a folder is one.
void ReadFileAttributes(const Json::Value& dictionary, IServerAttributes& item) {
    const Json::Value& attributes = dictionary["attributes"];
    if (IsNumber(attributes)) {
        item.SetFileAttributes(attributes.asUInt());
    } else {
        DictionaryLog.Warning("Invalid or missing 'attributes' in server response (type is %d)",
                              static_cast<std::int32_t>(attributes.type()));
    }
    const Json::Value& directory = dictionary["directory"];
    if (directory.isBool() && directory.asBool()) {
        item.SetFileAttributes(item.GetFileAttributes() | FILE_ATTRIBUTE_DIRECTORY);
    }
}

void ReadPermissions(const Json::Value& dictionary, IServerAttributes& item) {
    const Json::Value& permissions = dictionary["permissions"];
    if (permissions.isString()) {
        const bool readOnly = IsReadOnlyPermission(permissions.asString());
        item.SetReadOnly(readOnly);
        item.SetFolderReadOnly(readOnly);
    }
    // Here any type counts, unlike above: a number is "not WRITE".
    const Json::Value& folderPermissions = dictionary["folder_permissions"];
    if (!folderPermissions.isNull()) {
        item.SetFolderReadOnly(IsReadOnlyPermission(folderPermissions.asString()));
    }
}

// The order of the steps matters: later ones override earlier ones, and what throws or rejects in between decides
// whether the item is there at all.
std::uint32_t ProcessItem(const Json::Value& dictionary, ItemList& items) {
    const std::string revision = dictionary["revision"].asString();
    const WideString name = NameOf(dictionary);
    if (HoldsRejectedUnit(name)) {
        DictionaryLog.Error("Invalid filename in server response.");
        return 0;
    }

    const auto item = std::make_shared<CAttributes<CServerItemAttributesBase>>();
    item->SetName(name);
    item->SetRevision(revision);
    item->SetDirectory(dictionary["directory"].asBool());
    if (!ReadTimes(dictionary, *item)) {
        return 0;
    }
    ReadSize(dictionary, *item);
    ReadFileAttributes(dictionary, *item);
    ReadPermissions(dictionary, *item);
    items.push_back(item);
    return 1;
}

}  // namespace

std::uint32_t ProcessJSONArray(const Json::Value& array, ItemList& items, bool topLevel) {
    std::uint32_t count = 0;
    try {
        for (Json::ArrayIndex index = 0; index < array.size(); ++index) {
            count += ProcessJSONDictionary(array[index], items, topLevel);
        }
    } catch (const Json::Exception& exception) {
        LogJSONException(ArrayLog, exception);
    } catch (const std::bad_alloc& exception) {
        LogJSONException(ArrayLog, exception);
    }
    return count;
}

std::uint32_t ProcessJSONDictionary(const Json::Value& dictionary, ItemList& items, bool topLevel) {
    if (!topLevel) {
        return ProcessItem(dictionary, items);
    }
    // A member that is there counts, even when it is null.
    const Json::Value& content = dictionary[dictionary.isMember("contents") ? "contents" : "document_info"];
    return content.isNull() || content.isArray() ? ProcessJSONArray(content, items, false)
                                                 : ProcessItem(content, items);
}

}  // namespace quillmark
