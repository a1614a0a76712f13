// How long the processors have worked for this process.
#pragma once

#include <ctime>

#include "quillmark/Platform.h"

namespace quillmark::test {

inline double ProcessorSeconds() {
#ifdef _WIN32
    // std::clock is the time of day there.
    FILETIME ignored = {};
    FILETIME kernel = {};
    FILETIME user = {};
    ::GetProcessTimes(::GetCurrentProcess(), &ignored, &ignored, &kernel, &user);
    const auto seconds = [](const FILETIME& time) {
        return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) / 1e7;
    };
    return seconds(kernel) + seconds(user);
#else
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
#endif
}

}  // namespace quillmark::test
