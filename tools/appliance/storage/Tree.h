// A user's items within one transaction of the data file. Paths are looked up name by name, byte for byte. Refusals
// throw ApiError, so handlers pass them on as they are.
//
// Whatever looks a path up refuses one in a mapped folder whose storage cannot be reached. Changing functions refuse
// what is in a read-only mapped folder and what another device has locked, and record the change for the user's other
// devices.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "storage/Actor.h"
#include "storage/Database.h"
#include "storage/Item.h"

namespace appliance {

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

struct MovedItem {
    Item item;
    std::string replacedContent;  // as in StoredFile
};

// Thrown where a revision was given that is not the present one; carries the item as it is.
class RevisionConflict : public std::runtime_error {
public:
    explicit RevisionConflict(Item current) : std::runtime_error("revision mismatch"), m_current(std::move(current)) {}
    [[nodiscard]] const Item& Current() const { return m_current; }

private:
    Item m_current;
};

class Tree {
public:
    // `capacity` bounds the bytes of all contents together; empty is no bound but the disk's.
    explicit Tree(Database& database, std::optional<std::uint64_t> capacity = std::nullopt)
        : m_database(database), m_capacity(capacity) {}

    // Reading.
    [[nodiscard]] std::optional<Item> Find(std::int64_t user, const ItemPath& path);
    [[nodiscard]] Item Require(std::int64_t user, const ItemPath& path);  // or ItemMissing
    [[nodiscard]] Item RequireFolder(std::int64_t user, const ItemPath& path);
    [[nodiscard]] std::vector<Item> Children(const Item& folder);  // ordered by name
    [[nodiscard]] std::optional<Item> FindChild(const Item& folder, std::string_view name);
    // The item by its id, wherever it stands now; empty when it is gone.
    [[nodiscard]] std::optional<Item> FindById(std::int64_t id);
    // Where an item stands; its own name last.
    [[nodiscard]] ItemPath PathOf(std::int64_t id);

    // Throws what StoreFile would throw for a file of that size: the folder, the kind, the revision, the mapped folder,
    // a lock, the room. The result is the file that would be replaced; empty when the path names nothing yet.
    std::optional<Item> CheckTarget(const Actor& actor, const ItemPath& path, std::uint64_t size,
                                    const std::optional<std::string>& revision);
    // Throws StorageFull when so many more bytes do not fit.
    void CheckRoom(std::uint64_t added, std::uint64_t freed);

    // Changing.
    [[nodiscard]] StoredFile StoreFile(const Actor& actor, const ItemPath& path, const NewFile& file);
    [[nodiscard]] Item CreateFolder(const Actor& actor, const ItemPath& parent, const std::string& name);
    [[nodiscard]] Item Update(const Actor& actor, const ItemPath& path, const ItemValues& values);
    // Moves the item, a folder with all that is in it. A target that exists is replaced with `overwrite`, a file by a
    // file only.
    [[nodiscard]] MovedItem Move(const Actor& actor, const ItemPath& from, const ItemPath& to, bool overwrite);
    // Deletes the item, a folder with all that is in it, and whatever hangs on them: locks, shares. The result are the
    // content files that no row names any more.
    [[nodiscard]] std::vector<std::string> Delete(const Actor& actor, const ItemPath& path,
                                                  const std::optional<std::string>& revision);
    // Gives the item another revision, as another client's change would; nothing when there is no such item.
    void Touch(std::int64_t user, const ItemPath& path);
    // An empty tree for a user who has none yet.
    void PlantRoot(std::int64_t user);

    // For the operations of other files: rows as they are, without any check.
    [[nodiscard]] std::uint64_t NextRevision();
    // Sets the item's id, which no item has had before: other rows name items by it, and outlive them.
    void Insert(std::int64_t user, const Item& folder, Item& item);
    void Save(const Item& item);

private:
    Database& m_database;
    std::optional<std::uint64_t> m_capacity;
};

}  // namespace appliance
