// The users, their trees of items, and the sessions.
//
// Every call is one transaction of the data file and may be made from any thread; it blocks for the disk. Refusals
// throw ApiError, so handlers pass them on as they are.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "storage/DataFile.h"
#include "storage/Tree.h"

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

class Store {
public:
    // `capacity` bounds the bytes of all contents together; empty is no bound but the disk's.
    Store(DataFile& data, std::optional<std::uint64_t> capacity) : m_data(data), m_capacity(capacity) {}

    [[nodiscard]] std::optional<User> FindUser(std::string_view name);
    [[nodiscard]] bool HasUsers();
    // Adds the user with an empty tree, or gives it another password.
    void SetUser(std::string_view name, std::string_view passwordHash);

    // Throws ItemMissing when there is none.
    [[nodiscard]] Item Get(std::int64_t user, const ItemPath& path);
    // The same with the items in it, ordered by name; a file has none.
    [[nodiscard]] Listing List(std::int64_t user, const ItemPath& path);

    [[nodiscard]] Item CreateFolder(const Actor& actor, const ItemPath& parent, const std::string& name);
    [[nodiscard]] Item Update(const Actor& actor, const ItemPath& path, const ItemValues& values);

    // Throws what PutFile would throw for a file of that size now, so that a hopeless upload is refused early.
    void CheckPut(const Actor& actor, const ItemPath& path, std::uint64_t size,
                  const std::optional<std::string>& revision);
    [[nodiscard]] StoredFile PutFile(const Actor& actor, const ItemPath& path, const NewFile& file);

    [[nodiscard]] MovedItem Move(const Actor& actor, const ItemPath& from, const ItemPath& to, bool overwrite);
    // The result are the content files that no row names any more.
    [[nodiscard]] std::vector<std::string> Delete(const Actor& actor, const ItemPath& path,
                                                  const std::optional<std::string>& revision);

    // Gives the item another revision, as another client's change would; nothing when there is no such item.
    void Touch(std::int64_t user, const ItemPath& path);

    // Calls back for every content file that a row names.
    void ForEachContent(const std::function<void(const std::string&)>& callback);

    [[nodiscard]] std::vector<SessionRow> LoadSessions();
    void AddSession(const SessionRow& session);
    void RemoveSession(std::string_view tokenHash);
    void RemoveSessionsOf(const Actor& actor);
    void RemoveSessionsExpiredBy(Ticks time);

private:
    DataFile& m_data;
    std::optional<std::uint64_t> m_capacity;
};

}  // namespace appliance
