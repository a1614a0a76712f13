#include "faults/Faults.h"

#include "http/Errors.h"

namespace appliance {

namespace {

constexpr std::size_t MostRules = 100'000;

std::size_t CountOf(const nlohmann::json& rule) {
    const auto found = rule.find("count");
    if (found == rule.end()) {
        return 1;
    }
    if (!found->is_number_unsigned() || found->get<std::size_t>() > MostRules) {
        throw ApiError(ErrorId::Malformed, "fault rule: count is a number up to 100000");
    }
    return found->get<std::size_t>();
}

}  // namespace

bool Fault::Matches(const std::string& requestMethod, const std::string& requestPath) const {
    return method == requestMethod && (prefix ? requestPath.starts_with(path) : requestPath == path);
}

Interference Fault::OnRequestBody() const {
    if (place != FaultPlace::InRequest) {
        return {};
    }
    if (kind == FaultKind::Trickle) {
        return Interference(std::nullopt, 1);
    }
    return Interference(StopPoint{action, after, time}, std::numeric_limits<std::size_t>::max());
}

Interference Fault::OnReply(std::uint64_t headLength) const {
    if (place != FaultPlace::InHead && place != FaultPlace::InBody) {
        return {};
    }
    if (kind == FaultKind::Trickle) {
        return Interference(std::nullopt, 1);
    }
    const std::uint64_t before = place == FaultPlace::InBody ? headLength : 0;
    return Interference(StopPoint{action, before + after, time}, std::numeric_limits<std::size_t>::max());
}

std::size_t Faults::Add(const nlohmann::json& rules) {
    const nlohmann::json list = rules.is_array() ? rules : nlohmann::json::array({rules});
    std::vector<Entry> entries;
    for (const nlohmann::json& rule : list) {
        const Fault fault = ParseFault(rule);
        entries.insert(entries.end(), CountOf(rule), Entry{fault, rule});
    }
    const std::lock_guard lock(m_lock);
    if (m_entries.size() + entries.size() > MostRules) {
        throw ApiError(ErrorId::Malformed, "fault rule: there are too many");
    }
    m_entries.insert(m_entries.end(), entries.begin(), entries.end());
    return entries.size();
}

std::optional<TakenFault> Faults::Take(const std::string& method, const std::string& path) {
    const std::lock_guard lock(m_lock);
    for (std::size_t id = 0; id < m_entries.size(); ++id) {
        Entry& entry = m_entries[id];
        if (!entry.used && entry.fault.Matches(method, path)) {
            entry.used = true;
            return TakenFault{entry.fault, id};
        }
    }
    return std::nullopt;
}

void Faults::Note(std::size_t id, const std::string& key, const std::string& value) {
    const std::lock_guard lock(m_lock);
    if (id < m_entries.size()) {
        m_entries[id].notes[key] = value;
    }
}

nlohmann::json Faults::Report() {
    const std::lock_guard lock(m_lock);
    nlohmann::json list = nlohmann::json::array();
    std::size_t unused = 0;
    for (std::size_t id = 0; id < m_entries.size(); ++id) {
        const Entry& entry = m_entries[id];
        nlohmann::json line = entry.notes;
        line["id"] = id;
        line["used"] = entry.used;
        line["rule"] = entry.rule;
        list.push_back(std::move(line));
        unused += entry.used ? 0 : 1;
    }
    return {{"faults", std::move(list)}, {"unused", unused}};
}

void Faults::Clear() {
    const std::lock_guard lock(m_lock);
    m_entries.clear();
}

}  // namespace appliance
