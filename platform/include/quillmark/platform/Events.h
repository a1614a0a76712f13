// Events, threads and waits.
//
// An event is signalled or not. A manual-reset event stays signalled until ResetEvent and lets every wait through; an
// auto-reset event lets exactly one wait through and is then not signalled again. A thread's handle is signalled from
// the moment its start routine has returned.
//
// Every function here may be called from any thread. Only the waits and Sleep block. A handle that another thread
// closes while it is waited on does not disturb the wait: it goes on with the object it has, and a signal set just
// before the close is still seen. When it has no time limit and nothing it waits for can be signalled any more, it
// ends with WAIT_FAILED and ERROR_INVALID_HANDLE.
//
// Not available on this system, each refused with the code named at its function: named events, threads that start
// suspended, and waits on handles other than those of events and threads.
#pragma once

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Types.h"

inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED_0 = 0x80;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFu;

// The exit code of a thread that has not ended.
inline constexpr DWORD STILL_ACTIVE = 259;

inline constexpr DWORD CREATE_SUSPENDED = 0x00000004;
inline constexpr DWORD STACK_SIZE_PARAM_IS_A_RESERVATION = 0x00010000;

using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID lpThreadParameter);

// Makes an event and returns its handle, which the caller closes with CloseHandle; the last error is then 0. Null on
// failure: ERROR_NOT_SUPPORTED when a name is given, ERROR_NO_SYSTEM_RESOURCES when the process has no descriptor
// left, ERROR_NOT_ENOUGH_MEMORY. The attributes mean nothing here: handles are not inherited.
QUILLMARK_PLATFORM_API HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset,
                                                  BOOL bInitialState, LPCWSTR lpName);

// Both FALSE with ERROR_INVALID_HANDLE when the handle is not an event's. Setting a set event changes nothing.
QUILLMARK_PLATFORM_API BOOL WINAPI SetEvent(HANDLE hEvent);
QUILLMARK_PLATFORM_API BOOL WINAPI ResetEvent(HANDLE hEvent);

// Waits until the object is signalled or the time, in milliseconds, is over; INFINITE waits without limit, 0 only
// looks. WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with ERROR_INVALID_HANDLE.
QUILLMARK_PLATFORM_API DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);

// Waits for one (bWaitAll FALSE) or for all of the objects. One: WAIT_OBJECT_0 plus the lowest index of those that are
// signalled; only that object's signal is taken. All: WAIT_OBJECT_0 once all are signalled at the same time; until
// then no object's signal is taken. Otherwise WAIT_TIMEOUT, or WAIT_FAILED with ERROR_INVALID_PARAMETER (no handle,
// more than MAXIMUM_WAIT_OBJECTS, the same handle twice in a wait for all) or ERROR_INVALID_HANDLE.
QUILLMARK_PLATFORM_API DWORD WINAPI WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                                                           DWORD dwMilliseconds);

// Starts a thread and returns its handle; closing it does not end the thread, and a thread that ends does not close
// it. lpThreadId, when given, receives the thread's number. The stack has at least dwStackSize bytes, and at least the
// system's default unless the flag STACK_SIZE_PARAM_IS_A_RESERVATION is given.
// Null on failure: ERROR_INVALID_PARAMETER (no start routine, unknown flag), ERROR_NOT_SUPPORTED (CREATE_SUSPENDED),
// ERROR_NO_SYSTEM_RESOURCES, ERROR_NOT_ENOUGH_MEMORY. An exception that leaves the start routine ends the process.
QUILLMARK_PLATFORM_API HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES lpThreadAttributes, SIZE_T dwStackSize,
                                                  LPTHREAD_START_ROUTINE lpStartAddress, LPVOID lpParameter,
                                                  DWORD dwCreationFlags, LPDWORD lpThreadId);

// The value that the start routine returned, or STILL_ACTIVE. FALSE with ERROR_INVALID_HANDLE for another handle,
// ERROR_INVALID_PARAMETER for a null result.
QUILLMARK_PLATFORM_API BOOL WINAPI GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode);

// The number of the calling thread, which no other running thread of the system has.
QUILLMARK_PLATFORM_API DWORD WINAPI GetCurrentThreadId();

// Blocks for at least this many milliseconds; 0 gives up the rest of the time slice, INFINITE never returns.
QUILLMARK_PLATFORM_API void WINAPI Sleep(DWORD dwMilliseconds);
