#include "com/Apartment.h"

#include "quillmark/platform/Com.h"
#include "quillmark/platform/ZoneWatch.h"

namespace {

struct Apartment {
    ULONG count = 0;
    DWORD mode = COINIT_MULTITHREADED;
};

thread_local Apartment apartment;

}  // namespace

HRESULT WINAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit) {
    constexpr DWORD Hints = COINIT_DISABLE_OLE1DDE | COINIT_SPEED_OVER_MEMORY;
    if (pvReserved != nullptr || (dwCoInit & ~(COINIT_APARTMENTTHREADED | Hints)) != 0) {
        return E_INVALIDARG;
    }
    const DWORD mode = dwCoInit & COINIT_APARTMENTTHREADED;
    if (apartment.count > 0 && apartment.mode != mode) {
        return RPC_E_CHANGED_MODE;
    }
    apartment.mode = mode;
    return ++apartment.count == 1 ? S_OK : S_FALSE;
}

void WINAPI CoUninitialize() {
    if (apartment.count > 0) {
        --apartment.count;
    }
}

namespace quillmark::platform {

ULONG ApartmentCount() {
    return apartment.count;
}

ULONG ComInitialisationsOfThisThread() {
    return apartment.count;
}

}  // namespace quillmark::platform
