// Steps that operations share and that need nothing of the client object.
#pragma once

#include <memory>
#include <string>

#include "common/Log.h"
#include "quillmark/Attributes.h"
#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// The HTTP statuses that operations tell from the others.
inline constexpr DWORD HttpStatusOk = 200;
inline constexpr DWORD HttpStatusDenied = 401;

// Whether the caller's cancel event is set now; a null event never is.
[[nodiscard]] bool IsSet(HANDLE cancelEvent);

// The server path in percent-encoding, as it stands in a URL behind the API path and the resource.
// ERROR_NO_UNICODE_TRANSLATION for a path that is not well-formed UTF-16 and so has no UTF-8: it would reach the server
// as another name.
[[nodiscard]] DWORD EncodePath(const WideString& serverPath, std::string& encoded);

// The two halves of a server path: what stands before its last '/' and what stands behind it. A path without '/' is
// both.
[[nodiscard]] WideString ParentPath(const WideString& serverPath);
[[nodiscard]] WideString LeafName(const WideString& serverPath);

// A path as delete and rename take it apart: at its last '\\' or, only when there is none, at its last '/'. Without
// either the parent is empty.
struct SplitPath {
    explicit SplitPath(const WideString& path);

    WideString parent;
    WideString name;
};

// Adds "name=value" to a query, behind "?" when it is the first parameter and "&" otherwise. The value stands in it as
// it is.
void AddParameter(std::string& query, const char* name, const std::string& value);

// Logs the code under this format unless it is success, and hands it on.
[[nodiscard]] DWORD LogFailure(const Logger& log, LogFormat<DWORD> format, DWORD error);

// Where a reply has the item that it is about: it is the root, or, in the reply to a request that was refused, the root
// has it as a member.
enum class ItemPlace { Root, ErrorReply };

// The one item that a reply describes; null when the reply is unreadable, or describes none or several. Lets exceptions
// of the JSON library out.
[[nodiscard]] std::shared_ptr<IServerAttributes> ExtractOneItem(const ResponseBuffer& reply, ItemPlace place);

}  // namespace quillmark
