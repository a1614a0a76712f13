#include "storage/Uploads.h"

#include <limits>
#include <vector>

#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Mappings.h"

namespace appliance {

namespace {

constexpr Ticks TicksPerSecond = 10'000'000;

void SaveRow(Database& database, const UploadKey& key, const Upload& upload) {
    Statement row = database.Prepare(
        "INSERT INTO uploads (user, resume_id, path, size, received, content, creation_time, modification_time,"
        " attributes, expires, item) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (user, resume_id, path)"
        " DO UPDATE SET received = excluded.received, creation_time = excluded.creation_time, modification_time ="
        " excluded.modification_time, attributes = excluded.attributes, expires = excluded.expires, item ="
        " excluded.item");
    row.Bind(key.user).Bind(key.id).Bind(key.path).Bind(static_cast<std::int64_t>(upload.size));
    row.Bind(static_cast<std::int64_t>(upload.received)).Bind(upload.content);
    row.BindOptional(upload.values.creationTime).BindOptional(upload.values.modificationTime);
    row.BindOptional(upload.values.attributes).Bind(upload.expires).BindOptional(upload.item);
    row.Run();
}

// Removes the row if it expires by then. The content file that is now nobody's; empty when an item has it. Nothing when
// there was no such row.
std::optional<std::string> RemoveRow(Database& database, const UploadKey& key, Ticks by) {
    Statement row = database.Prepare(
        "DELETE FROM uploads WHERE user = ? AND resume_id = ? AND path = ? AND expires <= ? RETURNING content, item");
    row.Bind(key.user).Bind(key.id).Bind(key.path).Bind(by);
    if (!row.Step()) {
        return std::nullopt;
    }
    std::string content = row.OptionalInteger(1) ? std::string() : row.Text(0);
    row.Run();
    return content;
}

std::vector<UploadKey> KeysExpiredBy(Database& database, Ticks time) {
    Statement row = database.Prepare("SELECT user, resume_id, path FROM uploads WHERE expires <= ?");
    row.Bind(time);
    std::vector<UploadKey> keys;
    while (row.Step()) {
        keys.push_back({row.Integer(0), row.Text(1), row.Text(2)});
    }
    return keys;
}

}  // namespace

Uploads::Turn Uploads::TakeTurn(const UploadKey& key) {
    const std::lock_guard lock(m_turnsLock);
    if (!m_turns.insert(key).second) {
        throw ApiError(ErrorId::ItemLocked, "Another request works on this upload");
    }
    return Turn(*this, key);
}

bool Uploads::IsTaken(const UploadKey& key) {
    const std::lock_guard lock(m_turnsLock);
    return m_turns.contains(key);
}

void Uploads::EndTurn(const UploadKey& key) {
    const std::lock_guard lock(m_turnsLock);
    m_turns.erase(key);
}

std::optional<Upload> Uploads::Find(const UploadKey& key) {
    return m_data.Read([&](Database& database) -> std::optional<Upload> {
        Statement row = database.Prepare(
            "SELECT size, received, content, creation_time, modification_time, attributes, expires, item FROM uploads"
            " WHERE user = ? AND resume_id = ? AND path = ? AND expires > ?");
        row.Bind(key.user).Bind(key.id).Bind(key.path).Bind(CurrentTicks());
        if (!row.Step()) {
            return std::nullopt;
        }
        Upload upload;
        upload.size = static_cast<std::uint64_t>(row.Integer(0));
        upload.received = static_cast<std::uint64_t>(row.Integer(1));
        upload.content = row.Text(2);
        upload.values.creationTime = row.OptionalInteger(3);
        upload.values.modificationTime = row.OptionalInteger(4);
        if (const auto attributes = row.OptionalInteger(5)) {
            upload.values.attributes = static_cast<std::uint32_t>(*attributes);
        }
        upload.expires = row.Integer(6);
        upload.item = row.OptionalInteger(7);
        return upload;
    });
}

Ticks Uploads::DefaultExpiry() const {
    return CurrentTicks() + m_lifetime.count() * TicksPerSecond;
}

void Uploads::Begin(const Actor& actor, const UploadKey& key, const ItemPath& path, std::uint64_t size,
                    const std::optional<std::string>& revision) {
    RemoveExpired();
    static_cast<void>(Remove(key));
    m_data.Read([&](Database& database) {
        Tree(database, m_capacity).CheckTarget(actor, path, size, revision);
        RequireCapability(database, path, Capability::ResumableUploads);
    });
}

void Uploads::CheckRoom(const Actor& actor, const ItemPath& path, const Upload& upload) {
    m_data.Read([&](Database& database) {
        Tree tree(database, m_capacity);
        const auto replaced = tree.Find(actor.user, path);
        tree.CheckRoom(upload.size - upload.received, replaced ? replaced->size : 0);
    });
}

void Uploads::Save(const UploadKey& key, const Upload& upload) {
    m_data.Write([&](Database& database) { SaveRow(database, key, upload); });
}

FinishedUpload Uploads::Finish(const Actor& actor, const UploadKey& key, const Upload& upload, const ItemPath& path,
                               const std::optional<std::string>& revision, bool mayReplace) {
    try {
        return m_data.Write([&](Database& database) {
            Tree tree(database, m_capacity);
            if (!mayReplace && tree.Find(actor.user, path)) {
                throw ApiError(ErrorId::ItemExists, "An item of this name exists already");
            }
            // Finished before the item is there: its bytes are counted once, as the item's.
            Upload finished = upload;
            finished.item = 0;
            SaveRow(database, key, finished);
            FinishedUpload result;
            result.stored = tree.StoreFile(actor, path, {upload.values, upload.size, upload.content, revision});
            finished.item = result.stored->item.id;
            SaveRow(database, key, finished);
            return result;
        });
    } catch (const RevisionConflict&) {
        Save(key, upload);
        return {std::nullopt, std::current_exception()};
    } catch (const ApiError& refusal) {
        if (refusal.Id() == ErrorId::StorageFull) {
            throw;
        }
        Save(key, upload);
        return {std::nullopt, std::current_exception()};
    }
}

// The item is the upload's for as long as it has the upload's content.
std::pair<Item, ItemPath> Uploads::ItemOf(const Upload& upload) {
    return m_data.Read([&](Database& database) {
        Tree tree(database);
        auto item = tree.FindById(upload.item.value_or(0));
        if (!item || item->content != upload.content) {
            throw ApiError(ErrorId::ItemMissing, "The item of this upload has been changed or removed since");
        }
        return std::pair(std::move(*item), tree.PathOf(*upload.item));
    });
}

bool Uploads::Remove(const UploadKey& key) {
    return RemoveIfExpiredBy(key, std::numeric_limits<Ticks>::max());
}

// One that is begun anew between the look and the removal has another end by then, and stays.
void Uploads::RemoveExpired() {
    const Ticks now = CurrentTicks();
    for (const UploadKey& key : m_data.Read([&](Database& database) { return KeysExpiredBy(database, now); })) {
        if (!IsTaken(key)) {
            static_cast<void>(RemoveIfExpiredBy(key, now));
        }
    }
}

bool Uploads::RemoveIfExpiredBy(const UploadKey& key, Ticks time) {
    const auto content = m_data.Write([&](Database& database) { return RemoveRow(database, key, time); });
    if (content && !content->empty()) {
        m_contents.Remove(*content);
    }
    return content.has_value();
}

}  // namespace appliance
