// Getting bytes of an item into the same place of a local file.
#pragma once

#include <string>

#include "Calls.h"
#include "Texts.h"

namespace quillmark::cli {

// Writes the item's bytes to the same offsets of the local file, which is made when it is missing and keeps all other
// bytes. revision: that the item shall have, empty for the present one. Throws Failure; for a range that ends behind
// the item's end before anything is written.
[[nodiscard]] ExitCode GetRange(Calls& calls, const WideString& server, const WideString& local, ByteRange range,
                                const std::string& revision, bool quiet);

}  // namespace quillmark::cli
