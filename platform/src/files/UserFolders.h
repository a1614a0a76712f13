// Where this user's files are.
#pragma once

#include <string>

namespace quillmark::platform {

// $HOME, or the home that the user database names; "/" when neither is an absolute path.
[[nodiscard]] std::string HomeFolder();

// The folder that a variable names when it is an absolute path, else the one at this place below the home.
[[nodiscard]] std::string UserFolder(const char* variable, const char* belowHome);

// Makes the folder and those above it, for the user only. Returns 0 or an errno value.
[[nodiscard]] int MakeFolders(const std::string& path);

// The folder itself, or the nearest one above it that exists.
[[nodiscard]] std::string NearestFolder(const std::string& path);

}  // namespace quillmark::platform
