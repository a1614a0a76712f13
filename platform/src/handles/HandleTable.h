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

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

// What a handle can name. Derived: events, threads, files, searches, registry keys, WinHTTP handles.
class HandleObject {
public:
    virtual ~HandleObject() = default;

    // Called once, after the entry left the table and outside the table's lock, on the thread that closes the handle.
    // Objects on which other threads may be blocked (WinHTTP requests, registry notifications, waits) wake them here.
    virtual void OnClose() {}
};

// Objects that WaitForSingleObject and WaitForMultipleObjects accept.
class WaitableObject : public HandleObject {
public:
    // A descriptor that polls readable while the object is signalled. Owned by the object.
    [[nodiscard]] virtual int PollDescriptor() const = 0;

    // Takes the signal on behalf of one wait that the object satisfied: an auto-reset event resets itself. False when
    // another thread took the signal first; the wait then goes on.
    [[nodiscard]] virtual bool Acquire() = 0;
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

// How many handles are open in this process, for tests that look for leaks.
[[nodiscard]] std::size_t OpenHandleCount();

}  // namespace quillmark::platform
