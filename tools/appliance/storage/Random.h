// Unguessable texts for session tokens, salts and the names of content files.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace appliance {

// That many random bytes.
std::string RandomBytes(std::size_t count);

// Lower-case hexadecimal digits, two per byte.
std::string ToHex(std::string_view bytes);

}  // namespace appliance
