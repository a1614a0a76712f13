// Locks that devices hold on items, with an end. A lock on a folder covers everything in it. Rows keep them, so that a
// lock outlives the server's process; one whose time is over counts as none.
#pragma once

#include <chrono>

#include "storage/Actor.h"
#include "storage/DataFile.h"
#include "storage/Item.h"

namespace appliance {

// Throws ItemLocked when another device holds the item, or a folder above it, at this moment.
void RequireUnlocked(Database& database, const Actor& actor, const Item& item);

// The same, also for whatever is in the item: for changes that concern a folder with all that is in it.
void RequireAllUnlocked(Database& database, const Actor& actor, const Item& item);

enum class LockState { Unlocked, Locked, ReadOnly };

// Refusals throw ApiError: ItemMissing, and what the mapped folder does not allow.
class Locks {
public:
    explicit Locks(DataFile& data) : m_data(data) {}

    // Locked for the owner as for everybody else. ReadOnly for an item that has that attribute or is in a read-only
    // mapped folder.
    [[nodiscard]] LockState StateOf(std::int64_t user, const ItemPath& path);

    // From now on the device holds the item for that time, however long it would have held it before. Throws ItemLocked
    // when another device holds the item, something above it or something in it; Refused for what is read-only.
    void Take(const Actor& actor, const ItemPath& path, std::chrono::seconds time);

    // Throws ItemMissing when nobody holds the item itself, and ItemLocked when another device does.
    void Release(const Actor& actor, const ItemPath& path);

private:
    DataFile& m_data;
};

}  // namespace appliance
