// The part of COM that this system uses: apartments per thread, and one class, the manager of URL security zones.
//
// Each thread that creates an object has called CoInitializeEx before and calls CoUninitialize once for each success
// of it (S_FALSE is one). There are no other classes, no registration and no marshalling: an object is used by
// its plain interface, from any thread.
//
// The zone manager of this system keeps mappings for the life of the process and for nobody but those who ask
// (ZoneWatch.h); what else it would do on Windows fails with E_NOTIMPL.
#pragma once

#include "quillmark/platform/Crypto.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Types.h"

inline constexpr DWORD COINIT_MULTITHREADED = 0x0;
inline constexpr DWORD COINIT_APARTMENTTHREADED = 0x2;
inline constexpr DWORD COINIT_DISABLE_OLE1DDE = 0x4;
inline constexpr DWORD COINIT_SPEED_OVER_MEMORY = 0x8;

inline constexpr DWORD CLSCTX_INPROC_SERVER = 0x1;
inline constexpr DWORD CLSCTX_INPROC_HANDLER = 0x2;
inline constexpr DWORD CLSCTX_LOCAL_SERVER = 0x4;
inline constexpr DWORD CLSCTX_REMOTE_SERVER = 0x10;
inline constexpr DWORD CLSCTX_ALL =
    CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

inline constexpr DWORD URLZONE_LOCAL_MACHINE = 0;
inline constexpr DWORD URLZONE_INTRANET = 1;
inline constexpr DWORD URLZONE_TRUSTED = 2;
inline constexpr DWORD URLZONE_INTERNET = 3;
inline constexpr DWORD URLZONE_UNTRUSTED = 4;

inline constexpr DWORD SZM_CREATE = 0;
inline constexpr DWORD SZM_DELETE = 1;

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr CLSID CLSID_InternetSecurityManager = {
    0x7B8A2D94, 0x0AC9, 0x11D1, {0x89, 0x6C, 0x00, 0xC0, 0x4F, 0xB6, 0xBF, 0xC4}};
inline constexpr IID IID_IInternetSecurityManager = {
    0x79EAC9EE, 0xBAF9, 0x11CE, {0x8C, 0x82, 0x00, 0xAA, 0x00, 0x4B, 0xA9, 0x0B}};

// Objects are counted and destroy themselves, so interfaces have no destructor that a caller could reach; the order
// of the functions is the order of their table.
class IUnknown {
public:
    // S_OK and a counted pointer; E_NOINTERFACE and null; E_POINTER.
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default;
};
using LPUNKNOWN = IUnknown*;

class IInternetSecurityMgrSite;
class IEnumString;

class IInternetSecurityManager : public IUnknown {
public:
    virtual HRESULT STDMETHODCALLTYPE SetSecuritySite(IInternetSecurityMgrSite* pSite) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSecuritySite(IInternetSecurityMgrSite** ppSite) = 0;
    virtual HRESULT STDMETHODCALLTYPE MapUrlToZone(LPCWSTR pwszUrl, DWORD* pdwZone, DWORD dwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSecurityId(LPCWSTR pwszUrl, BYTE* pbSecurityId, DWORD* pcbSecurityId,
                                                    DWORD_PTR dwReserved) = 0;
    virtual HRESULT STDMETHODCALLTYPE ProcessUrlAction(LPCWSTR pwszUrl, DWORD dwAction, BYTE* pPolicy, DWORD cbPolicy,
                                                       BYTE* pContext, DWORD cbContext, DWORD dwFlags,
                                                       DWORD dwReserved) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryCustomPolicy(LPCWSTR pwszUrl, REFGUID guidKey, BYTE** ppPolicy,
                                                        DWORD* pcbPolicy, BYTE* pContext, DWORD cbContext,
                                                        DWORD dwReserved) = 0;

    // Puts the pattern, an address such as "https://server", into the zone (SZM_CREATE) or takes it out (SZM_DELETE).
    // S_OK; E_INVALIDARG for a null or empty pattern, a zone that is none, other flags; 0x80070050 when the pattern is
    // in the zone already, 0x80070002 when it is not in it.
    virtual HRESULT STDMETHODCALLTYPE SetZoneMapping(DWORD dwZone, LPCWSTR lpszPattern, DWORD dwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetZoneMappings(DWORD dwZone, IEnumString** ppenumString, DWORD dwFlags) = 0;

protected:
    ~IInternetSecurityManager() = default;
};

// Makes COM usable on the calling thread. S_OK the first time, S_FALSE when the thread has it already in the same
// mode, RPC_E_CHANGED_MODE when it has it in the other one (nothing is counted then), E_INVALIDARG for a reserved
// pointer or unknown flags.
QUILLMARK_PLATFORM_API HRESULT WINAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);

// Takes back one success of CoInitializeEx on the calling thread; without one it does nothing.
QUILLMARK_PLATFORM_API void WINAPI CoUninitialize();

// Makes an object and returns the interface asked for, counted once; the caller releases it. Null with E_POINTER (no
// result), CO_E_NOTINITIALIZED, REGDB_E_CLASSNOTREG (not the zone manager's class, or a context without
// CLSCTX_INPROC_SERVER), CLASS_E_NOAGGREGATION, E_NOINTERFACE, E_OUTOFMEMORY.
QUILLMARK_PLATFORM_API HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext,
                                                       REFIID riid, LPVOID* ppv);
