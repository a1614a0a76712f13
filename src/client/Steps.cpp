#include "client/Steps.h"

#include <cstdint>

#include "model/JsonResponse.h"

namespace quillmark {

bool IsSet(HANDLE cancelEvent) {
    return cancelEvent != nullptr && ::WaitForSingleObject(cancelEvent, 0) == WAIT_OBJECT_0;
}

bool IsWellFormed(WideView text) noexcept {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::uint32_t unit = text[index];
        const bool high = unit >= 0xD800 && unit <= 0xDBFF;
        const bool low = unit >= 0xDC00 && unit <= 0xDFFF;
        if (low) {
            return false;
        }
        if (high) {
            ++index;
            if (index == text.size() || text[index] < 0xDC00 || text[index] > 0xDFFF) {
                return false;
            }
        }
    }
    return true;
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
