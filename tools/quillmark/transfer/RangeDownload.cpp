#include "transfer/RangeDownload.h"

#include <algorithm>

#include "LocalFile.h"
#include "LocalFiles.h"
#include "System.h"

namespace quillmark::cli {
namespace {

constexpr std::int64_t PieceSize = 16 * 1024 * 1024;

}  // namespace

DWORD FetchBytes(const Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                 const WideString& local, const ByteRange& range, const std::shared_ptr<IProgressSink>& progress) {
    DWORD error =
        calls.Api().DownloadData(server, local, item, MakeAttributes(), static_cast<std::uint64_t>(range.first),
                                 range.end, calls.CancelEvent(), progress, 0);
    std::int64_t size = 0;
    if (error == ERROR_SUCCESS) {
        error = FileSize(local, size);
    }
    if (error == ERROR_SUCCESS && size != range.end) {
        error = CutFile(local, range.first);
        return error == ERROR_SUCCESS ? ERROR_DOWNLOAD_UNDERFLOW : error;
    }
    return error;
}

DWORD FetchPieces(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                  const ByteRange& range, const std::shared_ptr<IProgressSink>& progress,
                  const std::function<DWORD(const WideString&, const ByteRange&)>& take) {
    DWORD error = ERROR_SUCCESS;
    for (std::int64_t start = range.first; error == ERROR_SUCCESS && start < range.end; start += PieceSize) {
        const ByteRange piece = {start, std::min(start + PieceSize, range.end)};
        const TemporaryFile file;
        error = MakeSparse(file.Path());
        if (error == ERROR_SUCCESS) {
            error = calls.Run([&] { return FetchBytes(calls, server, item, file.Path(), piece, progress); });
        }
        if (error == ERROR_SUCCESS) {
            error = take(file.Path(), piece);
        }
    }
    return error;
}

DWORD FetchRange(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                 const WideString& local, const ByteRange& range, const std::shared_ptr<IProgressSink>& progress) {
    {
        LocalFile target;  // what cannot be written is told before anything is fetched
        const DWORD error = target.Open(local, GENERIC_WRITE, OPEN_EXISTING);
        if (error != ERROR_SUCCESS && !IsLocalItemMissing(error)) {
            return error;
        }
    }
    return FetchPieces(calls, server, item, range, progress, [&](const WideString& fetched, const ByteRange& piece) {
        return CopyBytes(fetched, local, piece.first, piece.end);
    });
}

}  // namespace quillmark::cli
