// The bytes of one connection that have been received and not yet used: a window over a fixed block of memory. What is
// read ahead of one request belongs to the next one.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <cstring>
#include <memory>
#include <string_view>

#include "http/Transport.h"

namespace appliance {

class ReadBuffer {
public:
    static constexpr std::size_t Capacity = 256UL * 1024;

    explicit ReadBuffer(Transport& transport)
        : m_transport(transport), m_block(std::make_unique_for_overwrite<char[]>(Capacity)) {}

    [[nodiscard]] std::string_view Window() const { return {m_block.get() + m_begin, m_end - m_begin}; }

    void Consume(std::size_t count) { m_begin += count; }

    // Adds at least one byte to the window, which moves in memory. False at the end of the stream. There must be room:
    // the window must not fill the whole block.
    [[nodiscard]] boost::asio::awaitable<bool> Fill() {
        if (m_begin > 0) {
            std::memmove(m_block.get(), m_block.get() + m_begin, m_end - m_begin);
            m_end -= m_begin;
            m_begin = 0;
        }
        const std::size_t count = co_await m_transport.ReadSome(m_block.get() + m_end, Capacity - m_end);
        m_end += count;
        co_return count > 0;
    }

private:
    Transport& m_transport;
    std::unique_ptr<char[]> m_block;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

}  // namespace appliance
