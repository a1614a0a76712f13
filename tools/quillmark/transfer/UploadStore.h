// What this host keeps of resumable uploads that are not finished yet: one private file per upload in the folder
// "uploads" beside the session file, written whole or not at all, gone when the upload is.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Fingerprint.h"
#include "quillmark/Attributes.h"

namespace quillmark::cli {

// Which upload: the file of one user on one server that one local file goes to. There is one record for each.
struct UploadKey {
    std::string server;  // as in the session file
    std::string user;
    WideString remote;
    WideString local;  // absolute

    friend bool operator==(const UploadKey&, const UploadKey&) = default;
};

// What tells that a local file is still the one that was begun. The contents are told by the fingerprint.
struct FileIdentity {
    std::int64_t size = 0;
    CAttributeTime modified;
    CAttributeTime created;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

struct UploadRecord {
    UploadKey key;
    GUID id = {};
    FileIdentity file;
    std::int64_t chunk = 0;   // bytes of a chunk
    std::string revision;     // that the item shall have, empty for any
    Fingerprint fingerprint;  // covers everything that the server may have
    bool conflict = false;    // all is sent, and the server refused to store it: the item has another revision
};

class UploadStore {
public:
    explicit UploadStore(const WideString& sessionPath);

    // ERROR_FILE_NOT_FOUND when nothing is known of that upload, also when its file is damaged.
    [[nodiscard]] DWORD Load(const UploadKey& key, UploadRecord& record) const;
    // Makes the folder when it is missing.
    [[nodiscard]] DWORD Save(const UploadRecord& record) const;
    // Nothing to remove is a success.
    [[nodiscard]] DWORD Remove(const UploadKey& key) const;
    // All that the user has on that server, ordered by remote and local path.
    [[nodiscard]] DWORD List(const std::string& server, const std::string& user,
                             std::vector<UploadRecord>& records) const;

private:
    [[nodiscard]] WideString FileOf(const UploadKey& key) const;

    WideString m_folder;
};

// The identity that a local file's record shows.
[[nodiscard]] FileIdentity IdentityOf(const IServerAttributes& attributes);

}  // namespace quillmark::cli
