// WinHttpHandle: the owner of one WinHTTP handle; the base of session, connection and request.
//
// The handle is closed when the object goes. Close may come from any thread while another one is inside a WinHTTP call
// on the handle: this is how a blocked request is cancelled. The handle is therefore atomic and is taken out before it
// is closed, so it is closed exactly once, however many threads close it; a call that comes later sees a null handle
// and fails with ERROR_INVALID_HANDLE.
#pragma once

#include <atomic>

#include "quillmark/Platform.h"

namespace quillmark {

class WinHttpHandle {
public:
    WinHttpHandle();
    virtual ~WinHttpHandle();
    // Closes the owned handle, if there is one. A failure to close is ignored.
    virtual void Close();

    WinHttpHandle(const WinHttpHandle&) = delete;
    WinHttpHandle& operator=(const WinHttpHandle&) = delete;

    // Owns handle from now on and closes the one that was owned before, unless it is the same. Attaching over an owned
    // handle is a mistake of the caller: it is logged and goes on. Returns whether the owned handle is not null.
    bool Attach(HINTERNET handle);

    // Null when none is owned.
    [[nodiscard]] HINTERNET Handle() const noexcept { return m_handle.load(); }

private:
    std::atomic<HINTERNET> m_handle = nullptr;
};

}  // namespace quillmark
