// Steps that operations share and that need nothing of the client object.
#pragma once

#include <memory>

#include "quillmark/Attributes.h"
#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// The HTTP statuses that operations tell from the others.
inline constexpr DWORD HttpStatusOk = 200;
inline constexpr DWORD HttpStatusDenied = 401;

// Whether the caller's cancel event is set now; a null event never is.
[[nodiscard]] bool IsSet(HANDLE cancelEvent);

// The two halves of a server path: what stands before its last '/' and what stands behind it. A path without '/' is
// both.
[[nodiscard]] WideString ParentPath(const WideString& serverPath);
[[nodiscard]] WideString LeafName(const WideString& serverPath);

// Where a reply has the item that it is about: it is the root, or, in the reply to a request that was refused, the root
// has it as a member.
enum class ItemPlace { Root, ErrorReply };

// The one item that a reply describes; null when the reply is unreadable, or describes none or several. Lets exceptions
// of the JSON library out.
[[nodiscard]] std::shared_ptr<IServerAttributes> ExtractOneItem(const ResponseBuffer& reply, ItemPlace place);

}  // namespace quillmark
