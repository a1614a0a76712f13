// The names that the machine knows by itself.
#pragma once

#include <optional>
#include <string>

#include "dns/Message.h"

namespace quillmark::platform {

// The file's addresses for the name, or DNS_INFO_NO_RECORDS when it has only addresses of another kind. Nothing when
// it does not have the name. Names are compared without regard to the case of ASCII letters.
[[nodiscard]] std::optional<Answer> FindInHostsFile(const std::string& path, const std::string& name, WORD type);

// The text form of an address as bytes in network byte order: 4 for DNS_TYPE_A, 16 for DNS_TYPE_AAAA.
[[nodiscard]] std::optional<std::string> ParseAddress(const std::string& text, WORD type);

}  // namespace quillmark::platform
