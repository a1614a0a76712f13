#include "storage/Locks.h"

#include "http/Errors.h"

namespace appliance {

void RequireUnlocked(Database& database, const Actor& actor, const Item& item) {
    Statement row = database.Prepare(
        "WITH RECURSIVE above (id, parent) AS (SELECT id, parent FROM items WHERE id = ? UNION ALL"
        " SELECT items.id, items.parent FROM items JOIN above ON items.id = above.parent)"
        " SELECT 1 FROM locks JOIN above ON locks.item = above.id WHERE expires > ? AND device <> ? LIMIT 1");
    row.Bind(item.id).Bind(CurrentTicks()).Bind(actor.device);
    if (row.Step()) {
        throw ApiError(ErrorId::ItemLocked, "Another device has locked the item");
    }
}

}  // namespace appliance
