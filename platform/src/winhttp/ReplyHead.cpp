#include "winhttp/ReplyHead.h"

#include <algorithm>

#include "winhttp/Text.h"

namespace quillmark::platform::winhttp {

bool ReplyHead::TakeLine(std::string_view line) {
    if (m_final) {
        return true;
    }
    m_size += line.size();
    if (m_size > m_limit) {
        return false;
    }
    while (line.ends_with('\n') || line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    if (line.empty()) {
        m_final = m_status >= 200 || m_status == 101;
    } else if (line.starts_with("HTTP/") && line.find(':') >= line.find(' ')) {
        TakeStatusLine(line);
    } else if (const std::size_t colon = line.find(':'); colon != std::string_view::npos) {
        m_fields.push_back({std::string(Trim(line.substr(0, colon))), std::string(Trim(line.substr(colon + 1)))});
    }
    return true;
}

void ReplyHead::TakeStatusLine(std::string_view line) {
    m_fields.clear();
    m_statusLine = line;
    const std::size_t first = std::min(line.find(' '), line.size());
    m_version = line.substr(0, first);
    line = Trim(line.substr(first));
    const std::size_t second = std::min(line.find(' '), line.size());
    std::uint64_t status = 0;
    m_status = ParseNumber(line.substr(0, second), status) && status <= 999 ? static_cast<int>(status) : 0;
    m_statusText = Trim(line.substr(second));
}

const std::string* ReplyHead::Find(std::string_view name) const {
    for (const HeaderField& field : m_fields) {
        if (EqualsIgnoringCase(field.name, name)) {
            return &field.value;
        }
    }
    return nullptr;
}

bool ReplyHead::HasTokenIn(std::string_view name, std::string_view token) const {
    return std::any_of(m_fields.begin(), m_fields.end(), [&](const HeaderField& field) {
        return EqualsIgnoringCase(field.name, name) && HasToken(field.value, token);
    });
}

std::optional<std::uint64_t> ReplyHead::BodyLength() const {
    if (HasNoBody()) {
        return 0;
    }
    const std::string* text = Find("Content-Length");
    std::uint64_t length = 0;
    if (text == nullptr || Find("Transfer-Encoding") != nullptr || !ParseNumber(*text, length)) {
        return std::nullopt;
    }
    return length;
}

bool ReplyHead::ClosesConnection() const {
    if (HasTokenIn("Connection", "close")) {
        return true;
    }
    if (m_version == "HTTP/1.0" && !HasTokenIn("Connection", "keep-alive")) {
        return true;
    }
    // Without a length of any kind the end of the connection is the end of the body.
    return !BodyLength().has_value() && !HasTokenIn("Transfer-Encoding", "chunked");
}

}  // namespace quillmark::platform::winhttp
