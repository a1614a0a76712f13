// Transfers that this build does not offer: each answers ERROR_CALL_NOT_IMPLEMENTED from its slot.
#include "client/Boundary.h"
#include "client/NativeHttp.h"

namespace quillmark {

DWORD CNativeHttp::UploadDelta(const WideString&, const WideString&, const Attributes&, DWORD, HANDLE,
                               const Progress&) {
    return NotOffered("CNativeHttp::UploadDelta").error;
}

DWORD CNativeHttp::ResumableUpload(const WideString&, const WideString&, const Attributes&, const GUID&, std::int64_t&,
                                   std::int64_t&, bool, HANDLE, const Progress&, std::uint64_t) {
    return NotOffered("CNativeHttp::ResumableUpload").error;
}

DWORD CNativeHttp::CancelUpload(const WideString&, const GUID&, HANDLE) {
    return NotOffered("CNativeHttp::CancelUpload").error;
}

DWORD CNativeHttp::CompleteUpload(const WideString&, const WideString&, const GUID&, const Attributes&, HANDLE) {
    return NotOffered("CNativeHttp::CompleteUpload").error;
}

DWORD CNativeHttp::GetResumableUploadMetadata(const WideString&, const GUID&, std::int64_t&, bool&, HANDLE) {
    return NotOffered("CNativeHttp::GetResumableUploadMetadata").error;
}

DWORD CNativeHttp::DownloadData(const WideString&, const WideString&, const Attributes&, const Attributes&,
                                std::uint64_t, std::int64_t, HANDLE, const Progress&, std::uint64_t) {
    return NotOffered("CNativeHttp::DownloadData").error;
}

DWORD CNativeHttp::AsyncDeltaStart(const WideString&, const WideString&, const Attributes&, GUID&, DWORD,
                                   const Progress&, HANDLE) {
    return NotOffered("CNativeHttp::AsyncDeltaStart").error;
}

DWORD CNativeHttp::AsyncDeltaStatus(AsyncDeltaJobList&, HANDLE) {
    return NotOffered("CNativeHttp::AsyncDeltaStatus").error;
}

DWORD CNativeHttp::AsyncDeltaCommit(const GUID&, const Attributes&, std::uint64_t, HANDLE) {
    return NotOffered("CNativeHttp::AsyncDeltaCommit").error;
}

DWORD CNativeHttp::AsyncDeltaCancel(const GUID&, HANDLE) {
    return NotOffered("CNativeHttp::AsyncDeltaCancel").error;
}

}  // namespace quillmark
