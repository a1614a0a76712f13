#include "client/Boundary.h"
#include "client/NativeHttp.h"

namespace quillmark {

void CNativeHttp::GetSessionToken(WideString& token) {
    RunOperation("CNativeHttp::GetSessionToken", [&](const Logger&) { token = TokenOf(GetSession()); });
}

void CNativeHttp::SetSessionToken(const WideString& token) {
    RunOperation("CNativeHttp::SetSessionToken", [&](const Logger&) {
        if (const Session session = GetSession(); session != nullptr) {
            session->SetSessionToken(token);
        }
    });
}

}  // namespace quillmark
