#include "storage/Shares.h"

#include "http/Errors.h"
#include "storage/Mappings.h"
#include "storage/Random.h"
#include "storage/Tree.h"

namespace appliance {

namespace {

constexpr std::size_t TokenBytes = 32;

void AddRow(Database& database, const std::string& token, const Actor& actor, const Share& share) {
    Statement row = database.Prepare("INSERT INTO shares (token, user, name, message, time) VALUES (?, ?, ?, ?, ?)");
    row.Bind(token).Bind(actor.user).Bind(share.name).Bind(share.message).Bind(CurrentTicks());
    row.Run();
}

void AddItem(Database& database, const std::string& token, std::int64_t item) {
    Statement row = database.Prepare("INSERT INTO share_items (token, item) VALUES (?, ?) ON CONFLICT DO NOTHING");
    row.Bind(token).Bind(item);
    row.Run();
}

}  // namespace

std::string Shares::Add(const Actor& actor, const Share& share) {
    const std::string token = ToHex(RandomBytes(TokenBytes));
    m_data.Write([&](Database& database) {
        AddRow(database, token, actor, share);
        for (const ItemPath& path : share.paths) {
            const Item item = Tree(database).Require(actor.user, path);
            RequireCapability(database, path, Capability::Sharing);
            AddItem(database, token, item.id);
        }
    });
    return token;
}

std::pair<std::int64_t, ItemPath> Shares::Find(std::string_view token) {
    return m_data.Read([&](Database& database) {
        std::int64_t user = 0;
        std::vector<std::int64_t> items;
        {
            Statement row = database.Prepare(
                "SELECT shares.user, share_items.item FROM shares JOIN share_items USING (token) WHERE token = ?");
            row.Bind(token);
            while (row.Step()) {
                user = row.Integer(0);
                items.push_back(row.Integer(1));
            }
        }
        if (items.empty()) {
            throw ApiError(ErrorId::ItemMissing, "There is no such share");
        }
        if (items.size() > 1) {
            throw ApiError(ErrorId::WrongKind, "The share is not a single file");
        }
        ItemPath path = Tree(database).PathOf(items.front());
        RequireCapability(database, path, Capability::Sharing);
        return std::pair(user, std::move(path));
    });
}

}  // namespace appliance
