#include "client/Steps.h"

#include <cstdint>

#include "model/JsonResponse.h"

namespace quillmark {

bool IsSet(HANDLE cancelEvent) {
    return cancelEvent != nullptr && ::WaitForSingleObject(cancelEvent, 0) == WAIT_OBJECT_0;
}

WideString ParentPath(const WideString& serverPath) {
    const std::size_t slash = serverPath.FindLast(QM_W('/'));
    return slash == WideString::npos ? serverPath : serverPath.Substring(0, slash);
}

WideString LeafName(const WideString& serverPath) {
    const std::size_t slash = serverPath.FindLast(QM_W('/'));
    return slash == WideString::npos ? serverPath : serverPath.Substring(slash + 1);
}

std::shared_ptr<IServerAttributes> ExtractOneItem(const ResponseBuffer& reply, ItemPlace place) {
    ItemList items;
    std::uint32_t count = 0;
    const DWORD error = GetAttributesFromResponse(reply, items, place == ItemPlace::ErrorReply, count);
    if (error != ERROR_SUCCESS || count != 1 || items.size() != 1) {
        return nullptr;
    }
    return items.front();
}

}  // namespace quillmark
