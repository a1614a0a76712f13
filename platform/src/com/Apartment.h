// Which threads may use COM.
#pragma once

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

// How many successes of CoInitializeEx the calling thread has not taken back; 0 means that it may not use COM.
[[nodiscard]] ULONG ApartmentCount();

}  // namespace quillmark::platform
