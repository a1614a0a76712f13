#include <memory>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "common/ScopedCOM.h"

namespace quillmark {
namespace {

struct ReleaseObject {
    void operator()(IInternetSecurityManager* object) const { object->Release(); }
};
using SecurityManager = std::unique_ptr<IInternetSecurityManager, ReleaseObject>;

HRESULT CreateSecurityManager(SecurityManager& manager) {
    void* object = nullptr;
    const HRESULT result =
        ::CoCreateInstance(CLSID_InternetSecurityManager, nullptr, CLSCTX_ALL, IID_IInternetSecurityManager, &object);
    manager.reset(static_cast<IInternetSecurityManager*>(object));
    return result;
}

}  // namespace

void CNativeHttp::AddURIToTrustedZone() const {
    RunOperation("CNativeHttp::AddURIToTrustedZone", [&](const Logger& log) {
        const CScopedCOM com;
        if (!com.Usable()) {
            return;
        }
        const WideString address = WideString(m_secure ? QM_W("https://") : QM_W("http://")) + m_server;
        log.Information("Adding %S to the trusted zone", address);
        SecurityManager manager;  // released before COM ends
        if (const HRESULT result = CreateSecurityManager(manager); FAILED(result)) {
            log.Error("Exception: %S",
                      FormatWide(QM_W("CNativeHttp::AddURIToTrustedZone(),ln=4283 : CoCreateInstance() failed, "
                                      "hresult=0x%x"),
                                 result));
            return;
        }
        // A mapping that exists already, or one that a policy forbids, is no obstacle to going on.
        static_cast<void>(manager->SetZoneMapping(URLZONE_TRUSTED, address.c_str(), SZM_CREATE));
    });
}

}  // namespace quillmark
