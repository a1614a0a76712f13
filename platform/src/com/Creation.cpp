#include "com/Apartment.h"
#include "com/ZoneManager.h"
#include "quillmark/platform/Com.h"

using namespace quillmark::platform;

HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv) {
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = nullptr;
    if (ApartmentCount() == 0) {
        return CO_E_NOTINITIALIZED;
    }
    if (!(rclsid == CLSID_InternetSecurityManager) || (dwClsContext & CLSCTX_INPROC_SERVER) == 0) {
        return REGDB_E_CLASSNOTREG;
    }
    if (pUnkOuter != nullptr) {
        return CLASS_E_NOAGGREGATION;
    }
    return CreateZoneManager(riid, ppv);
}
