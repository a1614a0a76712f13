// Resumable uploads: how far each has come, and which items the finished ones became.
//
//   unknown -> received bytes (a row with a content file; every chunk moves its count) -> finished (the content belongs
//   to an item, whose id the row remembers) -> forgotten (cancelled, or expired)
//
// A content file may hold more than its row counts, never less: bytes are on the disk before the row says so. Whoever
// works on an upload has its turn meanwhile; turns are held in memory, so that no kill leaves one behind.
//
//     const Uploads::Turn turn = uploads.TakeTurn(key);   // or ItemLocked
//     auto upload = uploads.Find(key);
//     ...
//     uploads.Save(key, *upload);
//
// Safe for every thread. Refusals throw ApiError.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "storage/Actor.h"
#include "storage/DataFile.h"
#include "storage/Tree.h"

namespace appliance {

class Contents;

// An upload belongs to its user and to the path it was begun for; others may use the same identifier.
struct UploadKey {
    std::int64_t user = 0;
    std::string id;    // as ParseGuid gives it
    std::string path;  // as PathText gives it

    auto operator<=>(const UploadKey&) const = default;
};

struct Upload {
    std::uint64_t size = 0;      // of the whole file
    std::uint64_t received = 0;  // of it, from its beginning
    std::string content;         // name of the content file
    ItemValues values;           // what the last chunk said
    Ticks expires = 0;
    std::optional<std::int64_t> item;  // once finished

    [[nodiscard]] bool IsComplete() const { return received == size; }
};

// What became of an attempt to finish.
struct FinishedUpload {
    std::optional<StoredFile> stored;
    std::exception_ptr refusal;  // why the item was not stored, when it was not
};

class Uploads {
public:
    // The right to work on one upload, as long as the object lives.
    class Turn {
    public:
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() { m_uploads.EndTurn(m_key); }

    private:
        friend class Uploads;
        Turn(Uploads& uploads, const UploadKey& key) : m_uploads(uploads), m_key(key) {}

        Uploads& m_uploads;
        UploadKey m_key;
    };

    // Uploads are kept for `lifetime` after their last chunk unless the client says until when.
    Uploads(DataFile& data, const Contents& contents, std::optional<std::uint64_t> capacity,
            std::chrono::seconds lifetime)
        : m_data(data), m_contents(contents), m_capacity(capacity), m_lifetime(lifetime) {}

    // Throws ItemLocked while somebody else has it.
    [[nodiscard]] Turn TakeTurn(const UploadKey& key);
    [[nodiscard]] bool IsTaken(const UploadKey& key);

    // Empty for one that is unknown or has expired.
    [[nodiscard]] std::optional<Upload> Find(const UploadKey& key);
    // The end of an upload whose client does not name one.
    [[nodiscard]] Ticks DefaultExpiry() const;

    // Makes room for a new upload, which takes the turn that the caller has: what has expired goes, an earlier upload
    // of that key with it. Throws what storing the file would throw now.
    void Begin(const Actor& actor, const UploadKey& key, const ItemPath& path, std::uint64_t size,
               const std::optional<std::string>& revision);
    // Throws StorageFull when the bytes that are still to come do not fit.
    void CheckRoom(const Actor& actor, const ItemPath& path, const Upload& upload);
    // Commits what has been received. Its bytes have to be on the disk.
    void Save(const UploadKey& key, const Upload& upload);

    // Commits all bytes and makes the item of them, in one step. Where the item cannot be stored as things are, the
    // bytes are committed all the same, so that they can be stored under another path. Throws, and changes nothing,
    // when they do not fit. `mayReplace`: whether a file that is there already may be replaced.
    [[nodiscard]] FinishedUpload Finish(const Actor& actor, const UploadKey& key, const Upload& upload,
                                        const ItemPath& path, const std::optional<std::string>& revision,
                                        bool mayReplace);
    // The item that a finished upload became, and where it stands now. Throws ItemMissing when it is gone or has
    // another content by now.
    [[nodiscard]] std::pair<Item, ItemPath> ItemOf(const Upload& upload);

    // Forgets the upload, its bytes too unless an item has them. False when there is none.
    [[nodiscard]] bool Remove(const UploadKey& key);
    // All whose time is over, except where somebody has the turn.
    void RemoveExpired();

private:
    void EndTurn(const UploadKey& key);
    bool RemoveIfExpiredBy(const UploadKey& key, Ticks time);

    DataFile& m_data;
    const Contents& m_contents;
    std::optional<std::uint64_t> m_capacity;
    std::chrono::seconds m_lifetime;
    std::mutex m_turnsLock;
    std::set<UploadKey> m_turns;
};

}  // namespace appliance
