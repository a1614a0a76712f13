// The texts that clients post to the logging endpoint, as they came.
#pragma once

#include <string>
#include <vector>

#include "storage/Actor.h"
#include "storage/DataFile.h"
#include "storage/Ticks.h"

namespace appliance {

struct AuditEntry {
    std::string user;
    std::string device;
    Ticks time = 0;
    std::string text;
};

class AuditLog {
public:
    explicit AuditLog(DataFile& data) : m_data(data) {}

    void Add(const Actor& actor, const std::string& text);
    // The last so many, oldest first.
    [[nodiscard]] std::vector<AuditEntry> Last(std::size_t count);

private:
    DataFile& m_data;
};

}  // namespace appliance
