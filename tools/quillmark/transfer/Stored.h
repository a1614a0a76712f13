// Whether what was sent is what the server has.
#pragma once

#include <memory>

#include "Calls.h"

namespace quillmark::cli {

// Whether the server's record is that of what was sent with the other one: the same size and the same last-write time.
[[nodiscard]] bool IsStored(const IServerAttributes& reply, const IServerAttributes& sent);

// A success whose record is not that of an item of the sent size may have come from somebody else than the server: it
// is asked, once. stored: the record of the success, or what the server says now. 0 or an error code;
// ERROR_INVALID_DATA when the server has something else.
[[nodiscard]] DWORD ConfirmStored(const Calls& calls, const WideString& server, const IServerAttributes& sent,
                                  std::shared_ptr<IServerAttributes>& stored);

}  // namespace quillmark::cli
