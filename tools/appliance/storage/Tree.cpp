#include "storage/Tree.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "http/Errors.h"
#include "storage/Changes.h"
#include "storage/Locks.h"
#include "storage/Mappings.h"

namespace appliance {

namespace {

#define ITEM_COLUMNS "id, name, directory, revision, creation_time, modification_time, attributes, size, content"

Item ReadItem(const Statement& row) {
    Item item;
    item.id = row.Integer(0);
    item.name = row.Text(1);
    item.directory = row.Integer(2) != 0;
    item.revision = static_cast<std::uint64_t>(row.Integer(3));
    item.creationTime = row.Integer(4);
    item.modificationTime = row.Integer(5);
    item.attributes = static_cast<std::uint32_t>(row.Integer(6));
    item.size = static_cast<std::uint64_t>(row.Integer(7));
    item.content = row.Text(8);
    return item;
}

// A folder stays a folder and a file a file, whatever bits a client sends.
std::uint32_t FittingAttributes(std::uint32_t attributes, bool directory) {
    return directory ? attributes | DirectoryAttribute : attributes & ~DirectoryAttribute;
}

void ApplyValues(Item& item, const ItemValues& values) {
    item.creationTime = values.creationTime.value_or(item.creationTime);
    item.modificationTime = values.modificationTime.value_or(item.modificationTime);
    item.attributes = FittingAttributes(values.attributes.value_or(item.attributes), item.directory);
}

Item NewItem(std::string name, bool directory) {
    Item item;
    item.name = std::move(name);
    item.directory = directory;
    item.creationTime = CurrentTicks();
    item.modificationTime = item.creationTime;
    item.attributes = directory ? DirectoryAttribute : NormalAttribute;
    return item;
}

std::optional<Item> OptionalRow(Statement& row) {
    return row.Step() ? std::optional(ReadItem(row)) : std::nullopt;
}

}  // namespace

std::optional<Item> Tree::Find(std::int64_t user, const ItemPath& path) {
    const auto mapping = RequireReachable(m_database, path);
    std::optional<Item> item;
    {
        Statement row = m_database.Prepare("SELECT " ITEM_COLUMNS " FROM items WHERE user = ? AND parent IS NULL");
        row.Bind(user);
        item = OptionalRow(row);
    }
    for (auto name = path.begin(); item && name != path.end(); ++name) {
        item = FindChild(*item, *name);
    }
    if (item) {
        item->readOnly = mapping && mapping->readOnly;
    }
    return item;
}

std::optional<Item> Tree::FindChild(const Item& folder, std::string_view name) {
    Statement row = m_database.Prepare("SELECT " ITEM_COLUMNS " FROM items WHERE parent = ? AND name = ?");
    row.Bind(folder.id).Bind(name);
    auto item = OptionalRow(row);
    if (item) {
        item->readOnly = folder.readOnly;
    }
    return item;
}

std::optional<Item> Tree::FindById(std::int64_t id) {
    Statement row = m_database.Prepare("SELECT " ITEM_COLUMNS " FROM items WHERE id = ?");
    row.Bind(id);
    return OptionalRow(row);
}

ItemPath Tree::PathOf(std::int64_t id) {
    Statement row = m_database.Prepare(
        "WITH RECURSIVE above (name, parent, height) AS (SELECT name, parent, 0 FROM items WHERE id = ? UNION ALL"
        " SELECT items.name, items.parent, height + 1 FROM items JOIN above ON items.id = above.parent)"
        " SELECT name FROM above WHERE parent IS NOT NULL ORDER BY height DESC");
    row.Bind(id);
    ItemPath path;
    while (row.Step()) {
        path.push_back(row.Text(0));
    }
    return path;
}

Item Tree::Require(std::int64_t user, const ItemPath& path) {
    auto item = Find(user, path);
    if (!item) {
        throw ApiError(ErrorId::ItemMissing, "There is no such item");
    }
    return std::move(*item);
}

Item Tree::RequireFolder(std::int64_t user, const ItemPath& path) {
    Item folder = Require(user, path);
    if (!folder.directory) {
        throw ApiError(ErrorId::WrongKind, "A file cannot hold items");
    }
    return folder;
}

std::vector<Item> Tree::Children(const Item& folder) {
    const bool root = folder.name.empty();
    std::vector<Item> children;
    Statement row = m_database.Prepare("SELECT " ITEM_COLUMNS " FROM items WHERE parent = ? ORDER BY name");
    row.Bind(folder.id);
    while (row.Step()) {
        Item& child = children.emplace_back(ReadItem(row));
        const auto mapping = root ? FindMapping(m_database, {child.name}) : std::nullopt;
        child.readOnly = root ? mapping && mapping->readOnly : folder.readOnly;
    }
    return children;
}

void Tree::CheckRoom(std::uint64_t added, std::uint64_t freed) {
    if (!m_capacity) {
        return;
    }
    Statement row = m_database.Prepare(
        "SELECT (SELECT coalesce(sum(size), 0) FROM items) + (SELECT coalesce(sum(received), 0) FROM uploads WHERE "
        "item IS NULL) + (SELECT coalesce(sum(size + delta_size), 0) FROM delta_jobs WHERE state <> 'FAILED')");
    const std::uint64_t used = row.Step() ? static_cast<std::uint64_t>(row.Integer(0)) - freed : 0;
    if (added > *m_capacity || used > *m_capacity - added) {
        throw ApiError(ErrorId::StorageFull, "The storage is full");
    }
}

std::optional<Item> Tree::CheckTarget(const Actor& actor, const ItemPath& path, std::uint64_t size,
                                      const std::optional<std::string>& revision) {
    const Item folder = RequireFolder(actor.user, ParentOf(path));
    RequireWritable(m_database, path);
    auto existing = FindChild(folder, path.back());
    if (existing && existing->directory) {
        throw ApiError(ErrorId::WrongKind, "A folder of this name exists already");
    }
    if (revision && !existing) {
        throw ApiError(ErrorId::ItemMissing, "The item of that revision is no longer there");
    }
    RequireUnlocked(m_database, actor, existing ? *existing : folder);
    if (revision && *revision != existing->RevisionText()) {
        throw RevisionConflict(std::move(*existing));
    }
    RequireFileSize(m_database, path, size);
    CheckRoom(size, existing ? existing->size : 0);
    return existing;
}

StoredFile Tree::StoreFile(const Actor& actor, const ItemPath& path, const NewFile& file) {
    const auto existing = CheckTarget(actor, path, file.size, file.revision);
    StoredFile stored{existing ? *existing : NewItem(path.back(), false), existing ? existing->content : std::string()};
    Item& item = stored.item;
    if (existing && !file.values.modificationTime) {
        item.modificationTime = CurrentTicks();
    }
    ApplyValues(item, file.values);
    item.size = file.size;
    item.content = file.content;
    item.revision = NextRevision();
    if (existing) {
        Save(item);
    } else {
        Insert(actor.user, RequireFolder(actor.user, ParentOf(path)), item);
    }
    RecordChange(m_database, actor, "upload", PathText(path));
    return stored;
}

Item Tree::CreateFolder(const Actor& actor, const ItemPath& parent, const std::string& name) {
    const Item folder = RequireFolder(actor.user, parent);
    if (FindChild(folder, name)) {
        throw ApiError(ErrorId::ItemExists, "An item of this name exists already");
    }
    RequireWritable(m_database, parent);
    RequireUnlocked(m_database, actor, folder);
    Item item = NewItem(name, true);
    item.revision = NextRevision();
    Insert(actor.user, folder, item);
    ItemPath path = parent;
    path.push_back(name);
    RecordChange(m_database, actor, "create", PathText(path));
    return item;
}

Item Tree::Update(const Actor& actor, const ItemPath& path, const ItemValues& values) {
    const Item folder = RequireFolder(actor.user, ParentOf(path));
    Item item = Require(actor.user, path);
    RequireWritable(m_database, path);
    RequireUnlocked(m_database, actor, item);
    ItemPath now = path;
    if (values.name && *values.name != item.name) {
        RequireNoMapping(m_database, path);
        RequireAllUnlocked(m_database, actor, item);
        if (FindChild(folder, *values.name)) {
            throw ApiError(ErrorId::ItemExists, "An item of this name exists already");
        }
        item.name = *values.name;
        now.back() = item.name;
    }
    ApplyValues(item, values);
    item.revision = NextRevision();
    Save(item);
    if (now == path) {
        RecordChange(m_database, actor, "update", {{"from", PathText(path)}, {"to", PathText(path)}});
    } else {
        RecordChange(m_database, actor, "move", {{"from", PathText(path)}, {"to", PathText(now)}});
    }
    return item;
}

void Tree::Touch(std::int64_t user, const ItemPath& path) {
    if (auto item = Find(user, path)) {
        item->revision = NextRevision();
        Save(*item);
    }
}

void Tree::PlantRoot(std::int64_t user) {
    if (Find(user, {})) {
        return;
    }
    Item root = NewItem("", true);
    root.revision = NextRevision();
    Insert(user, {}, root);
}

std::uint64_t Tree::NextRevision() {
    Statement row = m_database.Prepare("UPDATE counters SET value = value + 1 WHERE name = 'revision' RETURNING value");
    if (!row.Step()) {
        throw std::runtime_error("the data folder has lost its revision counter");
    }
    const auto revision = static_cast<std::uint64_t>(row.Integer(0));
    row.Run();
    return revision;
}

void Tree::Insert(std::int64_t user, const Item& folder, Item& item) {
    Statement row = m_database.Prepare(
        "INSERT INTO items (id, user, parent, name, directory, revision, creation_time, modification_time, attributes,"
        " size, content) VALUES (?, ?, nullif(?, 0), ?, ?, ?, ?, ?, ?, ?, ?)");
    // A revision is given once, and every id is one of them or, in old data, smaller.
    item.id = static_cast<std::int64_t>(item.revision);
    row.Bind(item.id).Bind(user).Bind(folder.id).Bind(item.name).Bind(std::int64_t{item.directory});
    row.Bind(static_cast<std::int64_t>(item.revision)).Bind(item.creationTime).Bind(item.modificationTime);
    row.Bind(std::int64_t{item.attributes}).Bind(static_cast<std::int64_t>(item.size)).Bind(item.content);
    row.Run();
}

void Tree::Save(const Item& item) {
    Statement row = m_database.Prepare(
        "UPDATE items SET name = ?, revision = ?, creation_time = ?, modification_time = ?, attributes = ?, size = ?,"
        " content = ? WHERE id = ?");
    row.Bind(item.name).Bind(static_cast<std::int64_t>(item.revision)).Bind(item.creationTime);
    row.Bind(item.modificationTime).Bind(std::int64_t{item.attributes}).Bind(static_cast<std::int64_t>(item.size));
    row.Bind(item.content).Bind(item.id);
    row.Run();
}

}  // namespace appliance
