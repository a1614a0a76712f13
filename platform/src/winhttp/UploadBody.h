// The body of a request between the caller's writes and the wire.
//
//     announced = accepted + owed      accepted = what the caller handed in (and what was paid for it)
//     accepted  = taken + queued       taken    = what the transfer fetched for sending
//
// The beginning that comes with the sending call is kept, so that a body which is complete with it can be sent again
// when the server asks for that; what is written later is gone once it was taken.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "quillmark/platform/Types.h"

namespace quillmark::platform::winhttp {

class UploadBody {
public:
    // Writes are gathered up to this size before the transfer is driven: one drive per write of 16 KiB costs twice the
    // processor time of larger ones.
    static constexpr std::size_t Gather = 256UL * 1024;

    // An announced Content-Length may exceed its body by so much and still be meant to be complete.
    static constexpr std::uint64_t MostPaid = 3;

    UploadBody() = default;
    UploadBody(std::uint64_t announced, std::span<const BYTE> beginning);

    [[nodiscard]] std::uint64_t Announced() const { return m_announced; }
    [[nodiscard]] std::uint64_t Owed() const { return m_announced - m_accepted; }
    [[nodiscard]] std::uint64_t Taken() const { return m_taken; }
    [[nodiscard]] bool IsQueueEmpty() const { return m_accepted == m_taken; }
    [[nodiscard]] bool IsComplete() const { return Owed() == 0; }

    // How many bytes can be appended before the queue must be flushed.
    [[nodiscard]] std::size_t Room() const { return Gather - m_gathered.size(); }

    // Appends at most Room() and at most Owed() bytes.
    void Append(std::span<const BYTE> bytes);

    // Moves queued bytes to where they are sent from; returns how many.
    [[nodiscard]] std::size_t Take(std::span<BYTE> room);

    // Makes up for what is owed with line breaks, which are no part of any body that ends in a closing boundary.
    void Pay();

    // Whether all of the body came with the sending call, so that it can be sent again.
    [[nodiscard]] bool IsRepeatable() const { return m_beginning.size() == m_announced; }

    // Back to the first byte. Only when IsRepeatable().
    void Rewind();

private:
    std::uint64_t m_announced = 0;
    std::uint64_t m_accepted = 0;
    std::uint64_t m_taken = 0;
    std::vector<BYTE> m_beginning;
    std::vector<BYTE> m_gathered;
    std::size_t m_gatheredTaken = 0;
};

}  // namespace quillmark::platform::winhttp
