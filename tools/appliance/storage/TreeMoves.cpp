// Deleting and moving: the changes that concern everything in a folder.
#include <algorithm>

#include "http/Errors.h"
#include "storage/Changes.h"
#include "storage/Locks.h"
#include "storage/Mappings.h"
#include "storage/Tree.h"

namespace appliance {

namespace {

// The item and, for a folder, everything in it.
#define WITH_SUBTREE                                                     \
    "WITH RECURSIVE subtree (id) AS (SELECT ? UNION ALL SELECT items.id" \
    " FROM items JOIN subtree ON items.parent = subtree.id) "

std::vector<std::string> ContentsIn(Database& database, std::int64_t item) {
    Statement row = database.Prepare(
        WITH_SUBTREE "SELECT content FROM items WHERE id IN (SELECT id FROM subtree) AND content <> ''");
    row.Bind(item);
    std::vector<std::string> contents;
    while (row.Step()) {
        contents.push_back(row.Text(0));
    }
    return contents;
}

std::uint64_t LargestFileIn(Database& database, std::int64_t item) {
    Statement row = database.Prepare(WITH_SUBTREE "SELECT max(size) FROM items WHERE id IN (SELECT id FROM subtree)");
    row.Bind(item);
    return row.Step() ? static_cast<std::uint64_t>(row.Integer(0)) : 0;
}

// Locks and what shares name go with the items. A share that would name nothing any more goes ahead of them.
void RemoveRows(Database& database, std::int64_t item) {
    {
        Statement row = database.Prepare(
            WITH_SUBTREE
            "DELETE FROM shares WHERE token IN (SELECT token FROM share_items WHERE item IN (SELECT id FROM subtree))"
            " AND NOT EXISTS (SELECT 1 FROM share_items WHERE share_items.token = shares.token"
            " AND item NOT IN (SELECT id FROM subtree))");
        row.Bind(item);
        row.Run();
    }
    Statement row = database.Prepare(WITH_SUBTREE "DELETE FROM items WHERE id IN (SELECT id FROM subtree)");
    row.Bind(item);
    row.Run();
}

// Folder and name at once: either alone may be taken by another item.
void Place(Database& database, const Item& item, const Item& folder) {
    Statement row = database.Prepare("UPDATE items SET parent = ?, name = ?, revision = ? WHERE id = ?");
    row.Bind(folder.id).Bind(item.name).Bind(static_cast<std::int64_t>(item.revision)).Bind(item.id);
    row.Run();
}

bool IsInside(const ItemPath& path, const ItemPath& folder) {
    return path.size() > folder.size() && std::equal(folder.begin(), folder.end(), path.begin());
}

// A file may take the place of a file, nothing else that of anything.
void CheckReplacing(const Item& item, const Item& target, bool overwrite) {
    if (!overwrite) {
        throw ApiError(ErrorId::ItemExists, "An item of this name exists already");
    }
    if (item.directory || target.directory) {
        throw ApiError(ErrorId::WrongKind, "Only a file can be overwritten, and only by a file");
    }
}

}  // namespace

std::vector<std::string> Tree::Delete(const Actor& actor, const ItemPath& path,
                                      const std::optional<std::string>& revision) {
    static_cast<void>(ParentOf(path));
    Item item = Require(actor.user, path);
    RequireWritable(m_database, path);
    RequireNoMapping(m_database, path);
    RequireAllUnlocked(m_database, actor, item);
    if (revision && *revision != item.RevisionText()) {
        throw RevisionConflict(std::move(item));
    }
    auto contents = ContentsIn(m_database, item.id);
    RemoveRows(m_database, item.id);
    RecordChange(m_database, actor, "delete", PathText(path));
    return contents;
}

MovedItem Tree::Move(const Actor& actor, const ItemPath& from, const ItemPath& to, bool overwrite) {
    static_cast<void>(ParentOf(from));
    MovedItem moved{Require(actor.user, from), ""};
    Item& item = moved.item;
    if (IsInside(to, from)) {
        throw ApiError(ErrorId::Refused, "A folder cannot be moved into itself");
    }
    const Item folder = RequireFolder(actor.user, ParentOf(to));
    const auto target = FindChild(folder, to.back());
    if (target && target->id == item.id) {
        return moved;
    }
    RequireWritable(m_database, from);
    RequireWritable(m_database, to);
    RequireNoMapping(m_database, from);
    if (target) {
        CheckReplacing(item, *target, overwrite);
    }
    RequireAllUnlocked(m_database, actor, item);
    RequireUnlocked(m_database, actor, target ? *target : folder);
    RequireFileSize(m_database, to, LargestFileIn(m_database, item.id));
    if (target) {
        moved.replacedContent = target->content;
        RemoveRows(m_database, target->id);
    }
    item.name = to.back();
    item.readOnly = folder.readOnly;
    item.revision = NextRevision();
    Place(m_database, item, folder);
    RecordChange(m_database, actor, "move", {{"from", PathText(from)}, {"to", PathText(to)}});
    return moved;
}

}  // namespace appliance
