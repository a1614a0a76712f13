#include "transfer/Stored.h"

namespace quillmark::cli {

bool IsStored(const IServerAttributes& reply, const IServerAttributes& sent) {
    return reply.GetSize() == sent.GetSize() && reply.GetLastWriteTime().ToText() == sent.GetLastWriteTime().ToText();
}

DWORD ConfirmStored(const Calls& calls, const WideString& server, const IServerAttributes& sent,
                    std::shared_ptr<IServerAttributes>& stored) {
    if (stored->HasSize() && stored->GetSize() == sent.GetSize() && !stored->GetRevision().empty()) {
        return ERROR_SUCCESS;
    }
    if (const DWORD error = calls.Api().GetPathAttributes(server, stored, calls.CancelEvent()).error;
        error != ERROR_SUCCESS) {
        return error;
    }
    return IsStored(*stored, sent) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

}  // namespace quillmark::cli
