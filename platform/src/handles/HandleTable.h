// The table behind every HANDLE, HINTERNET and HKEY of the platform layer.
//
// A handle is a number that names an entry; the entry holds a counted object. Looking a handle up takes a reference, so
// an object that one thread closes while another waits on it, reads from it or is blocked in a request stays valid
// until that call ends. Numbers are handed out in rising order and are not reused before 2^30 others were, so
// a stale handle is an error (ERROR_INVALID_HANDLE), not somebody else's object.
//
// Numbers are multiples of 4 from 0x100 up, as on Windows, and never collide with the predefined registry roots
// (0x80000000 and up), INVALID_HANDLE_VALUE or the sentinel -3.
#pragma once

#include <memory>
#include <mutex>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

// What a handle can name. Derived: events, threads, files, searches, registry keys, WinHTTP handles.
class HandleObject {
public:
    virtual ~HandleObject() = default;

    // Called once, after the entry left the table and outside the table's lock, on the thread that closes the handle.
    // Objects on which other threads may be blocked (WinHTTP requests, registry notifications, waits) wake them here.
    virtual void OnClose() {}

    // Whether CloseHandle closes this kind. Searches, registry keys and WinHTTP handles have functions of their own and
    // answer false.
    [[nodiscard]] virtual bool ClosesWithCloseHandle() const { return true; }
};

// Objects that WaitForSingleObject and WaitForMultipleObjects accept.
class WaitableObject : public HandleObject {
public:
    // A descriptor that polls readable from the moment the object is signalled, or can no longer be. Owned by the
    // object.
    [[nodiscard]] virtual int PollDescriptor() const = 0;

    // The signal itself. These three are called with SignalLock() held, which all objects share, so that a wait for
    // all takes either every signal or none.
    [[nodiscard]] virtual bool IsSignalled() const = 0;

    // Takes the signal on behalf of one wait that the object satisfied: an auto-reset event resets itself.
    virtual void Take() = 0;

    // False when the object is not signalled and never will be: nobody has a handle of it any more.
    [[nodiscard]] virtual bool CanBeSignalled() const = 0;
};

// Enters the object and returns its new handle. Null, with ERROR_NOT_ENOUGH_MEMORY set, when there is no room.
[[nodiscard]] HANDLE InsertHandle(std::shared_ptr<HandleObject> object);

// The object that the handle names, or null. Sets no error.
[[nodiscard]] std::shared_ptr<HandleObject> FindHandleObject(HANDLE handle);

// The object as a T, or null when the handle names nothing or something else. Sets no error: each caller sets the
// code that its own contract documents.
template <typename T>
[[nodiscard]] std::shared_ptr<T> FindHandle(HANDLE handle) {
    return std::dynamic_pointer_cast<T>(FindHandleObject(handle));
}

// Takes the entry out of the table and runs OnClose; returns the object, or null when there was none. The caller's
// reference is the table's last one.
std::shared_ptr<HandleObject> RemoveHandle(HANDLE handle);

// The lock over the signals of all waitable objects of the process. Held for moments only; nothing blocks under it.
[[nodiscard]] std::mutex& SignalLock();

// How many handles are open in this process, for tests that look for leaks.
[[nodiscard]] __attribute__((visibility("default"))) std::size_t OpenHandleCount();

}  // namespace quillmark::platform
