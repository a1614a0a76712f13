// The mapped folders that the server offers, kept as rows so that whatever works on items within a transaction sees
// them, and so that their identifiers last.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "storage/DataFile.h"
#include "storage/Item.h"
#include "storage/Mapping.h"

namespace appliance {

// What not every storage can do.
enum class Capability { Sharing, Deltas, Locking, ResumableUploads };

// The offered mapping that the path lies in; empty for a path in none.
[[nodiscard]] std::optional<Mapping> FindMapping(Database& database, const ItemPath& path);

// The same; throws StorageOffline when what the path names cannot be reached.
std::optional<Mapping> RequireReachable(Database& database, const ItemPath& path);

// Throw Refused when the path's mapping must not be changed or cannot do that. Outside of mappings everything is
// allowed.
void RequireWritable(Database& database, const ItemPath& path);
void RequireCapability(Database& database, const ItemPath& path, Capability capability);
// Throws BodyTooLarge for a file that is larger than those which the path's mapping takes.
void RequireFileSize(Database& database, const ItemPath& path, std::uint64_t size);
// Throws Refused when the path is a mapping itself: its name and place are the server's.
void RequireNoMapping(Database& database, const ItemPath& path);

class Mappings {
public:
    explicit Mappings(DataFile& data) : m_data(data) {}

    // From now on exactly these are offered, in this order. Every user gets their folders; one of which a user has a
    // file of that name throws std::runtime_error. A mapping that is offered again has the identifiers that it had.
    void Offer(const std::vector<Mapping>& mappings);

    // The offered mappings. Without any, the user's top-level folders: each is one of the server's own storage.
    [[nodiscard]] std::vector<Mapping> List(std::int64_t user);

private:
    DataFile& m_data;
};

}  // namespace appliance
