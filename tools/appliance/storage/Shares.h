// Shares: what a user has given away under a link. A share names items by their ids, so it follows them when they are
// renamed or moved, and loses them when they are deleted.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "storage/Actor.h"
#include "storage/DataFile.h"
#include "storage/Item.h"

namespace appliance {

struct Share {
    std::string name;
    std::string message;
    std::vector<ItemPath> paths;
};

// Refusals throw ApiError.
class Shares {
public:
    explicit Shares(DataFile& data) : m_data(data) {}

    // The result is the token by which the share is found: unguessable, as it is all that a reader needs. Throws
    // ItemMissing for a path that names nothing and Refused where the mapped folder is not for sharing.
    [[nodiscard]] std::string Add(const Actor& actor, const Share& share);

    // Whose item is shared, and where it stands now. Throws ItemMissing for an unknown token, and WrongKind when not
    // exactly one item is shared.
    [[nodiscard]] std::pair<std::int64_t, ItemPath> Find(std::string_view token);

private:
    DataFile& m_data;
};

}  // namespace appliance
