// The exceptions that may come out of reading a reply, as a code and a log line.
//
// The JSON library throws on a bad conversion (a string where a boolean is due, a number out of range), on asking
// something for members that is no object, and on nesting without bounds. Whoever is the boundary of an operation
// catches everything and asks here what it was:
//
//   try {
//       ...
//   } catch (...) {
//       return CodeOfExceptionInFlight(scope);
//   }
#pragma once

#include "common/Log.h"
#include "quillmark/Platform.h"

namespace quillmark {

// To be called inside a catch block. Logs the exception as an error and returns its code: 13 for one of the JSON
// library, 8 for std::bad_alloc, 1359 for anything else.
[[nodiscard]] DWORD CodeOfExceptionInFlight(const Logger& log) noexcept;

}  // namespace quillmark
