// Named tasks: threads that tell the log who started them.
#pragma once

#include <functional>

#include "quillmark/Platform.h"

namespace quillmark::w32utils {

// Runs the task on a new thread. callerName, for the log, is copied. Returns the thread's handle, which the caller
// closes with CloseHandle, or null when no thread could be started (GetLastError tells why; the task is then dropped
// unrun). An exception that leaves the task ends the process.
[[nodiscard]] HANDLE StartTaskInternal(std::function<void()> task, const char* callerName);

}  // namespace quillmark::w32utils
