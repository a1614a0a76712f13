// A mapped folder: a top-level folder that stands for a storage of its own, with what that storage allows.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace appliance {

struct Mapping {
    std::string name;
    std::string description;
    std::string type = "internal";
    std::string status = "ONLINE";
    std::string mode = "AUTOMATIC";
    bool readOnly = false;
    bool sharing = true;
    bool deltas = true;
    bool locking = true;
    bool resumable = true;
    std::optional<std::uint64_t> sizeLimit;  // of one file
    std::string guid;                        // of the mapping, and of its storage: given by the server
    std::string storageId;

    // Whether what is in it can be reached.
    [[nodiscard]] bool IsReachable() const;
};

// The words that a status may be, in any letter case.
bool IsMappingStatus(const std::string& word);

// The mapping that a command line describes: "NAME;type=smb;status=OFFLINE;readonly;limit=1000". Throws
// std::invalid_argument, whose text says what is wrong with it.
Mapping ParseMapping(const std::string& text);

// The mapping as clients read it.
nlohmann::json MappingDocument(const Mapping& mapping);

}  // namespace appliance
