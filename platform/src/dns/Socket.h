// A socket that belongs to one look-up and never blocks.
#pragma once

#include <cstdint>
#include <span>

#include "dns/Configuration.h"
#include "events/Deadline.h"

namespace quillmark::platform {

class Socket {
public:
    // Connects, or begins to: SOCK_DGRAM or SOCK_STREAM.
    Socket(const NameServer& server, int kind);
    ~Socket();
    Socket(Socket&& other) noexcept;
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int Get() const { return m_descriptor; }

    // Everything or nothing by the deadline; for streams.
    [[nodiscard]] bool SendAll(std::span<const std::uint8_t> bytes, const Deadline& deadline) const;
    [[nodiscard]] bool ReceiveAll(std::span<std::uint8_t> bytes, const Deadline& deadline) const;

private:
    [[nodiscard]] bool AwaitReady(short event, const Deadline& deadline) const;

    int m_descriptor;
};

}  // namespace quillmark::platform
