// What the server holds of a resumable upload: {"bytes_received": "1048576", "is_locked": "false"}, both as texts.
#pragma once

#include <cstdint>

#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// True when the reply has a readable "bytes_received", which then is in offset: the number that the text begins with,
// 0 for a text that begins with none; a number beyond 64 bits is not readable. locked is set when the reply has a text
// "is_locked": true for "true", to the letter, false for any other. What the reply does not tell is left as it was.
// Lets exceptions of the JSON library out, for example when the root is no object.
[[nodiscard]] bool GetMetaDataFromResponse(const ResponseBuffer& reply, std::int64_t& offset, bool& locked);

}  // namespace quillmark
