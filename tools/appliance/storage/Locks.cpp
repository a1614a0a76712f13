#include "storage/Locks.h"

#include "http/Errors.h"
#include "storage/Mappings.h"
#include "storage/Tree.h"

namespace appliance {

namespace {

#define WITH_ABOVE                                                                               \
    "WITH RECURSIVE above (id, parent) AS (SELECT id, parent FROM items WHERE id = ?1 UNION ALL" \
    " SELECT items.id, items.parent FROM items JOIN above ON items.id = above.parent) "

constexpr Ticks TicksPerSecond = 10'000'000;

[[noreturn]] void RefuseLocked() {
    throw ApiError(ErrorId::ItemLocked, "Another device has locked the item");
}

bool IsCovered(Database& database, const Item& item) {
    Statement row = database.Prepare(
        WITH_ABOVE "SELECT 1 FROM locks JOIN above ON locks.item = above.id WHERE expires > ?2 LIMIT 1");
    row.Bind(item.id).Bind(CurrentTicks());
    return row.Step();
}

bool IsReadOnly(const Item& item) {
    return item.readOnly || (!item.directory && (item.attributes & ReadOnlyAttribute) != 0);
}

// Who holds the item itself; empty when nobody does.
std::optional<std::string> HolderOf(Database& database, const Item& item) {
    Statement row = database.Prepare("SELECT device FROM locks WHERE item = ? AND expires > ?");
    row.Bind(item.id).Bind(CurrentTicks());
    return row.Step() ? std::optional(row.Text(0)) : std::nullopt;
}

}  // namespace

void RequireUnlocked(Database& database, const Actor& actor, const Item& item) {
    Statement row = database.Prepare(WITH_ABOVE
                                     "SELECT 1 FROM locks JOIN above ON locks.item = above.id"
                                     " WHERE expires > ?2 AND device <> ?3 LIMIT 1");
    row.Bind(item.id).Bind(CurrentTicks()).Bind(actor.device);
    if (row.Step()) {
        RefuseLocked();
    }
}

void RequireAllUnlocked(Database& database, const Actor& actor, const Item& item) {
    RequireUnlocked(database, actor, item);
    Statement row = database.Prepare(
        "WITH RECURSIVE held (id) AS (SELECT item FROM locks JOIN items ON items.id = locks.item"
        " WHERE expires > ?1 AND device <> ?2 AND user = ?3),"
        " above (id, parent) AS (SELECT id, parent FROM items WHERE id IN (SELECT id FROM held) UNION"
        " SELECT items.id, items.parent FROM items JOIN above ON items.id = above.parent)"
        " SELECT 1 FROM above WHERE id = ?4 LIMIT 1");
    row.Bind(CurrentTicks()).Bind(actor.device).Bind(actor.user).Bind(item.id);
    if (row.Step()) {
        RefuseLocked();
    }
}

LockState Locks::StateOf(std::int64_t user, const ItemPath& path) {
    return m_data.Read([&](Database& database) {
        const Item item = Tree(database).Require(user, path);
        if (item.readOnly) {
            return LockState::ReadOnly;
        }
        if (IsCovered(database, item)) {
            return LockState::Locked;
        }
        return IsReadOnly(item) ? LockState::ReadOnly : LockState::Unlocked;
    });
}

void Locks::Take(const Actor& actor, const ItemPath& path, std::chrono::seconds time) {
    m_data.Write([&](Database& database) {
        const Item item = Tree(database).Require(actor.user, path);
        RequireCapability(database, path, Capability::Locking);
        RequireAllUnlocked(database, actor, item);
        if (IsReadOnly(item)) {
            throw ApiError(ErrorId::Refused, "What is read-only needs no lock");
        }
        const Ticks now = CurrentTicks();
        {
            Statement row = database.Prepare("DELETE FROM locks WHERE expires <= ?");
            row.Bind(now);
            row.Run();
        }
        Statement row = database.Prepare(
            "INSERT INTO locks (item, device, expires) VALUES (?, ?, ?)"
            " ON CONFLICT (item) DO UPDATE SET device = excluded.device, expires = excluded.expires");
        row.Bind(item.id).Bind(actor.device).Bind(now + time.count() * TicksPerSecond);
        row.Run();
    });
}

void Locks::Release(const Actor& actor, const ItemPath& path) {
    m_data.Write([&](Database& database) {
        const Item item = Tree(database).Require(actor.user, path);
        const auto holder = HolderOf(database, item);
        if (!holder) {
            throw ApiError(ErrorId::ItemMissing, "The item is not locked");
        }
        if (*holder != actor.device) {
            RefuseLocked();
        }
        Statement row = database.Prepare("DELETE FROM locks WHERE item = ?");
        row.Bind(item.id);
        row.Run();
    });
}

}  // namespace appliance
