// Counters for tests: what has arrived and on how many connections. Safe for every thread. Requests below the control
// path are not counted, nor is a connection that carries nothing else.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace appliance {

class Statistics {
public:
    // A request has come. The result names its connection at the next call; empty stands for a connection that has not
    // been named yet.
    [[nodiscard]] std::size_t RecordRequest(std::optional<std::size_t> connection, const std::string& method,
                                            const std::string& path);
    void RecordReply(unsigned status);
    void RecordBytes(std::uint64_t received, std::uint64_t sent);

    // {"connections", "requests_per_connection", "requests": [{"method", "path", "count"}], "statuses", "received",
    // "sent"}
    [[nodiscard]] nlohmann::json Report();
    // Everything back to zero. Connections that are open count anew at their next request.
    void Reset();

private:
    struct Counters {
        std::vector<std::uint64_t> perConnection;
        std::map<std::pair<std::string, std::string>, std::uint64_t> perPath;
        std::map<unsigned, std::uint64_t> perStatus;
        std::uint64_t received = 0;
        std::uint64_t sent = 0;
    };

    std::mutex m_lock;
    std::size_t m_firstConnection = 0;  // number of the first one that is counted
    Counters m_counters;
};

}  // namespace appliance
