// Getting bytes of an item into the same place of a local file.
#pragma once

#include <functional>

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

// Fetches the range piece by piece, with the usual repetitions, each through a temporary file that has the piece at its
// place: no more than that is needed on the disk, and the first bytes are there before the last are fetched. Ends with
// the first error, of a piece or of take.
[[nodiscard]] DWORD FetchPieces(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                                const ByteRange& range, const std::shared_ptr<IProgressSink>& progress,
                                const std::function<DWORD(const WideString& local, const ByteRange& piece)>& take);

// The same into a local file that is made when it is missing and keeps its other bytes; a piece changes it when all of
// the piece has come.
[[nodiscard]] DWORD FetchRange(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                               const WideString& local, const ByteRange& range,
                               const std::shared_ptr<IProgressSink>& progress);

}  // namespace quillmark::cli
