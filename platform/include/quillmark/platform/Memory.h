// Memory that functions of the platform hand out for the caller to free.
#pragma once

#include "quillmark/platform/Types.h"

using HLOCAL = void*;

// Frees memory that the documentation of another function says is to be freed with this one. Null is let pass. Always
// succeeds: null. Any thread.
QUILLMARK_PLATFORM_API HLOCAL WINAPI LocalFree(HLOCAL memory);
