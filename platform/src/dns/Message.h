// The messages of DNS: the question that is sent and the reply that comes back, which may be hostile.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/platform/Dns.h"

namespace quillmark::platform {

struct AnswerRecord {
    std::string name;
    WORD type = 0;
    DWORD ttl = 0;
    // The address in network byte order for DNS_TYPE_A and DNS_TYPE_AAAA, the name for DNS_TYPE_CNAME.
    std::string data;
};

struct Answer {
    DNS_STATUS status = 0;
    std::vector<AnswerRecord> records;
};

// 0, DNS_ERROR_INVALID_NAME (empty or too long, as a whole or in a label) or DNS_ERROR_INVALID_NAME_CHAR. The name has
// no final dot.
[[nodiscard]] DNS_STATUS CheckName(std::string_view name);

// The same but for the case of ASCII letters, in every locale.
[[nodiscard]] bool AreSameName(std::string_view left, std::string_view right);

class Question {
public:
    // The name has passed CheckName.
    Question(std::string_view name, WORD type, std::uint16_t id);

    [[nodiscard]] std::span<const std::uint8_t> Bytes() const { return m_bytes; }

    // Whether the message is a reply to this question: anything else that arrives is not looked at.
    [[nodiscard]] bool IsAnsweredBy(std::span<const std::uint8_t> message) const;

    // What the reply says: 0 with records, DNS_INFO_NO_RECORDS, a DNS_ERROR_RCODE_*, or DNS_ERROR_BAD_PACKET.
    [[nodiscard]] Answer Parse(std::span<const std::uint8_t> reply) const;

private:
    std::vector<std::uint8_t> m_bytes;
    WORD m_type;
};

// Whether the reply was cut to fit into a datagram.
[[nodiscard]] bool IsTruncated(std::span<const std::uint8_t> reply);

}  // namespace quillmark::platform
