// A test's own function in the place of a platform function, for the calls of the code under test. The test program is
// linked with quillmark_wrap(TARGET FUNCTION).
//
//     QUILLMARK_WRAP(HRESULT, CoInitializeEx, (LPVOID reserved, DWORD mode)) {
//         return broken ? E_FAIL : QUILLMARK_REAL(CoInitializeEx)(reserved, mode);
//     }
#pragma once

#include "quillmark/Platform.h"

#ifdef _WIN32
// A call of a DLL's function goes through a pointer of the program's, or to a stub that does, as the function's header
// declares it: the linker is told to use this pointer and this function.
#define QUILLMARK_WRAP(result, name, parameters)                                 \
    extern "C" result(WINAPI* __real___imp_##name) parameters;                   \
    extern "C" result WINAPI __wrap_##name parameters;                           \
    extern "C" {                                                                 \
    result(WINAPI* __wrap___imp_##name) parameters = __wrap_##name; /* NOLINT */ \
    }                                                                            \
    extern "C" result WINAPI __wrap_##name parameters
#define QUILLMARK_REAL(name) __real___imp_##name
#else
#define QUILLMARK_WRAP(result, name, parameters)       \
    extern "C" result WINAPI __real_##name parameters; \
    extern "C" result WINAPI __wrap_##name parameters
#define QUILLMARK_REAL(name) __real_##name
#endif
