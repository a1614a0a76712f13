#include "transfer/RangeDownload.h"

#include "LocalFile.h"
#include "transfer/PartFile.h"

namespace quillmark::cli {

DWORD FetchRange(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                 const WideString& local, const ByteRange& range, const std::shared_ptr<IProgressSink>& progress) {
    {
        LocalFile target;  // its being there is all that is needed
        if (const DWORD error = target.Open(local, GENERIC_WRITE, OPEN_ALWAYS); error != ERROR_SUCCESS) {
            return error;
        }
    }
    // The library begins a file anew when the range begins at 0: its bytes go through a file beside the target then.
    const bool beginning = range.first == 0;
    const TemporaryFile partial(TemporaryName(local));
    const DWORD error = calls.Run([&] {
        return calls.Api().DownloadData(server, beginning ? partial.Path() : local, item, MakeAttributes(),
                                        static_cast<std::uint64_t>(range.first), range.end, calls.CancelEvent(),
                                        progress, 0);
    });
    return error == ERROR_SUCCESS && beginning ? CopyBeginning(partial.Path(), local, range.end) : error;
}

}  // namespace quillmark::cli
