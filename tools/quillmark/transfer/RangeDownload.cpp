#include "transfer/RangeDownload.h"

#include "LocalFile.h"
#include "System.h"
#include "transfer/PartFile.h"

namespace quillmark::cli {

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

DWORD FetchRange(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                 const WideString& local, const ByteRange& range, const std::shared_ptr<IProgressSink>& progress) {
    const TemporaryFile fetched(TemporaryName(local));
    DWORD error = MakeEmptyFile(fetched.Path());
    if (error == ERROR_SUCCESS) {
        error = MakeSparse(fetched.Path());
    }
    if (error == ERROR_SUCCESS) {
        error = calls.Run([&] { return FetchBytes(calls, server, item, fetched.Path(), range, progress); });
    }
    if (error == ERROR_SUCCESS) {
        LocalFile target;  // its being there is all that is needed
        error = target.Open(local, GENERIC_WRITE, OPEN_ALWAYS);
    }
    return error == ERROR_SUCCESS ? CopyBytes(fetched.Path(), local, range.first, range.end) : error;
}

}  // namespace quillmark::cli
