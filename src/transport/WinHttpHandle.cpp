#include "transport/WinHttpHandle.h"

#include <cstdint>

#include "common/Log.h"
#include "common/ModuleState.h"

namespace quillmark {
namespace {

// A number that stands for a handle and is none: it may be owned, and is dropped without WinHttpCloseHandle.
bool IsSentinel(HINTERNET handle) {
    return reinterpret_cast<std::intptr_t>(handle) == -3;
}

void CloseOwned(HINTERNET handle) {
    if (handle != nullptr && !IsSentinel(handle)) {
        WinHttp()->WinHttpCloseHandle(handle);
    }
}

}  // namespace

WinHttpHandle::WinHttpHandle() {
    LogScope::Run("WinHttpHandle::WinHttpHandle", LogSource::WinHttpImpl, [](const Logger&) {});
}

WinHttpHandle::~WinHttpHandle() {
    LogScope::Run("WinHttpHandle::~WinHttpHandle", LogSource::WinHttpImpl,
                  [&](const Logger&) { WinHttpHandle::Close(); });
}

void WinHttpHandle::Close() {
    LogScope::Run("WinHttpHandle::Close", LogSource::WinHttpImpl,
                  [&](const Logger&) { CloseOwned(m_handle.exchange(nullptr)); });
}

bool WinHttpHandle::Attach(HINTERNET handle) {
    constexpr Logger log("WinHttpHandle::Attach", LogSource::WinHttpImpl);
    const HINTERNET previous = m_handle.exchange(handle);
    if (previous != nullptr) {
        log.Error("Attach handle non-null");
    }
    if (previous != handle) {
        CloseOwned(previous);
    }
    return handle != nullptr;
}

}  // namespace quillmark
