// Handles and the last error of a thread.
//
// A HANDLE is a number in one table of this process: events, threads, files and searches, registry keys and WinHTTP
// handles are its entries. The entry holds a counted object, so a handle that one thread closes while another one is
// inside a call on it stays valid for that call, and its number does not come to mean something else meanwhile.
//
// Every function here may be called from any thread.
#pragma once

#include "quillmark/platform/Types.h"

// Closes an event, thread or file handle. FALSE with ERROR_INVALID_HANDLE when the number names nothing, and for the
// kinds that have a closing function of their own, which stay open: searches (FindClose), registry keys (RegCloseKey)
// and WinHTTP handles (WinHttpCloseHandle).
QUILLMARK_PLATFORM_API BOOL WINAPI CloseHandle(HANDLE hObject);

// The code that the last failing function of the calling thread left; functions that succeed leave it alone unless
// their own description says otherwise. Each thread has its own, 0 at its start.
QUILLMARK_PLATFORM_API DWORD WINAPI GetLastError();
QUILLMARK_PLATFORM_API void WINAPI SetLastError(DWORD dwErrCode);
