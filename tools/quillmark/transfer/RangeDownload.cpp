#include "transfer/RangeDownload.h"

#include "LocalFile.h"
#include "Output.h"
#include "Paths.h"
#include "transfer/PartFile.h"

namespace quillmark::cli {
namespace {

using Attributes = std::shared_ptr<IServerAttributes>;

void CheckRange(const IServerAttributes& item, const WideString& server, ByteRange& range) {
    if (IsFolder(item)) {
        throw Failure(Printable(server) + " is a folder and has no bytes", ExitCode::Conflict);
    }
    if (range.end == ByteRange::ToTheEnd) {
        range.end = item.GetSize();
    }
    if (range.end > item.GetSize() || range.first >= range.end) {
        throw Failure("the range does not lie in " + Printable(server) + ", which has " + item.GetSizeText() + " bytes",
                      ExitCode::Usage);
    }
}

DWORD Download(Calls& calls, const WideString& server, const WideString& local, const Attributes& expected,
               ByteRange range) {
    return calls.Run([&] {
        return calls.Api().DownloadData(server, local, expected, MakeAttributes(),
                                        static_cast<std::uint64_t>(range.first), range.end, calls.CancelEvent(),
                                        nullptr, 0);
    });
}

// The library begins a file anew when the range begins at 0: its bytes go through a file beside the target then.
DWORD DownloadBeginning(Calls& calls, const WideString& server, const WideString& local, const Attributes& expected,
                        ByteRange range) {
    const TemporaryFile partial(TemporaryName(local));
    const DWORD error = Download(calls, server, partial.Path(), expected, range);
    return error == ERROR_SUCCESS ? CopyBeginning(partial.Path(), local, range.end) : error;
}

}  // namespace

ExitCode GetRange(Calls& calls, const WideString& server, const WideString& local, ByteRange range,
                  const std::string& revision, bool quiet) {
    Attributes item;
    Require(calls.Run([&] { return calls.Api().GetPathAttributes(server, item, calls.CancelEvent()).error; }),
            "cannot look at " + Printable(server));
    if (!revision.empty() && item->GetRevision() != revision) {
        throw Failure("cannot get " + Printable(server), SERVER_ERROR_REVISION_MISMATCH);
    }
    CheckRange(*item, server, range);
    {
        LocalFile target;  // its being there is all that is needed
        Require(target.Open(local, GENERIC_WRITE, OPEN_ALWAYS), "cannot write '" + Printable(local) + "'");
    }
    Require(range.first == 0 ? DownloadBeginning(calls, server, local, item, range)
                             : Download(calls, server, local, item, range),
            "cannot get " + Printable(server) + " to '" + Printable(local) + "'");
    if (!quiet) {
        Print(Printable(local));
    }
    return ExitCode::Success;
}

}  // namespace quillmark::cli
