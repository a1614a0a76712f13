// Looks names up: on this machine first, then at the name servers.
#pragma once

#include <string>

#include "dns/Configuration.h"
#include "dns/Message.h"
#include "events/Deadline.h"

namespace quillmark::platform {

class Resolver {
public:
    explicit Resolver(ResolverConfiguration configuration) : m_configuration(std::move(configuration)) {}

    // One look-up under the rules of DnsQuery_W; the name is UTF-8, the type DNS_TYPE_A or DNS_TYPE_AAAA. Returns
    // within the budget of the configuration.
    [[nodiscard]] Answer Query(std::string name, WORD type, DWORD options) const;

private:
    [[nodiscard]] Answer QueryServers(const std::string& name, WORD type, bool isComplete) const;

    ResolverConfiguration m_configuration;
};

}  // namespace quillmark::platform
