// Loopback ports for programs that cannot choose a free one themselves.
#pragma once

#include <cstdint>

namespace quillmark::testing {

// A port that was free a moment ago. When somebody else was faster, the program that is given it does not start.
[[nodiscard]] std::uint16_t FreePort();

// Whether anybody accepts TCP connections there.
[[nodiscard]] bool AcceptsConnections(std::uint16_t port);

}  // namespace quillmark::testing
