// RateMeter: how fast bytes move, over the last few seconds, so that the number can be read while it changes.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

namespace quillmark::cli {

using TimePoint = std::chrono::steady_clock::time_point;
// What tells the time; tests have one of their own.
using Clock = std::function<TimePoint()>;

class RateMeter {
public:
    static constexpr std::chrono::seconds Window{5};
    // A shorter time says nothing yet.
    static constexpr std::chrono::milliseconds Shortest{500};

    explicit RateMeter(TimePoint start) : m_start(start) {}

    // So many more bytes have moved; now is not before an earlier call's.
    void Moved(std::uint64_t bytes, TimePoint now);
    // Bytes per second in the time up to now; nothing when there is too little of it.
    [[nodiscard]] std::optional<double> Rate(TimePoint now) const;

private:
    struct Sample {
        TimePoint time;       // of the last bytes in it
        std::uint64_t total;  // moved since the start
    };
    // Bytes that had moved by then.
    [[nodiscard]] std::uint64_t TotalAt(TimePoint time) const;

    TimePoint m_start;
    std::uint64_t m_total = 0;
    std::deque<Sample> m_samples;  // the first one may be older than the window
};

}  // namespace quillmark::cli
