// The server's reply to a question about asynchronous delta jobs:
//
//   {"0F8FAD5B-D9CB-469F-A165-70867728950E": {"status": "IN_PROGRESS"}, ...}
#pragma once

#include "quillmark/Records.h"
#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// Sets the state of each job that the reply names; the others keep theirs. A name may be written with or without
// braces, in any case; a status is one of the server's words to the letter, anything else is the unknown state. 13,
// logged, when the reply is no JSON. Lets exceptions of the JSON library out, for example when the root is no object.
[[nodiscard]] DWORD ParseAsyncGuidsFromResponse(const ResponseBuffer& reply, AsyncDeltaJobList& jobs);

}  // namespace quillmark
