// The bytes of one connection, secure or not. Owns no socket.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "unit/winhttp/RawSocket.h"

namespace quillmark::test {

class RawStream {
public:
    RawStream() = default;
    virtual ~RawStream() = default;
    RawStream(const RawStream&) = delete;
    RawStream& operator=(const RawStream&) = delete;

    // What is there, after waiting for it; 0 at the end.
    [[nodiscard]] virtual std::size_t Receive(char* buffer, std::size_t size) = 0;
    // How many bytes went out; 0 when the other side is gone.
    [[nodiscard]] virtual std::size_t Send(std::string_view bytes) = 0;
    // Takes no leave of the other side when it goes.
    virtual void Abandon() {}
};

class PlainStream : public RawStream {
public:
    explicit PlainStream(RawSocket socket) : m_socket(socket) {}
    std::size_t Receive(char* buffer, std::size_t size) override { return ReceiveRaw(m_socket, buffer, size); }
    std::size_t Send(std::string_view bytes) override { return SendRaw(m_socket, bytes); }

private:
    const RawSocket m_socket;
};

}  // namespace quillmark::test
