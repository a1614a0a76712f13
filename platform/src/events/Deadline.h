// The moment at which a call with a time limit gives up, on the clock that no one sets.
#pragma once

#include <time.h>

#include <algorithm>
#include <chrono>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    // So many milliseconds from now; INFINITE is never.
    explicit Deadline(DWORD milliseconds)
        : m_never(milliseconds == INFINITE),
          m_moment(m_never ? Clock::time_point::max() : Clock::now() + std::chrono::milliseconds(milliseconds)) {}

    [[nodiscard]] bool IsNever() const { return m_never; }
    [[nodiscard]] bool IsOver() const { return !m_never && Clock::now() >= m_moment; }

    // What is left, never negative. Not for a deadline that is never.
    [[nodiscard]] timespec Remaining() const {
        const auto left = std::max(m_moment - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
        return {.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(left - seconds).count()};
    }

private:
    bool m_never;
    Clock::time_point m_moment;
};

}  // namespace quillmark::platform
