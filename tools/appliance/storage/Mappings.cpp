#include "storage/Mappings.h"

#include "http/Errors.h"
#include "http/Guid.h"
#include "storage/Tree.h"

namespace appliance {

namespace {

#define MAPPING_COLUMNS \
    "name, description, type, status, mode, read_only, sharing, deltas, locking, resumable, size_limit, guid, storage"

Mapping ReadMapping(const Statement& row) {
    Mapping mapping;
    mapping.name = row.Text(0);
    mapping.description = row.Text(1);
    mapping.type = row.Text(2);
    mapping.status = row.Text(3);
    mapping.mode = row.Text(4);
    mapping.readOnly = row.Integer(5) != 0;
    mapping.sharing = row.Integer(6) != 0;
    mapping.deltas = row.Integer(7) != 0;
    mapping.locking = row.Integer(8) != 0;
    mapping.resumable = row.Integer(9) != 0;
    if (const auto limit = row.OptionalInteger(10)) {
        mapping.sizeLimit = static_cast<std::uint64_t>(*limit);
    }
    mapping.guid = row.Text(11);
    mapping.storageId = row.Text(12);
    return mapping;
}

std::vector<Mapping> ReadOffered(Database& database) {
    std::vector<Mapping> mappings;
    Statement row = database.Prepare("SELECT " MAPPING_COLUMNS " FROM mappings WHERE place IS NOT NULL ORDER BY place");
    while (row.Step()) {
        mappings.push_back(ReadMapping(row));
    }
    return mappings;
}

// Identifiers stay those of the row that is there already.
void SaveMapping(Database& database, const Mapping& mapping, std::int64_t place) {
    Statement row = database.Prepare(
        "INSERT INTO mappings (place, " MAPPING_COLUMNS
        ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"
        " ON CONFLICT (name) DO UPDATE SET place = excluded.place, description = excluded.description,"
        " type = excluded.type, status = excluded.status, mode = excluded.mode, read_only = excluded.read_only,"
        " sharing = excluded.sharing, deltas = excluded.deltas, locking = excluded.locking,"
        " resumable = excluded.resumable, size_limit = excluded.size_limit");
    row.Bind(place).Bind(mapping.name).Bind(mapping.description).Bind(mapping.type).Bind(mapping.status);
    row.Bind(mapping.mode).Bind(std::int64_t{mapping.readOnly}).Bind(std::int64_t{mapping.sharing});
    row.Bind(std::int64_t{mapping.deltas}).Bind(std::int64_t{mapping.locking}).Bind(std::int64_t{mapping.resumable});
    row.BindOptional(mapping.sizeLimit ? std::optional(static_cast<std::int64_t>(*mapping.sizeLimit)) : std::nullopt);
    row.Bind(NewGuid()).Bind(NewGuid());
    row.Run();
}

std::vector<std::int64_t> AllUsers(Database& database) {
    std::vector<std::int64_t> users;
    Statement row = database.Prepare("SELECT id FROM users");
    while (row.Step()) {
        users.push_back(row.Integer(0));
    }
    return users;
}

// The server's own doing, on no device: all of the user's devices are told.
void PlantFolder(Database& database, std::int64_t user, const std::string& name) {
    Tree tree(database);
    const auto existing = tree.FindChild(tree.Require(user, {}), name);
    if (!existing) {
        static_cast<void>(tree.CreateFolder({user, ""}, {}, name));
    } else if (!existing->directory) {
        throw std::runtime_error("the mapping " + name + " has the name of a file that a user keeps");
    }
}

std::optional<std::string> GuidOf(Database& database, std::int64_t folder) {
    Statement row = database.Prepare("SELECT guid FROM folder_guids WHERE item = ?");
    row.Bind(folder);
    return row.Step() ? std::optional(row.Text(0)) : std::nullopt;
}

// Empty when a folder has no identifier yet.
std::optional<std::vector<Mapping>> TopLevelFolders(Database& database, std::int64_t user) {
    Tree tree(database);
    const Item root = tree.Require(user, {});
    const auto storageId = GuidOf(database, root.id);
    std::vector<Mapping> mappings;
    for (const Item& item : tree.Children(root)) {
        if (!item.directory) {
            continue;
        }
        const auto guid = GuidOf(database, item.id);
        if (!guid || !storageId) {
            return std::nullopt;
        }
        Mapping& mapping = mappings.emplace_back();
        mapping.name = item.name;
        mapping.guid = *guid;
        mapping.storageId = *storageId;
    }
    return mappings;
}

// Identifiers are made when they are first asked for: folders that are never listed this way need none.
void GiveGuids(Database& database, std::int64_t user) {
    Tree tree(database);
    const Item root = tree.Require(user, {});
    std::vector<Item> items = tree.Children(root);
    items.push_back(root);
    for (const Item& item : items) {
        Statement row = database.Prepare("INSERT INTO folder_guids (item, guid) VALUES (?, ?) ON CONFLICT DO NOTHING");
        row.Bind(item.id).Bind(NewGuid());
        row.Run();
    }
}

}  // namespace

std::optional<Mapping> FindMapping(Database& database, const ItemPath& path) {
    if (path.empty()) {
        return std::nullopt;
    }
    Statement row = database.Prepare("SELECT " MAPPING_COLUMNS " FROM mappings WHERE name = ? AND place IS NOT NULL");
    row.Bind(path.front());
    return row.Step() ? std::optional(ReadMapping(row)) : std::nullopt;
}

std::optional<Mapping> RequireReachable(Database& database, const ItemPath& path) {
    auto mapping = FindMapping(database, path);
    if (mapping && !mapping->IsReachable()) {
        throw ApiError(ErrorId::StorageOffline, "The storage of the mapped folder cannot be reached");
    }
    return mapping;
}

void RequireWritable(Database& database, const ItemPath& path) {
    const auto mapping = FindMapping(database, path);
    if (mapping && mapping->readOnly) {
        throw ApiError(ErrorId::Refused, "The mapped folder is read-only");
    }
}

void RequireCapability(Database& database, const ItemPath& path, Capability capability) {
    const auto mapping = FindMapping(database, path);
    if (!mapping) {
        return;
    }
    const bool able = capability == Capability::Sharing   ? mapping->sharing
                      : capability == Capability::Deltas  ? mapping->deltas
                      : capability == Capability::Locking ? mapping->locking
                                                          : mapping->resumable;
    if (!able) {
        throw ApiError(ErrorId::Refused, "The mapped folder does not allow this");
    }
}

void RequireFileSize(Database& database, const ItemPath& path, std::uint64_t size) {
    const auto mapping = FindMapping(database, path);
    if (mapping && mapping->sizeLimit && size > *mapping->sizeLimit) {
        throw ApiError(ErrorId::BodyTooLarge, "The mapped folder takes no file of this size");
    }
}

void RequireNoMapping(Database& database, const ItemPath& path) {
    if (path.size() == 1 && FindMapping(database, path)) {
        throw ApiError(ErrorId::Refused, "The mapped folder itself cannot be moved or deleted");
    }
}

void Mappings::Offer(const std::vector<Mapping>& mappings) {
    m_data.Write([&](Database& database) {
        database.Execute("UPDATE mappings SET place = NULL");
        for (const std::int64_t user : AllUsers(database)) {
            for (const Mapping& mapping : mappings) {
                PlantFolder(database, user, mapping.name);
            }
        }
        std::int64_t place = 0;
        for (const Mapping& mapping : mappings) {
            SaveMapping(database, mapping, place++);
        }
    });
}

std::vector<Mapping> Mappings::List(std::int64_t user) {
    const auto known = m_data.Read([&](Database& database) -> std::optional<std::vector<Mapping>> {
        auto offered = ReadOffered(database);
        return offered.empty() ? TopLevelFolders(database, user) : std::move(offered);
    });
    if (known) {
        return *known;
    }
    return m_data.Write([&](Database& database) {
        GiveGuids(database, user);
        return TopLevelFolders(database, user).value_or(std::vector<Mapping>());
    });
}

}  // namespace appliance
