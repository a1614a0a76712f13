// The part of a reply's body that has arrived and was not read yet.
#pragma once

#include <cstring>
#include <span>
#include <vector>

#include "quillmark/platform/Types.h"

namespace quillmark::platform::winhttp {

class ReplyBody {
public:
    // More than this is not held: the server waits then.
    static constexpr std::size_t Limit = 1024UL * 1024;

    [[nodiscard]] std::size_t Available() const { return m_bytes.size() - m_read; }

    [[nodiscard]] bool HasRoomFor(std::size_t count) const { return Available() + count <= Limit; }

    void Append(std::span<const BYTE> more) {
        if (m_read != 0) {
            m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_read));
            m_read = 0;
        }
        m_bytes.insert(m_bytes.end(), more.begin(), more.end());
    }

    // Moves bytes out; returns how many.
    [[nodiscard]] std::size_t Read(std::span<BYTE> room) {
        const std::size_t count = room.size() < Available() ? room.size() : Available();
        if (count != 0) {
            std::memcpy(room.data(), m_bytes.data() + m_read, count);
            m_read += count;
        }
        if (m_read == m_bytes.size()) {
            m_bytes.clear();
            m_read = 0;
        }
        return count;
    }

private:
    std::vector<BYTE> m_bytes;
    std::size_t m_read = 0;
};

}  // namespace quillmark::platform::winhttp
