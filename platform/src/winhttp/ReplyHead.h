// The head of a reply as its lines arrive: interim heads are forgotten, the final one is kept for queries.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "winhttp/RequestHeaders.h"

namespace quillmark::platform::winhttp {

class ReplyHead {
public:
    // A head for a request with that verb, of at most that many bytes, interim heads included.
    ReplyHead(std::string_view verb, std::size_t limit) : m_toHead(verb == "HEAD"), m_limit(limit) {}

    // The next line, with its line break. False when the limit is passed. Lines after the final head (trailers) are
    // not part of it.
    [[nodiscard]] bool TakeLine(std::string_view line);

    // True from the blank line of the final head on.
    [[nodiscard]] bool IsFinal() const { return m_final; }

    // Any byte of a reply was there.
    [[nodiscard]] bool HasBegun() const { return m_size != 0; }

    // The rest is defined once the head is final.
    [[nodiscard]] int Status() const { return m_status; }
    [[nodiscard]] const std::string& StatusText() const { return m_statusText; }
    [[nodiscard]] const std::string& Version() const { return m_version; }
    [[nodiscard]] const std::string& StatusLine() const { return m_statusLine; }
    [[nodiscard]] const std::vector<HeaderField>& Fields() const { return m_fields; }

    // The value of the first header of that name, or null.
    [[nodiscard]] const std::string* Find(std::string_view name) const;

    // How many bytes of body follow, when the head tells: 0 for replies that have no body at all.
    [[nodiscard]] std::optional<std::uint64_t> BodyLength() const;

    // Whether the server closes the connection after this reply.
    [[nodiscard]] bool ClosesConnection() const;

private:
    void TakeStatusLine(std::string_view line);
    [[nodiscard]] bool HasNoBody() const { return m_toHead || m_status == 204 || m_status == 304; }
    [[nodiscard]] bool HasTokenIn(std::string_view name, std::string_view token) const;

    bool m_toHead;
    std::size_t m_limit;
    std::size_t m_size = 0;
    bool m_final = false;
    int m_status = 0;
    std::string m_version;
    std::string m_statusText;
    std::string m_statusLine;
    std::vector<HeaderField> m_fields;
};

}  // namespace quillmark::platform::winhttp
