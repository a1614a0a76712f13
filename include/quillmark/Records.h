// The records that operations of the client hand back or take, beside the attribute record: folder mappings, change
// notifications, asynchronous delta jobs, share requests.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <set>
#include <vector>

#include "quillmark/WideString.h"

namespace quillmark {

// What a mapped folder's storage can do, as the server says. When it says nothing: everything without a limit for
// storage of the type "smb", nothing for any other.
struct MappingCapabilities {
    bool deltaUpload = false;
    bool locking = false;
    bool resumableUploads = false;
    std::uint64_t fileSizeUploadLimit = 0;  // bytes, 0 for none
};

// What the server says of a mapped folder.
struct MappingAttributes {
    WideString name;
    WideString description;
    WideString permissions;  // "ROOT_READONLY" when nothing may be written at the folder's root
    WideString type;         // of the storage, for example "smb"
    DWORD status = 2;        // 1 not reachable, 2 reachable
    DWORD mode = 1;          // 2 automatic, 3 offline, 1 anything else
    bool allowSharing = false;
    bool hasIdentifiers = false;  // both identifiers came with the reply
    GUID storageId = {};
    GUID guid = {};
};

// A mapped folder: a top-level server folder that the user may synchronise.
struct CMapping {
    WideString path;  // of the folder on the server, "/" and its name
    std::shared_ptr<const MappingAttributes> attributes;
    std::shared_ptr<const MappingCapabilities> capabilities;
};

using MappingList = std::list<std::shared_ptr<const CMapping>>;

// One change on the server.
class CNotificationAction {
public:
    virtual ~CNotificationAction() = default;

    // 1 create, 2 upload, 3 move, 4 copy, 5 rename, 6 delete, 7 policy, 8 update, 9 mode, 0 anything else.
    DWORD type = 0;
    WideString value;   // a path, the path moved from, or a name
    WideString value2;  // the path moved to, or a mode
};

using NotificationList = std::list<std::shared_ptr<CNotificationAction>>;

// A delta job of the server and its state: 0 unknown, 1 waiting for its commit, 2 in progress, 3 failed, 4 not known to
// the server.
struct AsyncDeltaJob {
    GUID id = {};
    DWORD state = 0;
};

using AsyncDeltaJobList = std::vector<AsyncDeltaJob>;

// What is to be shared, and with whom. The sets are ordered by UTF-16 code unit; they are sent in that order.
struct ShareRequest {
    WideString name;
    WideString message;
    std::set<WideString> paths;    // server paths
    std::set<WideString> targets;  // the recipients, as the server knows them
};

}  // namespace quillmark
