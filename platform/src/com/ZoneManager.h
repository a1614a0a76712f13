// The one class of objects that CoCreateInstance makes.
#pragma once

#include "quillmark/platform/Com.h"

namespace quillmark::platform {

// A zone manager as the interface asked for, counted once. Null with E_NOINTERFACE, E_OUTOFMEMORY, or the code that a
// test asked for (ZoneWatch.h).
[[nodiscard]] HRESULT CreateZoneManager(REFIID interfaceId, void** object);

}  // namespace quillmark::platform
