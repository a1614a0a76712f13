#include "storage/Devices.h"

#include "storage/Ticks.h"

namespace appliance {

namespace {

// A device that has only logged in has a place in the changes; its row here, once it needs one, says that it is not
// registered.
bool IsKnown(Database& database, const Actor& actor) {
    Statement row = database.Prepare(
        "SELECT 1 FROM devices WHERE user = ?1 AND device = ?2 UNION ALL"
        " SELECT 1 FROM change_readers WHERE user = ?1 AND device = ?2");
    row.Bind(actor.user).Bind(actor.device);
    return row.Step();
}

}  // namespace

bool Devices::Register(const Actor& actor, const Registration& registration) {
    return m_data.Write([&](Database& database) {
        Statement row = database.Prepare(
            "INSERT INTO devices (user, device, name, platform, registered) VALUES (?, ?, ?, ?, ?)"
            " ON CONFLICT (user, device) DO UPDATE SET name = excluded.name, platform = excluded.platform,"
            " registered = excluded.registered WHERE devices.registered = 0 RETURNING 1");
        row.Bind(actor.user).Bind(actor.device).Bind(registration.name).Bind(registration.platform);
        row.Bind(CurrentTicks());
        const bool added = row.Step();
        row.Run();
        return added;
    });
}

bool Devices::IsRegistered(const Actor& actor) {
    return m_data.Read([&](Database& database) {
        Statement row = database.Prepare("SELECT 1 FROM devices WHERE user = ? AND device = ? AND registered <> 0");
        row.Bind(actor.user).Bind(actor.device);
        return row.Step();
    });
}

bool Devices::OrderWipe(const Actor& actor) {
    return m_data.Write([&](Database& database) {
        if (!IsKnown(database, actor)) {
            return false;
        }
        Statement row = database.Prepare(
            "INSERT INTO devices (user, device, name, platform, registered, wipe) VALUES (?, ?, '', '', 0, 'ordered')"
            " ON CONFLICT (user, device) DO UPDATE SET wipe = excluded.wipe");
        row.Bind(actor.user).Bind(actor.device);
        row.Run();
        return true;
    });
}

bool Devices::AcknowledgeWipe(const Actor& actor) {
    return m_data.Write([&](Database& database) {
        Statement row = database.Prepare(
            "UPDATE devices SET wipe = 'carried out' WHERE user = ? AND device = ? AND wipe = 'ordered'");
        row.Bind(actor.user).Bind(actor.device);
        row.Run();
        return IsKnown(database, actor);
    });
}

bool Devices::IsToBeWiped(const Actor& actor) {
    return m_data.Read([&](Database& database) {
        Statement row = database.Prepare("SELECT 1 FROM devices WHERE user = ? AND device = ? AND wipe = 'ordered'");
        row.Bind(actor.user).Bind(actor.device);
        return row.Step();
    });
}

}  // namespace appliance
