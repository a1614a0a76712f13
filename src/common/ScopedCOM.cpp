#include "common/ScopedCOM.h"

#include "common/Log.h"

namespace quillmark {

CScopedCOM::CScopedCOM() noexcept : hr(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {
    constexpr Logger log("CScopedCOM::CScopedCOM", LogSource::ComInit);
    if (hr == static_cast<HRESULT>(RPC_E_CHANGED_MODE)) {
        log.Error("Cannot change COM appartment mode");
        modeMismatch = true;
    } else if (SUCCEEDED(hr)) {
        initialised = true;
        modeMismatch = true;
    } else {
        log.Error("Failed to initialize COM with hr=0x%x", static_cast<DWORD>(hr));
    }
}

CScopedCOM::~CScopedCOM() {
    if (initialised) {
        ::CoUninitialize();
    }
}

}  // namespace quillmark
