// Operations on the folder tree that this build does not offer: each answers ERROR_CALL_NOT_IMPLEMENTED from its slot.
#include "client/Boundary.h"
#include "client/NativeHttp.h"

namespace quillmark {

StatusPair CNativeHttp::GetChanges(NotificationList&, HANDLE) {
    return NotOffered("CNativeHttp::GetChanges");
}

StatusPair CNativeHttp::GetRemoteFolderMap(MappingList&, ResponseBuffer&, HANDLE) {
    return NotOffered("CNativeHttp::GetRemoteFolderMap");
}

DWORD CNativeHttp::GetMappingsFromResponse(const ResponseBuffer&, MappingList&, DWORD, DWORD&) {
    return NotOffered("CNativeHttp::GetMappingsFromResponse").error;
}

StatusPair CNativeHttp::DeletePath(const WideString&, const Attributes&, HANDLE) {
    return NotOffered("CNativeHttp::DeletePath");
}

StatusPair CNativeHttp::RenamePath(const WideString&, const WideString&, DWORD, Attributes&, HANDLE) {
    return NotOffered("CNativeHttp::RenamePath");
}

StatusPair CNativeHttp::PublishSyncStats(const char*, HANDLE) {
    return NotOffered("CNativeHttp::PublishSyncStats");
}

StatusPair CNativeHttp::GenerateLink(const std::shared_ptr<const ShareRequest>&, HANDLE) {
    return NotOffered("CNativeHttp::GenerateLink");
}

StatusPair CNativeHttp::TestLock(const WideString&, DWORD&, HANDLE) {
    return NotOffered("CNativeHttp::TestLock");
}

StatusPair CNativeHttp::RequestLock(const WideString&, DWORD, HANDLE) {
    return NotOffered("CNativeHttp::RequestLock");
}

StatusPair CNativeHttp::ReleaseLock(const WideString&, HANDLE) {
    return NotOffered("CNativeHttp::ReleaseLock");
}

}  // namespace quillmark
