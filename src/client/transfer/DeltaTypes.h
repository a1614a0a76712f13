// What the uploads of deltas, those that the client waits for and those that run as jobs, agree on.
#pragma once

#include "client/NativeHttp.h"

namespace quillmark {

// The delta type that asks the server for its optimisation of files that were overwritten in place or appended to. Any
// other is an ordinary delta.
inline constexpr DWORD OverwriteOrAppendDelta = 1;

// The API versions from which on servers know that type, and jobs.
inline constexpr ApiVersion OverwriteOrAppendSince{1, 6};
inline constexpr ApiVersion AsyncDeltasSince{1, 7};

}  // namespace quillmark
