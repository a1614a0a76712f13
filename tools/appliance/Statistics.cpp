#include "Statistics.h"

#include <nlohmann/json.hpp>

namespace appliance {

namespace {

// A client that asks for ever new paths must not fill the memory.
constexpr std::size_t MostPaths = 10'000;

}  // namespace

std::size_t Statistics::RecordRequest(std::optional<std::size_t> connection, const std::string& method,
                                      const std::string& path) {
    const std::lock_guard lock(m_lock);
    if (!connection || *connection < m_firstConnection) {
        connection = m_firstConnection + m_counters.perConnection.size();
        m_counters.perConnection.push_back(0);
    }
    ++m_counters.perConnection[*connection - m_firstConnection];
    if (m_counters.perPath.size() < MostPaths) {
        ++m_counters.perPath[{method, path}];
    }
    return *connection;
}

void Statistics::RecordReply(unsigned status) {
    const std::lock_guard lock(m_lock);
    ++m_counters.perStatus[status];
}

void Statistics::RecordBytes(std::uint64_t received, std::uint64_t sent) {
    const std::lock_guard lock(m_lock);
    m_counters.received += received;
    m_counters.sent += sent;
}

nlohmann::json Statistics::Report() {
    const std::lock_guard lock(m_lock);
    nlohmann::json report{{"connections", m_counters.perConnection.size()},
                          {"requests_per_connection", m_counters.perConnection},
                          {"requests", nlohmann::json::array()},
                          {"statuses", nlohmann::json::object()},
                          {"received", m_counters.received},
                          {"sent", m_counters.sent}};
    for (const auto& [key, count] : m_counters.perPath) {
        report["requests"].push_back({{"method", key.first}, {"path", key.second}, {"count", count}});
    }
    for (const auto& [status, count] : m_counters.perStatus) {
        report["statuses"][std::to_string(status)] = count;
    }
    return report;
}

void Statistics::Reset() {
    const std::lock_guard lock(m_lock);
    m_firstConnection += m_counters.perConnection.size();
    m_counters = Counters();
}

}  // namespace appliance
