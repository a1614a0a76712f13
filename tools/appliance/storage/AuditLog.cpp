#include "storage/AuditLog.h"

#include <algorithm>

namespace appliance {

void AuditLog::Add(const Actor& actor, const std::string& text) {
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare("INSERT INTO audit (user, device, time, data) VALUES (?, ?, ?, ?)");
        row.Bind(actor.user).Bind(actor.device).Bind(CurrentTicks()).Bind(text);
        row.Run();
    });
}

std::vector<AuditEntry> AuditLog::Last(std::size_t count) {
    return m_data.Read([&](Database& database) {
        std::vector<AuditEntry> entries;
        Statement row = database.Prepare(
            "SELECT users.name, device, time, data FROM audit JOIN users ON users.id = audit.user"
            " ORDER BY audit.id DESC LIMIT ?");
        row.Bind(static_cast<std::int64_t>(count));
        while (row.Step()) {
            entries.push_back({row.Text(0), row.Text(1), row.Integer(2), row.Text(3)});
        }
        std::reverse(entries.begin(), entries.end());
        return entries;
    });
}

}  // namespace appliance
