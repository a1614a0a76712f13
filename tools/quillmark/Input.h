// Reads that wait for a person or for a pipe, and that an interruption of the program ends.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "quillmark/Platform.h"

namespace quillmark::cli {

// Reads into the text; false when the input is over. It runs on a thread of its own and may outlive the caller: it owns
// all that it uses.
using Reader = std::function<bool(std::string& text)>;

// What the reader has read; nothing when the input was over, and after an interruption. A read that waits cannot be
// ended: it goes on unseen until the program's end.
[[nodiscard]] std::optional<std::string> ReadUnlessInterrupted(HANDLE interrupt, const Reader& reader);

}  // namespace quillmark::cli
