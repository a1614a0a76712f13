// Account operations that this build does not offer: each answers ERROR_CALL_NOT_IMPLEMENTED from its slot.
#include "client/Boundary.h"
#include "client/NativeHttp.h"

namespace quillmark {

StatusPair CNativeHttp::Register(const WideString&, const WideString&, HANDLE) {
    return NotOffered("CNativeHttp::Register");
}

StatusPair CNativeHttp::AcknowledgeRemoteWipe(const WideString&, const WideString&, HANDLE) {
    return NotOffered("CNativeHttp::AcknowledgeRemoteWipe");
}

}  // namespace quillmark
