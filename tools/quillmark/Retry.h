// When a failed call is worth repeating, and how long to wait before it. Nothing here waits or calls: see Calls.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <string>

#include "quillmark/HttpApi.h"

namespace quillmark::cli {

enum class Remedy {
    None,        // it would fail again
    AtOnce,      // the library asks for it: 1237 (the session's token changed), 21202 (a chunk out of step)
    AfterPause,  // a lost connection, a server that is overloaded, restarting or at its limit
    AfterLogin,  // the session has ended: 20401, 20006
};

// What may help against this error.
[[nodiscard]] Remedy RemedyFor(DWORD error);

// Whether a change that failed with this error may have happened all the same: the answer was lost, not refused.
[[nodiscard]] bool IsAnswerLost(DWORD error);

// What a person is told of a repetition: "the connection was lost (12030); trying again in 1.2 s (2 of 5)".
[[nodiscard]] std::string RepetitionText(DWORD error, int attempt, int most, std::chrono::milliseconds pause);

// The attempts of one call after the other.
class RetryBudget {
public:
    static constexpr int DefaultRetries = 5;
    static constexpr std::chrono::milliseconds FirstPause{500};
    static constexpr std::chrono::milliseconds LongestPause{30'000};

    // retries: how often a call may be repeated in a row without progress. seed: of the chance in the pauses.
    explicit RetryBudget(int retries, std::uint32_t seed = std::random_device{}());

    // The pause before the next attempt, zero for Remedy::AtOnce; nothing when there is none to be made. Pauses double
    // from FirstPause to LongestPause, and each is between half of that and the whole.
    [[nodiscard]] std::optional<std::chrono::milliseconds> Next(Remedy remedy);
    // A call succeeded or moved bytes.
    void Progressed();

    [[nodiscard]] int Attempt() const { return m_attempt; }  // repetitions in a row until now
    [[nodiscard]] int Most() const { return m_retries; }

private:
    int m_retries;
    int m_attempt = 0;
    std::minstd_rand m_random;
};

}  // namespace quillmark::cli
