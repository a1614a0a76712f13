#include "client/transfer/UploadReply.h"

#include "client/Steps.h"
#include "model/JsonExceptions.h"

namespace quillmark {
namespace {

bool TakeRootItem(const Logger& log, const ResponseBuffer& reply, IServerAttributes& attributes) {
    const std::shared_ptr<IServerAttributes> item = ExtractOneItem(reply, ItemPlace::Root);
    if (item == nullptr) {
        log.Error("Failed to extract attributes from response");
        return false;
    }
    CopyAttributes(*item, attributes);
    return true;
}

}  // namespace

DWORD TakeStoredItem(const Logger& log, const ResponseBuffer& reply, IServerAttributes& attributes) {
    if (!TakeRootItem(log, reply, attributes)) {
        return ERROR_INVALID_DATA;
    }
    log.Information("Extracted attributes from upload reply");
    return ERROR_SUCCESS;
}

DWORD TakeStoredRevision(const Logger& log, const ResponseBuffer& reply, IServerAttributes& attributes) {
    if (!TakeRootItem(log, reply, attributes)) {
        return ERROR_INVALID_DATA;
    }
    log.Information("Extracted attributes from upload reply, Rev: %s", attributes.GetRevision());
    return ERROR_SUCCESS;
}

bool TakeRefusedItem(const Logger& log, const ResponseBuffer& reply, IServerAttributes& attributes) noexcept {
    try {
        const std::shared_ptr<IServerAttributes> item = ExtractOneItem(reply, ItemPlace::ErrorReply);
        if (item == nullptr) {
            return false;
        }
        log.Information("Extracted attributes from upload reply");
        CopyAttributes(*item, attributes);
        return true;
    } catch (...) {
        static_cast<void>(CodeOfExceptionInFlight(log));
        return false;
    }
}

}  // namespace quillmark
