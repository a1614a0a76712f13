#include "com/ZoneManager.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "quillmark/platform/ZoneWatch.h"

namespace quillmark::platform {
namespace {

constexpr HRESULT FileExists = static_cast<HRESULT>(0x80070000u | ERROR_FILE_EXISTS);
constexpr HRESULT FileNotFound = static_cast<HRESULT>(0x80070000u | ERROR_FILE_NOT_FOUND);

struct State {
    std::mutex lock;
    std::vector<ZoneMapping> mappings;
    std::atomic<HRESULT> creationResult = S_OK;
    std::atomic<std::size_t> liveManagers = 0;
};

// Never destroyed, like all that threads of the host may still use at the end of the process.
State& TheState() {
    static State& state = *new State;
    return state;
}

HRESULT AddMapping(ZoneMapping mapping) {
    State& state = TheState();
    const std::lock_guard guard(state.lock);
    if (std::find(state.mappings.begin(), state.mappings.end(), mapping) != state.mappings.end()) {
        return FileExists;
    }
    state.mappings.push_back(std::move(mapping));
    return S_OK;
}

HRESULT RemoveMapping(const ZoneMapping& mapping) {
    State& state = TheState();
    const std::lock_guard guard(state.lock);
    return std::erase(state.mappings, mapping) != 0 ? S_OK : FileNotFound;
}

class ZoneManager final : public IInternetSecurityManager {
public:
    ZoneManager() { ++TheState().liveManagers; }
    ZoneManager(const ZoneManager&) = delete;
    ZoneManager& operator=(const ZoneManager&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        if (ppvObject == nullptr) {
            return E_POINTER;
        }
        *ppvObject = nullptr;
        if (!(riid == IID_IUnknown) && !(riid == IID_IInternetSecurityManager)) {
            return E_NOINTERFACE;
        }
        AddRef();
        *ppvObject = static_cast<IInternetSecurityManager*>(this);
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_count; }

    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --m_count;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT STDMETHODCALLTYPE SetSecuritySite(IInternetSecurityMgrSite*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSecuritySite(IInternetSecurityMgrSite**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE MapUrlToZone(LPCWSTR, DWORD*, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSecurityId(LPCWSTR, BYTE*, DWORD*, DWORD_PTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ProcessUrlAction(LPCWSTR, DWORD, BYTE*, DWORD, BYTE*, DWORD, DWORD, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE QueryCustomPolicy(LPCWSTR, REFGUID, BYTE**, DWORD*, BYTE*, DWORD, DWORD) override {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE SetZoneMapping(DWORD dwZone, LPCWSTR lpszPattern, DWORD dwFlags) override {
        if (lpszPattern == nullptr || *lpszPattern == u'\0' || dwZone > URLZONE_UNTRUSTED || dwFlags > SZM_DELETE) {
            return E_INVALIDARG;
        }
        try {
            ZoneMapping mapping{dwZone, lpszPattern};
            return dwFlags == SZM_CREATE ? AddMapping(std::move(mapping)) : RemoveMapping(mapping);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }

    HRESULT STDMETHODCALLTYPE GetZoneMappings(DWORD, IEnumString**, DWORD) override { return E_NOTIMPL; }

private:
    // Destroyed by its last Release alone.
    ~ZoneManager() { --TheState().liveManagers; }

    std::atomic<ULONG> m_count = 1;
};

}  // namespace

HRESULT CreateZoneManager(REFIID interfaceId, void** object) {
    *object = nullptr;
    if (const HRESULT result = TheState().creationResult; FAILED(result)) {
        return result;
    }
    auto* manager = new (std::nothrow) ZoneManager;
    if (manager == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = manager->QueryInterface(interfaceId, object);
    manager->Release();
    return result;
}

std::vector<ZoneMapping> ZoneMappings() {
    State& state = TheState();
    const std::lock_guard guard(state.lock);
    return state.mappings;
}

void ClearZoneMappings() {
    State& state = TheState();
    const std::lock_guard guard(state.lock);
    state.mappings.clear();
}

void FailZoneManagerCreation(HRESULT result) {
    TheState().creationResult = result;
}

std::size_t LiveZoneManagers() {
    return TheState().liveManagers;
}

}  // namespace quillmark::platform
