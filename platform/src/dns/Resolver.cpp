#include "dns/Resolver.h"

#include <arpa/inet.h>
#include <sys/random.h>

#include "dns/Exchange.h"
#include "dns/HostsFile.h"

namespace quillmark::platform {
namespace {

// The text forms of addresses, those of URLs and those with a scope among them.
bool IsAddress(std::string text) {
    if (text.size() > 2 && text.front() == '[' && text.back() == ']') {
        text = text.substr(1, text.size() - 2);
    }
    in_addr ignored{};
    return inet_aton(text.c_str(), &ignored) != 0 ||
           ParseAddress(text.substr(0, text.find('%')), DNS_TYPE_AAAA).has_value();
}

Answer LocalHost(const std::string& name, WORD type) {
    const std::string address = *ParseAddress(type == DNS_TYPE_A ? "127.0.0.1" : "::1", type);
    return {.status = 0, .records = {{.name = name, .type = type, .ttl = 0, .data = address}}};
}

// Hard to guess, so that nobody who does not see the question can answer it.
std::uint16_t RandomId() {
    std::uint16_t id = 0;
    while (getrandom(&id, sizeof(id), 0) != static_cast<ssize_t>(sizeof(id))) {
    }
    return id;
}

}  // namespace

Answer Resolver::Query(std::string name, WORD type, DWORD options) const {
    bool isComplete = (options & DNS_QUERY_TREAT_AS_FQDN) != 0;
    if (name.size() > 1 && name.back() == '.') {
        name.pop_back();
        isComplete = true;
    }
    if (IsAddress(name)) {
        return {.status = DNS_ERROR_INVALID_NAME, .records = {}};
    }
    if (const DNS_STATUS status = CheckName(name); status != 0) {
        return {.status = status, .records = {}};
    }
    if (AreSameName(name, "localhost")) {
        return LocalHost(name, type);
    }
    if ((options & DNS_QUERY_NO_HOSTS_FILE) == 0) {
        if (auto answer = FindInHostsFile(m_configuration.hostsPath, name, type)) {
            return std::move(*answer);
        }
    }
    if ((options & DNS_QUERY_NO_WIRE_QUERY) != 0) {
        return {.status = DNS_INFO_NO_RECORDS, .records = {}};
    }
    return QueryServers(name, type, isComplete);
}

Answer Resolver::QueryServers(const std::string& name, WORD type, bool isComplete) const {
    const Deadline deadline(m_configuration.budgetMilliseconds);
    std::vector<std::string> candidates;
    if (!isComplete && name.find('.') == name.npos) {
        for (const std::string& domain : m_configuration.searchList) {
            candidates.emplace_back(name).append(1, '.').append(domain);
        }
    }
    candidates.push_back(name);
    Answer answer;
    bool exists = false;
    for (const std::string& candidate : candidates) {
        if (CheckName(candidate) != 0) {
            continue;
        }
        answer = AskServers(m_configuration.servers, Question(candidate, type, RandomId()), deadline);
        exists = exists || answer.status == DNS_INFO_NO_RECORDS;
        if (answer.status != DNS_ERROR_RCODE_NAME_ERROR && answer.status != DNS_INFO_NO_RECORDS) {
            return answer;
        }
    }
    answer.status = exists ? DNS_INFO_NO_RECORDS : DNS_ERROR_RCODE_NAME_ERROR;
    return answer;
}

}  // namespace quillmark::platform
