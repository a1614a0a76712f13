#include "storage/Changes.h"

#include <nlohmann/json.hpp>

#include "storage/Ticks.h"

namespace appliance {

void RecordChange(Database& database, const Actor& actor, std::string_view verb, const nlohmann::json& subject) {
    Statement row = database.Prepare("INSERT INTO changes (user, device, time, verb, subject) VALUES (?, ?, ?, ?, ?)");
    row.Bind(actor.user).Bind(actor.device).Bind(CurrentTicks()).Bind(verb).Bind(subject.dump());
    row.Run();
}

}  // namespace appliance
