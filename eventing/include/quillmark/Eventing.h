// The eventing library: where the log records of the client library go.
//
// Three operations make the seam that the client library uses; on Windows it imports them by ordinal (3, 5 and 6) from
// QUILLMARK_EVENTING.dll, so that another implementation can take this one's place. Two more, by name, are for the
// host program, which opens the log and hands the context to the library's Init.
//
// All functions may be called from any thread at any time. A context stays valid until CloseLog; the zero context is
// valid and wants no records. Except for an OpenLog that fails, none of them changes the thread's last-error value.
#pragma once

#include <cstdint>

#include "quillmark/Platform.h"

// The kind of a record, laid out as an event tracing descriptor.
struct EventDescriptor {
    std::uint16_t id;
    std::uint8_t version;
    std::uint8_t channel;
    std::uint8_t level;  // 1 critical, 2 error, 3 warning, 4 information
    std::uint8_t opcode;
    std::uint16_t task;
    std::uint64_t keyword;
};

#ifdef _WIN32
// No dllimport: who is linked decides between the DLL, which exports by a .def file, and a test's own recorder.
#define QUILLMARK_EVENTING_API extern "C"
#else
#define QUILLMARK_EVENTING_API extern "C" __attribute__((visibility("default")))
#endif

namespace Eventing {

// Ordinal 3. Non-zero when the log behind the context wants records of this descriptor: its level is at most the one
// given to OpenLog. Zero for the zero context.
QUILLMARK_EVENTING_API int IsEnabled(std::uint64_t context, const EventDescriptor* descriptor);

// Ordinal 5. Writes one message record. The format is printf-style with the meaning that Windows gives it: %S is wide
// (UTF-16) text, %s narrow (UTF-8) text, %lu and %ld are 32 bits, %I64u, %I64d, %llu and %lld 64 bits, %p a pointer.
// Null text prints as "(null)". Line breaks and other control characters inside a text are escaped (\n, \r, \t, \x1b,
// \u2028), as are bytes that are not UTF-8 (\xff), so that one record stays one line. Backslashes stay single. A
// record that the log does not want, by IsEnabled, is not written.
QUILLMARK_EVENTING_API void WriteMessage(std::uint64_t context, const EventDescriptor* descriptor, const char* source,
                                         std::uint32_t line, const char* function, const char* format, ...);

// Ordinal 6. Writes one scope record (entry or exit, by the descriptor's id), without text.
QUILLMARK_EVENTING_API void WriteScope(std::uint64_t context, const EventDescriptor* descriptor, const char* source,
                                       std::uint32_t line, const char* function);

// Opens a log for appending; created when missing, readable by its owner only. path is UTF-8, "-" is standard error.
// level: 1 critical to 4 information, the highest level that is written. Returns the context, 0 when the file cannot
// be opened; GetLastError then tells why: ERROR_INVALID_PARAMETER (null path, other level), ERROR_PATH_NOT_FOUND,
// ERROR_ACCESS_DENIED and the like, ERROR_NO_SYSTEM_RESOURCES when 64 logs are open already. Logs of the same file may
// be open at once, in several processes too: records are appended whole.
//
// A record is one line of UTF-8:
//   2026-11-20T16:07:00.123Z information 101 NativeHttp:214 CNativeHttp::Login client_version: 1.2
QUILLMARK_EVENTING_API std::uint64_t OpenLog(const char* path, int level);

// Closes the log; a context that is not open is ignored. Records that other threads are writing are finished first.
QUILLMARK_EVENTING_API void CloseLog(std::uint64_t context);

}  // namespace Eventing
