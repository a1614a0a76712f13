#include "dns/Message.h"

#include <arpa/nameser.h>

#include <algorithm>
#include <array>
#include <optional>

namespace quillmark::platform {
namespace {

constexpr std::size_t HeaderSize = 12;
constexpr std::size_t LongestLabel = 63;
// As text without the final dot; two bytes more on the wire.
constexpr std::size_t LongestName = 253;
// In the third byte of the header, and in the fourth.
constexpr std::uint8_t IsReply = 0x80;
constexpr std::uint8_t TruncatedBit = 0x02;
constexpr std::uint8_t RecursionDesired = 0x01;
constexpr std::uint8_t ResultCodeMask = 0x0F;

void Append16(std::vector<std::uint8_t>& bytes, std::uint16_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

constexpr auto SameLetter = [](auto left, auto right) {
    const auto lowerCase = [](int letter) { return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter; };
    return lowerCase(left) == lowerCase(right);
};

std::string_view TakeLabel(std::string_view& rest) {
    const std::size_t dot = rest.find('.');
    const std::string_view label = rest.substr(0, dot);
    rest.remove_prefix(dot == rest.npos ? rest.size() : dot + 1);
    return label;
}

DNS_STATUS StatusOf(unsigned resultCode) {
    return resultCode == ns_r_noerror ? 0 : DNS_ERROR_RCODE_FORMAT_ERROR - 1 + static_cast<DNS_STATUS>(resultCode);
}

// Nothing for a record whose data are not what its type says.
std::optional<AnswerRecord> ReadRecord(const ns_msg& message, const ns_rr& record) {
    AnswerRecord result{.name = ns_rr_name(record),
                        .type = static_cast<WORD>(ns_rr_type(record)),
                        .ttl = ns_rr_ttl(record),
                        .data = {}};
    if (result.type == DNS_TYPE_CNAME) {
        std::array<char, NS_MAXDNAME> name;
        if (ns_name_uncompress(ns_msg_base(message), ns_msg_end(message), ns_rr_rdata(record), name.data(),
                               name.size()) < 0) {
            return std::nullopt;
        }
        result.data = name.data();
        return result;
    }
    const std::size_t expected = result.type == DNS_TYPE_A ? 4 : 16;
    if (ns_rr_rdlen(record) != expected) {
        return std::nullopt;
    }
    result.data.assign(reinterpret_cast<const char*>(ns_rr_rdata(record)), expected);
    return result;
}

}  // namespace

DNS_STATUS CheckName(std::string_view name) {
    if (name.empty() || name.size() > LongestName || name.back() == '.') {
        return DNS_ERROR_INVALID_NAME;
    }
    for (std::string_view rest = name; !rest.empty();) {
        const std::string_view label = TakeLabel(rest);
        if (label.empty() || label.size() > LongestLabel) {
            return DNS_ERROR_INVALID_NAME;
        }
    }
    const auto isBad = [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7F'; };
    return std::any_of(name.begin(), name.end(), isBad) ? DNS_ERROR_INVALID_NAME_CHAR : 0;
}

bool AreSameName(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), SameLetter);
}

Question::Question(std::string_view name, WORD type, std::uint16_t id) : m_type(type) {
    Append16(m_bytes, id);
    m_bytes.push_back(RecursionDesired);
    m_bytes.push_back(0);
    // One question; no answer, authority or additional records.
    Append16(m_bytes, 1);
    m_bytes.resize(HeaderSize);
    while (!name.empty()) {
        const std::string_view label = TakeLabel(name);
        m_bytes.push_back(static_cast<std::uint8_t>(label.size()));
        m_bytes.insert(m_bytes.end(), label.begin(), label.end());
    }
    m_bytes.push_back(0);
    Append16(m_bytes, type);
    Append16(m_bytes, ns_c_in);
}

bool Question::IsAnsweredBy(std::span<const std::uint8_t> message) const {
    if (message.size() < m_bytes.size() || message[0] != m_bytes[0] || message[1] != m_bytes[1] ||
        (message[2] & IsReply) == 0 || message[4] != 0 || message[5] != 1) {
        return false;
    }
    // The question comes back as it was sent, except that some servers change the case of the name.
    return std::equal(m_bytes.begin() + HeaderSize, m_bytes.end(), message.begin() + HeaderSize, SameLetter);
}

Answer Question::Parse(std::span<const std::uint8_t> reply) const {
    const unsigned resultCode = reply[3] & ResultCodeMask;
    if (resultCode != ns_r_noerror) {
        return {.status = StatusOf(resultCode), .records = {}};
    }
    Answer unreadable = {.status = DNS_ERROR_BAD_PACKET, .records = {}};
    ns_msg message;
    if (ns_initparse(reply.data(), static_cast<int>(reply.size()), &message) != 0) {
        return unreadable;
    }
    Answer answer;
    bool hasType = false;
    for (int i = 0; i < ns_msg_count(message, ns_s_an); ++i) {
        ns_rr record;
        if (ns_parserr(&message, ns_s_an, i, &record) != 0) {
            return unreadable;
        }
        if (ns_rr_class(record) != ns_c_in || (ns_rr_type(record) != m_type && ns_rr_type(record) != DNS_TYPE_CNAME)) {
            continue;
        }
        auto read = ReadRecord(message, record);
        if (!read) {
            return unreadable;
        }
        hasType = hasType || read->type == m_type;
        answer.records.push_back(std::move(*read));
    }
    if (!hasType) {
        return {.status = DNS_INFO_NO_RECORDS, .records = {}};
    }
    return answer;
}

bool IsTruncated(std::span<const std::uint8_t> reply) {
    return (reply[2] & TruncatedBit) != 0;
}

}  // namespace quillmark::platform
