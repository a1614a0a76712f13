// What a user's other devices are told about.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string_view>

#include "storage/Actor.h"
#include "storage/Database.h"

namespace appliance {

// Books a change within the transaction that makes it. `verb` is the notification's word, `subject` its "m": a path as
// text, or an object.
void RecordChange(Database& database, const Actor& actor, std::string_view verb, const nlohmann::json& subject);

}  // namespace appliance
