// The fault rules that are waiting for their requests. Each rule is used up by one request; rules for the same request
// are used in the order in which they came. Safe for every thread.
#pragma once

#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "faults/Fault.h"

namespace appliance {

struct TakenFault {
    Fault fault;
    std::size_t id = 0;
};

class Faults {
public:
    // A rule, or an array of rules; with "count" a rule stands for that many. The result is how many were added. Throws
    // ApiError, and adds none, when one of them is wrong.
    std::size_t Add(const nlohmann::json& rules);

    // The rule that meets this request, now used up.
    [[nodiscard]] std::optional<TakenFault> Take(const std::string& method, const std::string& path);

    // Adds something to what Report tells of a used rule.
    void Note(std::size_t id, const std::string& key, const std::string& value);

    // {"faults": [{"id", "used", "rule", ...}], "unused": <number>}
    [[nodiscard]] nlohmann::json Report();
    void Clear();

private:
    struct Entry {
        Fault fault;
        nlohmann::json rule;
        nlohmann::json notes = nlohmann::json::object();
        bool used = false;
    };

    std::mutex m_lock;
    std::vector<Entry> m_entries;
};

}  // namespace appliance
