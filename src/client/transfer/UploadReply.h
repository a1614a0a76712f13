// What the replies to uploads say of the item: the record of what was stored, or, when the upload was refused because
// the item has another revision by now, the record of what is there instead.
#pragma once

#include "common/Log.h"
#include "quillmark/Attributes.h"
#include "quillmark/ResponseBuffer.h"

namespace quillmark {

// The reply to an upload that was stored: attributes becomes the one item's record. 13, logged, when the reply is not
// exactly one item; attributes is then as it was. Lets exceptions of the JSON library out.
[[nodiscard]] DWORD TakeStoredItem(const Logger& log, const ResponseBuffer& reply, IServerAttributes& attributes);

// The same, with the new revision in the log, as uploads of deltas write it.
[[nodiscard]] DWORD TakeStoredRevision(const Logger& log, const ResponseBuffer& reply, IServerAttributes& attributes);

// The reply to an upload that was refused for its revision: attributes becomes the record that the reply carries. False
// when it carries none, or several, or an unreadable one; attributes is then as it was. An exception of the JSON
// library is only logged: the upload was refused all the same, and that is what its caller has to learn.
[[nodiscard]] bool TakeRefusedItem(const Logger& log, const ResponseBuffer& reply,
                                   IServerAttributes& attributes) noexcept;

}  // namespace quillmark
