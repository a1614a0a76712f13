#include "storage/Store.h"

namespace appliance {

std::optional<User> Store::FindUser(std::string_view name) {
    return m_data.Read([&](Database& database) {
        Statement row = database.Prepare("SELECT id, name, password FROM users WHERE name = ?");
        row.Bind(name);
        return row.Step() ? std::optional(User{row.Integer(0), row.Text(1), row.Text(2)}) : std::nullopt;
    });
}

bool Store::HasUsers() {
    return m_data.Read([](Database& database) { return database.Prepare("SELECT 1 FROM users LIMIT 1").Step(); });
}

void Store::SetUser(std::string_view name, std::string_view passwordHash) {
    m_data.Write([&](Database& database) {
        std::int64_t user = 0;
        {
            Statement row = database.Prepare(
                "INSERT INTO users (name, password) VALUES (?, ?) ON CONFLICT (name) DO UPDATE SET password = "
                "excluded.password RETURNING id");
            row.Bind(name).Bind(passwordHash);
            user = row.Step() ? row.Integer(0) : 0;
            row.Run();
        }
        Tree(database).PlantRoot(user);
    });
}

Item Store::Get(std::int64_t user, const ItemPath& path) {
    return m_data.Read([&](Database& database) { return Tree(database).Require(user, path); });
}

Listing Store::List(std::int64_t user, const ItemPath& path) {
    return m_data.Read([&](Database& database) {
        Tree tree(database);
        Item folder = tree.Require(user, path);
        auto children = tree.Children(folder);
        return Listing{std::move(folder), std::move(children)};
    });
}

Item Store::CreateFolder(const Actor& actor, const ItemPath& parent, const std::string& name) {
    return m_data.Write([&](Database& database) { return Tree(database).CreateFolder(actor, parent, name); });
}

Item Store::Update(const Actor& actor, const ItemPath& path, const ItemValues& values) {
    return m_data.Write([&](Database& database) { return Tree(database).Update(actor, path, values); });
}

void Store::CheckPut(const Actor& actor, const ItemPath& path, std::uint64_t size,
                     const std::optional<std::string>& revision) {
    m_data.Read([&](Database& database) { Tree(database, m_capacity).CheckTarget(actor, path, size, revision); });
}

StoredFile Store::PutFile(const Actor& actor, const ItemPath& path, const NewFile& file) {
    return m_data.Write([&](Database& database) { return Tree(database, m_capacity).StoreFile(actor, path, file); });
}

MovedItem Store::Move(const Actor& actor, const ItemPath& from, const ItemPath& to, bool overwrite) {
    return m_data.Write([&](Database& database) { return Tree(database).Move(actor, from, to, overwrite); });
}

std::vector<std::string> Store::Delete(const Actor& actor, const ItemPath& path,
                                       const std::optional<std::string>& revision) {
    return m_data.Write([&](Database& database) { return Tree(database).Delete(actor, path, revision); });
}

void Store::Touch(std::int64_t user, const ItemPath& path) {
    m_data.Write([&](Database& database) { Tree(database).Touch(user, path); });
}

void Store::ForEachContent(const std::function<void(const std::string&)>& callback) {
    m_data.Read([&](Database& database) {
        Statement row = database.Prepare(
            "SELECT content FROM items WHERE content <> '' UNION ALL SELECT content FROM uploads WHERE content <> ''"
            " UNION ALL SELECT delta FROM delta_jobs WHERE delta <> ''"
            " UNION ALL SELECT content FROM delta_jobs WHERE content <> ''");
        while (row.Step()) {
            callback(row.Text(0));
        }
    });
}

std::vector<SessionRow> Store::LoadSessions() {
    return m_data.Read([](Database& database) {
        std::vector<SessionRow> sessions;
        Statement row = database.Prepare("SELECT token_hash, user, device, expires FROM sessions");
        while (row.Step()) {
            sessions.push_back({row.Text(0), row.Integer(1), row.Text(2), row.Integer(3)});
        }
        return sessions;
    });
}

void Store::AddSession(const SessionRow& session) {
    m_data.Write([&](Database& database) {
        Statement row =
            database.Prepare("INSERT INTO sessions (token_hash, user, device, expires) VALUES (?, ?, ?, ?)");
        row.Bind(session.tokenHash).Bind(session.user).Bind(session.device).Bind(session.expires);
        row.Run();
    });
}

void Store::RemoveSession(std::string_view tokenHash) {
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare("DELETE FROM sessions WHERE token_hash = ?");
        row.Bind(tokenHash);
        row.Run();
    });
}

void Store::RemoveSessionsOf(const Actor& actor) {
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare("DELETE FROM sessions WHERE user = ? AND device = ?");
        row.Bind(actor.user).Bind(actor.device);
        row.Run();
    });
}

void Store::RemoveSessionsExpiredBy(Ticks time) {
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare("DELETE FROM sessions WHERE expires <= ?");
        row.Bind(time);
        row.Run();
    });
}

}  // namespace appliance
