#include "winhttp/UploadBody.h"

#include <algorithm>
#include <cstring>

namespace quillmark::platform::winhttp {

UploadBody::UploadBody(std::uint64_t announced, std::span<const BYTE> beginning)
    : m_announced(announced), m_accepted(beginning.size()), m_beginning(beginning.begin(), beginning.end()) {}

void UploadBody::Append(std::span<const BYTE> bytes) {
    m_gathered.reserve(Gather);
    m_gathered.insert(m_gathered.end(), bytes.begin(), bytes.end());
    m_accepted += bytes.size();
}

std::size_t UploadBody::Take(std::span<BYTE> room) {
    std::span<const BYTE> source;
    if (m_taken < m_beginning.size()) {
        source = std::span(m_beginning).subspan(static_cast<std::size_t>(m_taken));
    } else {
        source = std::span(m_gathered).subspan(m_gatheredTaken);
    }
    const std::size_t count = std::min(room.size(), source.size());
    if (count == 0) {
        return 0;
    }
    std::memcpy(room.data(), source.data(), count);
    if (m_taken >= m_beginning.size()) {
        m_gatheredTaken += count;
        if (m_gatheredTaken == m_gathered.size()) {
            m_gathered.clear();
            m_gatheredTaken = 0;
        }
    }
    m_taken += count;
    return count;
}

void UploadBody::Pay() {
    static constexpr BYTE LineBreaks[MostPaid] = {'\r', '\n', '\n'};
    Append(std::span(LineBreaks).first(static_cast<std::size_t>(Owed())));
}

void UploadBody::Rewind() {
    m_taken = 0;
}

}  // namespace quillmark::platform::winhttp
