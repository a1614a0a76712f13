// Identifiers, the clients' own and the server's, as they stand in URLs: GUIDs, upper case and without braces.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace appliance {

// The one text form of a GUID that is written with or without braces, in any letter case. Empty for anything else.
std::optional<std::string> ParseGuid(std::string_view text);

// A new one that nobody can guess, in that form.
std::string NewGuid();

}  // namespace appliance
