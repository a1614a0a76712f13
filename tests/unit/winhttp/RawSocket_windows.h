// Windows: what the tests' own program beside the server is spoken to with.
#pragma once

#include "unit/winhttp/RawSocket.h"

namespace quillmark::test {

// Connected to that loopback port, NoSocket when nothing listens there.
[[nodiscard]] RawSocket ConnectRaw(std::uint16_t port);

}  // namespace quillmark::test
