// Locks that devices hold on items, with an end.
#pragma once

#include "storage/Actor.h"
#include "storage/Database.h"
#include "storage/Item.h"

namespace appliance {

// Throws ItemLocked when another device holds the item, or a folder above it, at this moment.
void RequireUnlocked(Database& database, const Actor& actor, const Item& item);

}  // namespace appliance
