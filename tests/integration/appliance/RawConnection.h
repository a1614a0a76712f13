// A bare TCP connection: exactly the bytes that a test writes, and what comes back.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace appliance_test {

struct RawReply {
    int status = 0;  // 0 when the connection ended before a whole head had come
    std::string head;
    std::string body;

    [[nodiscard]] bool Says(std::string_view text) const {
        return head.find(text) != std::string::npos || body.find(text) != std::string::npos;
    }
};

enum class RawEnd { EndOfStream, Reset, StillOpen };

class RawConnection {
public:
    explicit RawConnection(std::uint16_t port);
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;
    ~RawConnection();

    // False when the peer does not take it any more.
    bool Send(std::string_view bytes);
    // Each byte in a packet of its own.
    bool SendByteByByte(std::string_view bytes);
    void EndSending();

    // One reply with as many bytes of body as it announces, or fewer when the connection ends first.
    RawReply ReadReply();
    // Everything up to the end of the connection.
    std::string ReadAll();
    // Whether the connection ends within the time, and how. What comes meanwhile is dropped.
    RawEnd WaitForEnd(std::chrono::milliseconds time);
    // Whether a byte comes, or the end, within the time.
    bool WaitForBytes(std::chrono::milliseconds time);

private:
    bool Fill();

    int m_socket = -1;
    std::string m_received;
    bool m_reset = false;
};

}  // namespace appliance_test
