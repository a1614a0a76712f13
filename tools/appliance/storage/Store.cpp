#include "storage/Store.h"

#include "http/Errors.h"
#include "storage/Schema.h"

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

std::optional<Item> FindRoot(Database& database, std::int64_t user) {
    Statement row = database.Prepare("SELECT " ITEM_COLUMNS " FROM items WHERE user = ? AND parent IS NULL");
    row.Bind(user);
    return row.Step() ? std::optional(ReadItem(row)) : std::nullopt;
}

std::optional<Item> FindChild(Database& database, std::int64_t parent, std::string_view name) {
    Statement row = database.Prepare("SELECT " ITEM_COLUMNS " FROM items WHERE parent = ? AND name = ?");
    row.Bind(parent).Bind(name);
    return row.Step() ? std::optional(ReadItem(row)) : std::nullopt;
}

std::optional<Item> Find(Database& database, std::int64_t user, const ItemPath& path) {
    auto item = FindRoot(database, user);
    for (auto name = path.begin(); item && name != path.end(); ++name) {
        item = FindChild(database, item->id, *name);
    }
    return item;
}

Item Require(Database& database, std::int64_t user, const ItemPath& path) {
    auto item = Find(database, user, path);
    if (!item) {
        throw ApiError(ErrorId::ItemMissing, "There is no such item");
    }
    return std::move(*item);
}

Item RequireFolder(Database& database, std::int64_t user, const ItemPath& path) {
    Item folder = Require(database, user, path);
    if (!folder.directory) {
        throw ApiError(ErrorId::WrongKind, "A file cannot hold items");
    }
    return folder;
}

std::uint64_t NextRevision(Database& database) {
    Statement row = database.Prepare("UPDATE counters SET value = value + 1 WHERE name = 'revision' RETURNING value");
    if (!row.Step()) {
        throw std::runtime_error("the data folder has lost its revision counter");
    }
    const auto revision = static_cast<std::uint64_t>(row.Integer(0));
    while (row.Step()) {
    }
    return revision;
}

void InsertItem(Database& database, std::int64_t user, std::int64_t parent, const Item& item) {
    Statement row = database.Prepare(
        "INSERT INTO items (user, parent, name, directory, revision, creation_time, modification_time, attributes, "
        "size,"
        " content) VALUES (?, nullif(?, 0), ?, ?, ?, ?, ?, ?, ?, ?)");
    row.Bind(user).Bind(parent).Bind(item.name).Bind(std::int64_t{item.directory});
    row.Bind(static_cast<std::int64_t>(item.revision)).Bind(item.creationTime).Bind(item.modificationTime);
    row.Bind(std::int64_t{item.attributes}).Bind(static_cast<std::int64_t>(item.size)).Bind(item.content);
    row.Run();
}

void SaveItem(Database& database, const Item& item) {
    Statement row = database.Prepare(
        "UPDATE items SET name = ?, revision = ?, creation_time = ?, modification_time = ?, attributes = ?, size = ?,"
        " content = ? WHERE id = ?");
    row.Bind(item.name).Bind(static_cast<std::int64_t>(item.revision)).Bind(item.creationTime);
    row.Bind(item.modificationTime).Bind(std::int64_t{item.attributes}).Bind(static_cast<std::int64_t>(item.size));
    row.Bind(item.content).Bind(item.id);
    row.Run();
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

ItemPath ParentOf(const ItemPath& path) {
    if (path.empty()) {
        throw ApiError(ErrorId::Refused, "The root folder cannot be changed");
    }
    return ItemPath(path.begin(), path.end() - 1);
}

}  // namespace

// Reading does not wait for a writer that waits for the disk: each reading call takes a connection of its own, and sees
// one state of the tree from its first look-up to its last.
class Store::Reader {
public:
    explicit Reader(Store& store) : m_store(store), m_database(store.TakeReader()) {
        m_database->Prepare("BEGIN").Run();
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() {
        try {
            m_database->Prepare("COMMIT").Run();
            m_store.GiveReader(std::move(m_database));
        } catch (const std::exception&) {
            // A connection that cannot even end a reading is closed instead of being used again.
        }
    }

    Database& operator*() { return *m_database; }

private:
    Store& m_store;
    std::unique_ptr<Database> m_database;
};

Store::Store(const std::string& file, bool sync, std::optional<std::uint64_t> capacity)
    : m_file(file), m_sync(sync), m_capacity(capacity), m_writer(file, sync) {
    MigrateSchema(m_writer);
}

std::unique_ptr<Database> Store::TakeReader() {
    {
        const std::lock_guard lock(m_readersLock);
        if (!m_readers.empty()) {
            auto database = std::move(m_readers.back());
            m_readers.pop_back();
            return database;
        }
    }
    return std::make_unique<Database>(m_file, m_sync);
}

void Store::GiveReader(std::unique_ptr<Database> database) {
    const std::lock_guard lock(m_readersLock);
    m_readers.push_back(std::move(database));
}

std::optional<User> Store::FindUser(std::string_view name) {
    Reader reader(*this);
    Statement row = (*reader).Prepare("SELECT id, name, password FROM users WHERE name = ?");
    row.Bind(name);
    return row.Step() ? std::optional(User{row.Integer(0), row.Text(1), row.Text(2)}) : std::nullopt;
}

bool Store::HasUsers() {
    Reader reader(*this);
    Statement row = (*reader).Prepare("SELECT 1 FROM users LIMIT 1");
    return row.Step();
}

void Store::SetUser(std::string_view name, std::string_view passwordHash) {
    const std::lock_guard lock(m_writeLock);
    Transaction transaction(m_writer);
    {
        Statement row = m_writer.Prepare(
            "INSERT INTO users (name, password) VALUES (?, ?) ON CONFLICT (name) DO UPDATE SET password = "
            "excluded.password RETURNING id");
        row.Bind(name).Bind(passwordHash);
        const std::int64_t user = row.Step() ? row.Integer(0) : 0;
        row.Run();
        if (!FindRoot(m_writer, user)) {
            Item root = NewItem("", true);
            root.revision = NextRevision(m_writer);
            InsertItem(m_writer, user, 0, root);
        }
    }
    transaction.Commit();
}

Item Store::Get(std::int64_t user, const ItemPath& path) {
    Reader reader(*this);
    return Require(*reader, user, path);
}

Listing Store::List(std::int64_t user, const ItemPath& path) {
    Reader reader(*this);
    Listing listing{Require(*reader, user, path), {}};
    Statement row = (*reader).Prepare("SELECT " ITEM_COLUMNS " FROM items WHERE parent = ? ORDER BY name");
    row.Bind(listing.folder.id);
    while (row.Step()) {
        listing.children.push_back(ReadItem(row));
    }
    return listing;
}

Item Store::CreateFolder(std::int64_t user, const ItemPath& parent, const std::string& name) {
    const std::lock_guard lock(m_writeLock);
    Transaction transaction(m_writer);
    const Item folder = RequireFolder(m_writer, user, parent);
    if (FindChild(m_writer, folder.id, name)) {
        throw ApiError(ErrorId::ItemExists, "An item of this name exists already");
    }
    Item item = NewItem(name, true);
    item.revision = NextRevision(m_writer);
    InsertItem(m_writer, user, folder.id, item);
    item.id = m_writer.LastRowId();
    transaction.Commit();
    return item;
}

Item Store::Update(std::int64_t user, const ItemPath& path, const ItemValues& values) {
    const std::lock_guard lock(m_writeLock);
    Transaction transaction(m_writer);
    const Item folder = RequireFolder(m_writer, user, ParentOf(path));
    Item item = Require(m_writer, user, path);
    if (values.name && *values.name != item.name) {
        if (FindChild(m_writer, folder.id, *values.name)) {
            throw ApiError(ErrorId::ItemExists, "An item of this name exists already");
        }
        item.name = *values.name;
    }
    ApplyValues(item, values);
    item.revision = NextRevision(m_writer);
    SaveItem(m_writer, item);
    transaction.Commit();
    return item;
}

void Store::CheckRoom(Database& database, std::uint64_t added, std::uint64_t freed) const {
    if (!m_capacity) {
        return;
    }
    Statement row = database.Prepare("SELECT coalesce(sum(size), 0) FROM items");
    const std::uint64_t used = row.Step() ? static_cast<std::uint64_t>(row.Integer(0)) - freed : 0;
    if (added > *m_capacity || used > *m_capacity - added) {
        throw ApiError(ErrorId::StorageFull, "The storage is full");
    }
}

// The file that would be replaced; empty when the path names nothing yet.
std::optional<Item> Store::CheckTarget(Database& database, std::int64_t user, const ItemPath& path, std::uint64_t size,
                                       const std::optional<std::string>& revision) const {
    const Item folder = RequireFolder(database, user, ParentOf(path));
    auto existing = FindChild(database, folder.id, path.back());
    if (existing && existing->directory) {
        throw ApiError(ErrorId::WrongKind, "A folder of this name exists already");
    }
    if (revision && !existing) {
        throw ApiError(ErrorId::ItemMissing, "The item of that revision is no longer there");
    }
    if (revision && *revision != existing->RevisionText()) {
        throw RevisionConflict(std::move(*existing));
    }
    CheckRoom(database, size, existing ? existing->size : 0);
    return existing;
}

void Store::CheckPut(std::int64_t user, const ItemPath& path, std::uint64_t size,
                     const std::optional<std::string>& revision) {
    Reader reader(*this);
    static_cast<void>(CheckTarget(*reader, user, path, size, revision));
}

StoredFile Store::PutFile(std::int64_t user, const ItemPath& path, const NewFile& file) {
    const std::lock_guard lock(m_writeLock);
    Transaction transaction(m_writer);
    const auto existing = CheckTarget(m_writer, user, path, file.size, file.revision);
    StoredFile stored{existing ? *existing : NewItem(path.back(), false), existing ? existing->content : std::string()};
    Item& item = stored.item;
    if (existing && !file.values.modificationTime) {
        item.modificationTime = CurrentTicks();
    }
    ApplyValues(item, file.values);
    item.size = file.size;
    item.content = file.content;
    item.revision = NextRevision(m_writer);
    if (existing) {
        SaveItem(m_writer, item);
    } else {
        const Item folder = RequireFolder(m_writer, user, ParentOf(path));
        InsertItem(m_writer, user, folder.id, item);
        item.id = m_writer.LastRowId();
    }
    transaction.Commit();
    return stored;
}

void Store::Touch(std::int64_t user, const ItemPath& path) {
    const std::lock_guard lock(m_writeLock);
    Transaction transaction(m_writer);
    if (auto item = Find(m_writer, user, path)) {
        item->revision = NextRevision(m_writer);
        SaveItem(m_writer, *item);
    }
    transaction.Commit();
}

void Store::ForEachContent(const std::function<void(const std::string&)>& callback) {
    Reader reader(*this);
    Statement row = (*reader).Prepare("SELECT content FROM items WHERE content <> ''");
    while (row.Step()) {
        callback(row.Text(0));
    }
}

std::vector<SessionRow> Store::LoadSessions() {
    Reader reader(*this);
    std::vector<SessionRow> sessions;
    Statement row = (*reader).Prepare("SELECT token_hash, user, device, expires FROM sessions");
    while (row.Step()) {
        sessions.push_back({row.Text(0), row.Integer(1), row.Text(2), row.Integer(3)});
    }
    return sessions;
}

void Store::AddSession(const SessionRow& session) {
    const std::lock_guard lock(m_writeLock);
    Statement row = m_writer.Prepare("INSERT INTO sessions (token_hash, user, device, expires) VALUES (?, ?, ?, ?)");
    row.Bind(session.tokenHash).Bind(session.user).Bind(session.device).Bind(session.expires);
    row.Run();
}

void Store::RemoveSession(std::string_view tokenHash) {
    const std::lock_guard lock(m_writeLock);
    Statement row = m_writer.Prepare("DELETE FROM sessions WHERE token_hash = ?");
    row.Bind(tokenHash);
    row.Run();
}

void Store::RemoveSessionsExpiredBy(Ticks time) {
    const std::lock_guard lock(m_writeLock);
    Statement row = m_writer.Prepare("DELETE FROM sessions WHERE expires <= ?");
    row.Bind(time);
    row.Run();
}

}  // namespace appliance
