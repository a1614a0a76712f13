// The users, their trees of items, and the sessions, in one SQLite file.
//
// Every call is one transaction and may be made from any thread; it blocks for the disk. What a call that returns has
// changed survives the death of the process at any moment. Paths are looked up name by name, byte for byte. Refusals
// throw ApiError, so handlers pass them on as they are.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "storage/Database.h"
#include "storage/Item.h"

namespace appliance {

struct User {
    std::int64_t id = 0;
    std::string name;
    std::string passwordHash;
};

struct SessionRow {
    std::string tokenHash;
    std::int64_t user = 0;
    std::string device;
    Ticks expires = 0;
};

struct Listing {
    Item folder;
    std::vector<Item> children;
};

// A file that has been received whole and waits for its row.
struct NewFile {
    ItemValues values;
    std::uint64_t size = 0;
    std::string content;                  // name of the content file
    std::optional<std::string> revision;  // what the client takes for the present one
};

struct StoredFile {
    Item item;
    std::string replacedContent;  // content file that no row names any more; empty when there was none
};

// Thrown where a revision was given that is not the present one; carries the item as it is.
class RevisionConflict : public std::runtime_error {
public:
    explicit RevisionConflict(Item current) : std::runtime_error("revision mismatch"), m_current(std::move(current)) {}
    [[nodiscard]] const Item& Current() const { return m_current; }

private:
    Item m_current;
};

class Store {
public:
    // `capacity` bounds the bytes of all contents together; empty is no bound but the disk's.
    Store(const std::string& file, bool sync, std::optional<std::uint64_t> capacity);

    [[nodiscard]] std::optional<User> FindUser(std::string_view name);
    [[nodiscard]] bool HasUsers();
    // Adds the user with an empty tree, or gives it another password.
    void SetUser(std::string_view name, std::string_view passwordHash);

    // Throws ItemMissing when there is none.
    [[nodiscard]] Item Get(std::int64_t user, const ItemPath& path);
    // The same with the items in it, ordered by name; a file has none.
    [[nodiscard]] Listing List(std::int64_t user, const ItemPath& path);

    [[nodiscard]] Item CreateFolder(std::int64_t user, const ItemPath& parent, const std::string& name);
    [[nodiscard]] Item Update(std::int64_t user, const ItemPath& path, const ItemValues& values);

    // Throws what PutFile would throw for a file of that size now, so that a hopeless upload is refused early.
    void CheckPut(std::int64_t user, const ItemPath& path, std::uint64_t size,
                  const std::optional<std::string>& revision);
    [[nodiscard]] StoredFile PutFile(std::int64_t user, const ItemPath& path, const NewFile& file);

    // Gives the item another revision, as another client's change would; nothing when there is no such item.
    void Touch(std::int64_t user, const ItemPath& path);

    // Calls back for every content file that a row names.
    void ForEachContent(const std::function<void(const std::string&)>& callback);

    [[nodiscard]] std::vector<SessionRow> LoadSessions();
    void AddSession(const SessionRow& session);
    void RemoveSession(std::string_view tokenHash);
    void RemoveSessionsExpiredBy(Ticks time);

private:
    class Reader;

    [[nodiscard]] std::unique_ptr<Database> TakeReader();
    void GiveReader(std::unique_ptr<Database> database);
    void CheckRoom(Database& database, std::uint64_t added, std::uint64_t freed) const;
    [[nodiscard]] std::optional<Item> CheckTarget(Database& database, std::int64_t user, const ItemPath& path,
                                                  std::uint64_t size, const std::optional<std::string>& revision) const;

    std::string m_file;
    bool m_sync;
    std::optional<std::uint64_t> m_capacity;
    std::mutex m_writeLock;
    Database m_writer;
    std::mutex m_readersLock;
    std::vector<std::unique_ptr<Database>> m_readers;
};

}  // namespace appliance
