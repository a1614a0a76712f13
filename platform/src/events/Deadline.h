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
        : never_(milliseconds == INFINITE),
          moment_(never_ ? Clock::time_point::max() : Clock::now() + std::chrono::milliseconds(milliseconds)) {}

    [[nodiscard]] bool IsNever() const { return never_; }
    [[nodiscard]] bool IsOver() const { return !never_ && Clock::now() >= moment_; }

    // What is left, never negative. Not for a deadline that is never.
    [[nodiscard]] timespec Remaining() const {
        const auto left = std::max(moment_ - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
        return {.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(left - seconds).count()};
    }

private:
    bool never_;
    Clock::time_point moment_;
};

}  // namespace quillmark::platform
