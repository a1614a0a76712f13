// Copying the contents of one open file to another.
#pragma once

namespace quillmark::platform {

// From the start of the source to its end, inside the kernel where the file systems allow it. Returns 0 or an
// errno value.
[[nodiscard]] int CopyContents(int source, int target);

}  // namespace quillmark::platform
