// The tables of the data folder and how older ones become newer ones.
#pragma once

#include "storage/Database.h"

namespace appliance {

// Brings the tables to the newest version, step by step, each step in a transaction of its own. Throws
// std::runtime_error for a data folder that a newer server has written.
void MigrateSchema(Database& database);

}  // namespace appliance
