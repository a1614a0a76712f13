// A zone manager that remembers, in the place of the user's own.
#include "support/Wrap.h"
#include "support/ZoneWatch.h"

namespace {

using quillmark::platform::ZoneMapping;

std::vector<ZoneMapping> mappings;
HRESULT creationFailure = S_OK;
std::size_t liveManagers = 0;
thread_local ULONG initialisations = 0;

class Manager final : public IInternetSecurityManager {
public:
    Manager() { ++liveManagers; }
    virtual ~Manager() { --liveManagers; }

    HRESULT WINAPI QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG WINAPI AddRef() override { return ++m_references; }
    ULONG WINAPI Release() override {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    HRESULT WINAPI SetZoneMapping(DWORD zone, LPCWSTR pattern, DWORD flags) override {
        EnsureCreateFlag(flags);
        for (const ZoneMapping& mapping : mappings) {
            if (mapping == ZoneMapping{zone, pattern}) {
                return HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
            }
        }
        mappings.push_back({zone, pattern});
        return S_OK;
    }

    HRESULT WINAPI SetSecuritySite(IInternetSecurityMgrSite*) override { return E_NOTIMPL; }
    HRESULT WINAPI GetSecuritySite(IInternetSecurityMgrSite**) override { return E_NOTIMPL; }
    HRESULT WINAPI MapUrlToZone(LPCWSTR, DWORD*, DWORD) override { return E_NOTIMPL; }
    HRESULT WINAPI GetSecurityId(LPCWSTR, BYTE*, DWORD*, DWORD_PTR) override { return E_NOTIMPL; }
    HRESULT WINAPI ProcessUrlAction(LPCWSTR, DWORD, BYTE*, DWORD, BYTE*, DWORD, DWORD, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT WINAPI QueryCustomPolicy(LPCWSTR, REFGUID, BYTE**, DWORD*, BYTE*, DWORD, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT WINAPI GetZoneMappings(DWORD, IEnumString**, DWORD) override { return E_NOTIMPL; }

private:
    static void EnsureCreateFlag(DWORD flags) {
        if (flags != SZM_CREATE) {
            mappings.push_back({flags, L"not made but taken away"});
        }
    }

    ULONG m_references = 1;
};

}  // namespace

QUILLMARK_WRAP(HRESULT, CoCreateInstance,
               (REFCLSID type, IUnknown* outer, DWORD context, REFIID interfaceId, LPVOID* object)) {
    if (!IsEqualCLSID(type, CLSID_InternetSecurityManager)) {
        return QUILLMARK_REAL(CoCreateInstance)(type, outer, context, interfaceId, object);
    }
    *object = nullptr;
    if (initialisations == 0) {
        return CO_E_NOTINITIALIZED;
    }
    if (creationFailure != S_OK) {
        return creationFailure;
    }
    *object = new Manager;
    return S_OK;
}

QUILLMARK_WRAP(void, CoUninitialize, ()) {
    --initialisations;
    QUILLMARK_REAL(CoUninitialize)();
}

namespace quillmark::platform {

std::vector<ZoneMapping> ZoneMappings() {
    return mappings;
}

void ClearZoneMappings() {
    mappings.clear();
}

void FailZoneManagerCreation(HRESULT result) {
    creationFailure = result;
}

std::size_t LiveZoneManagers() {
    return liveManagers;
}

ULONG ComInitialisationsOfThisThread() {
    return initialisations;
}

void NoteComInitialisation(HRESULT result) {
    initialisations += SUCCEEDED(result) ? 1 : 0;
}

}  // namespace quillmark::platform
