// Getting bytes of an item into the same place of a local file.
#pragma once

#include "Calls.h"
#include "Texts.h"

namespace quillmark::cli {

// One attempt to write bytes of the item, whose record has the revision that it shall have, to the same offsets of the
// local file, which has no more than what is before them; the range lies in the item. An answer of another length is
// something else than these bytes: ERROR_DOWNLOAD_UNDERFLOW, and nothing of it stays. What came before a connection was
// lost does stay. 0 or an error code.
[[nodiscard]] DWORD FetchBytes(const Calls& calls, const WideString& server,
                               const std::shared_ptr<IServerAttributes>& item, const WideString& local,
                               const ByteRange& range, const std::shared_ptr<IProgressSink>& progress);

// The same, with the usual repetitions, into a local file that is made when it is missing and keeps its other bytes. It
// changes when all bytes of the range have come. 0 or an error code.
[[nodiscard]] DWORD FetchRange(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                               const WideString& local, const ByteRange& range,
                               const std::shared_ptr<IProgressSink>& progress);

}  // namespace quillmark::cli
