// Changes of the server's tree that must not be repeated blindly. Each is repeated like other calls, but looks on the
// server first when the answer of an attempt was lost: what has happened by then is a success.
#pragma once

#include <memory>

#include "Calls.h"

namespace quillmark::cli {

// Makes a folder. 21003 when the name is taken.
[[nodiscard]] DWORD MakeFolder(Calls& calls, const WideString& server);

// Makes a folder and those above it that are missing; one that is there already is a success.
[[nodiscard]] DWORD MakeFolders(Calls& calls, const WideString& server);

// Renames or moves. overwrite: a file may take the place of a file.
[[nodiscard]] DWORD MoveItem(Calls& calls, const WideString& source, const WideString& target, bool overwrite);

// Deletes an item; a folder with all that it holds. expected: the revision that it must have, empty for any.
[[nodiscard]] DWORD DeleteItem(Calls& calls, const WideString& server,
                               const std::shared_ptr<IServerAttributes>& expected);

}  // namespace quillmark::cli
