// The ranged download: bytes of an item, to the same place of a local file.
#include <limits>

#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {
namespace {

// A range begins where a file can have bytes and does not end before that.
bool IsRange(std::uint64_t start, std::int64_t end) {
    return start <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) &&
           end >= static_cast<std::int64_t>(start);
}

}  // namespace

DWORD CNativeHttp::DownloadData(const WideString& serverPath, const WideString& localPath, const Attributes& expected,
                                const Attributes& attributes, std::uint64_t start, std::int64_t end, HANDLE cancelEvent,
                                const Progress& progress, std::uint64_t progressContext) {
    return RunOperation("CNativeHttp::DownloadData", [&](const Logger& log) -> DWORD {
        if (attributes == nullptr || !IsRange(start, end)) {
            return ERROR_INVALID_PARAMETER;
        }
        log.Information("Download data request for LocalPath: %S, ServerPath: %S", localPath, serverPath);
        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        std::string path;
        DWORD error = EncodePath(serverPath, path);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const std::string revision = RevisionQuery("&", expected);
        const std::int64_t count = end - static_cast<std::int64_t>(start);
        const WideString url =
            FormatWide(QM_W("%s/folders%S?skip=%I64u&count=%lld%S"), GetApiPath(session), path, start, count, revision);
        Connection connection;
        Request request;
        error = CreateRequest(session, url, QM_W("GET"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("DownloadData canceled");
            return ERROR_CANCELLED;
        }
        error =
            LogFailure(log, "GetResponse failed, error code: %u",
                       request->SendRequestGetResponse(localPath, start, cancelEvent, progress, true, progressContext));
        if (error != ERROR_SUCCESS) {
            // The body of a refusal is not read here, unlike in the whole-file form.
            return error;
        }
        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus != HttpStatusOk) {
            log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
            // The bare status, which is meant.
            return CheckForChangedSessionToken(session, httpStatus, sentToken, httpStatus);
        }
        log.Information("Successfully downloaded data into file: %S", localPath);
        request->Close();  // lets the next request have its connection
        return LogFailure(log, "GetPathAttributes() failed with [%u]",
                          TakeDownloadAttributes(serverPath, expected, attributes, cancelEvent));
    });
}

}  // namespace quillmark
