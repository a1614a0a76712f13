// A change on the server as 'changes' and 'watch' show it.
#pragma once

#include <string>

#include "Json.h"
#include "quillmark/Records.h"

namespace quillmark::cli {

// With tabs between: a word for what happened, the path, and where it went, where it has moved.
[[nodiscard]] std::string ChangeLine(const CNotificationAction& change);

// Adds action, path, and to (null for what has not moved).
void AddChange(JsonObject& object, const CNotificationAction& change);

}  // namespace quillmark::cli
