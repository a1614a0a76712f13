// Waiting for what another process brings about and has no event for.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace quillmark::testing {

// False when it does not hold within a minute.
inline bool Await(const std::function<bool()>& holds) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

}  // namespace quillmark::testing
