// What this process holds, as the system counts it.
#pragma once

#include <ostream>

#include "quillmark/Platform.h"

namespace quillmark::test {

struct ProcessResources {
    DWORD handles = 0;
    DWORD graphics = 0;
    DWORD windows = 0;
    DWORD threads = 0;
};

[[nodiscard]] ProcessResources HeldResources();

inline std::ostream& operator<<(std::ostream& stream, const ProcessResources& resources) {
    return stream << resources.handles << " handles, " << resources.graphics << " graphics objects, "
                  << resources.windows << " window objects, " << resources.threads << " threads";
}

}  // namespace quillmark::test
