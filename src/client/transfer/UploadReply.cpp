#include "client/transfer/UploadReply.h"

#include "client/Steps.h"
#include "model/JsonExceptions.h"

namespace quillmark {

DWORD TakeStoredItem(const Logger& log, const ResponseBuffer& reply, IServerAttributes& attributes) {
    const std::shared_ptr<IServerAttributes> item = ExtractOneItem(reply, ItemPlace::Root);
    if (item == nullptr) {
        log.Error("Failed to extract attributes from response");
        return ERROR_INVALID_DATA;
    }
    log.Information("Extracted attributes from upload reply");
    CopyAttributes(*item, attributes);
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
