// What a fault does to the bytes of one exchange. A transport asks it before each read and write, so that the same few
// lines serve a stall, a cut and a trickle in either direction.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace appliance {

enum class StopAction {
    Stall,  // nothing more moves for `stallTime`, then the transfer goes on
    End,    // orderly end of stream
    Reset,  // connection reset
};

struct StopPoint {
    StopAction action = StopAction::End;
    std::uint64_t after = 0;  // bytes that still pass
    std::chrono::milliseconds stallTime{0};
};

// One direction of one exchange.
class Interference {
public:
    Interference() = default;
    Interference(std::optional<StopPoint> stop, std::size_t step) : m_stop(stop), m_step(step) {}

    // Whether anything is to happen at all; the fast roads are open only when not.
    [[nodiscard]] bool IsActive() const;

    // How many of `wanted` bytes may move now; 0 when the stop point has been reached.
    [[nodiscard]] std::size_t Allowance(std::size_t wanted) const;

    // That many bytes moved.
    void Moved(std::size_t count);

    // The stop point that has been reached, once; afterwards the transfer runs freely.
    std::optional<StopPoint> TakeReachedStop();

private:
    static constexpr std::size_t NoStep = std::numeric_limits<std::size_t>::max();

    std::optional<StopPoint> m_stop;
    std::size_t m_step = NoStep;
};

}  // namespace appliance
