// Getting bytes of an item into the same place of a local file.
#pragma once

#include "Calls.h"
#include "Texts.h"

namespace quillmark::cli {

// Writes bytes of the item, whose record has the revision that it shall have, to the same offsets of the local file,
// which is made when it is missing and keeps all other bytes. The range lies in the item. 0 or an error code.
[[nodiscard]] DWORD FetchRange(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                               const WideString& local, const ByteRange& range,
                               const std::shared_ptr<IProgressSink>& progress);

}  // namespace quillmark::cli
