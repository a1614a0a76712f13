// CScopedCOM: COM for the life of an object, in a single-threaded apartment of the calling thread.
//
//   const CScopedCOM com;
//   if (com.Initialised()) {
//       ... CoCreateInstance ...
//   }
//
// COM objects made under it must be released before it ends. It is made and destroyed on one thread.
#pragma once

#include "quillmark/Platform.h"

namespace quillmark {

class CScopedCOM {
public:
    // Failures are logged. A thread that has COM in another apartment mode keeps it; COM can be used there too, but is
    // not this object's to release.
    CScopedCOM() noexcept;
    ~CScopedCOM();
    CScopedCOM(const CScopedCOM&) = delete;
    CScopedCOM& operator=(const CScopedCOM&) = delete;

    // COM was initialised by this object.
    [[nodiscard]] bool Initialised() const noexcept { return initialised; }
    // COM can be used on this thread: it was initialised by this object or, in another mode, before.
    [[nodiscard]] bool Usable() const noexcept { return modeMismatch; }
    [[nodiscard]] HRESULT Result() const noexcept { return hr; }

private:
    bool initialised = false;
    // Set when COM runs on this thread in another mode, and also after a success.
    bool modeMismatch = false;
    HRESULT hr = 0;
};

}  // namespace quillmark
