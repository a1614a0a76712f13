// Profiles: logins that are kept under names, one file each, so that one person can use several servers or accounts.
//
// The default profile's file is quillmark/session in the user's data folder; that of the profile "work" is
// quillmark/profiles/work beside it.
#pragma once

#include <string>
#include <vector>

#include "Client.h"

namespace quillmark::cli {

inline constexpr const char* DefaultProfile = "default";

// Whether a profile can be called so: letters, digits, - and _, 64 at most, not "uploads", and no name that the system
// has its own use for.
[[nodiscard]] bool IsProfileName(const std::string& name);

// The file of a profile, whose name has been checked; empty for a user without a home.
[[nodiscard]] WideString ProfilePath(const std::string& name);

// The profile whose file is used; empty with --session.
[[nodiscard]] std::string ProfileName(const GlobalOptions& options);

// The profiles that have a file, whatever is in it, sorted, the default one first.
[[nodiscard]] std::vector<std::string> ProfileNames();

}  // namespace quillmark::cli
