#include "client/Steps.h"

#include <cstdint>

#include "common/UrlEncode.h"
#include "common/WellFormed.h"
#include "model/JsonResponse.h"

namespace quillmark {

bool IsSet(HANDLE cancelEvent) {
    return cancelEvent != nullptr && ::WaitForSingleObject(cancelEvent, 0) == WAIT_OBJECT_0;
}

DWORD EncodePath(const WideString& serverPath, std::string& encoded) {
    if (!IsWellFormed(serverPath)) {
        return ERROR_NO_UNICODE_TRANSLATION;
    }
    encoded = UrlEncode(serverPath, false);
    return ERROR_SUCCESS;
}

WideString ParentPath(const WideString& serverPath) {
    const std::size_t slash = serverPath.FindLast(QM_W('/'));
    return slash == WideString::npos ? serverPath : serverPath.Substring(0, slash);
}

WideString LeafName(const WideString& serverPath) {
    const std::size_t slash = serverPath.FindLast(QM_W('/'));
    return slash == WideString::npos ? serverPath : serverPath.Substring(slash + 1);
}

SplitPath::SplitPath(const WideString& path) {
    std::size_t separator = path.FindLast(QM_W('\\'));
    if (separator == WideString::npos) {
        separator = path.FindLast(QM_W('/'));
    }
    if (separator == WideString::npos) {
        name = path;
        return;
    }
    parent = path.Substring(0, separator);
    name = path.Substring(separator + 1);
}

void AddParameter(std::string& query, const char* name, const std::string& value) {
    query += query.empty() ? "?" : "&";
    query += Format("%s=%s", name, value);
}

DWORD LogFailure(const Logger& log, LogFormat<DWORD> format, DWORD error) {
    if (error != ERROR_SUCCESS) {
        log.Error(format, error);
    }
    return error;
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
