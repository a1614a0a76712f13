// The whole-file download.
//
// The request names the revision that the caller expects, and then goes one of three ways:
//
//   the contents come        they are in the local file; the record is the expected one, or is asked for
//   refused for the revision the item has changed since the caller looked: the present contents are downloaded without
//                            naming a revision (HandleRevisionMismatch)
//   refused otherwise        the server's code; the local file is not touched
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "common/CaseFold.h"

namespace quillmark {
namespace {

// The transport's codes for a status other than 200 whose body can still be read.
constexpr DWORD FirstStatusCode = SERVER_ERROR_BASE;
constexpr DWORD LastStatusCode = 27775;

// From this version on contents that come for an expected revision are known to belong to the expected record; an older
// server is asked for the record.
constexpr ApiVersion RecordsWithDownloads{1, 2};

}  // namespace

DWORD CNativeHttp::DownloadFile(const WideString& serverPath, const WideString& localPath, const Attributes& expected,
                                const Attributes& attributes, const WideString& deltaBase, HANDLE cancelEvent,
                                const Progress& progress, std::uint64_t progressContext) {
    return RunOperation("CNativeHttp::DownloadFile", [&](const Logger&) -> DWORD {
        if (attributes == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        if (!deltaBase.empty()) {
            return _Internal_DownloadDelta(serverPath, localPath, expected, attributes, deltaBase, cancelEvent,
                                           progress, progressContext);
        }
        return _Internal_DownloadFile(serverPath, localPath, expected, attributes, cancelEvent, progress,
                                      progressContext);
    });
}

DWORD CNativeHttp::_Internal_DownloadFile(const WideString& serverPath, const WideString& localPath,
                                          const Attributes& expected, const Attributes& attributes, HANDLE cancelEvent,
                                          const Progress& progress, std::uint64_t progressContext) {
    return LogScope::Run("CNativeHttp::_Internal_DownloadFile", LogSource::NativeHttp, [&](const Logger& log) -> DWORD {
        DWORD error = ERROR_SUCCESS;
        log.Information("Download request for LocalPath: %S, ServerPath: %S", localPath, serverPath);

        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        std::string path;
        error = EncodePath(serverPath, path);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const std::string revision = RevisionQuery("?", expected);
        const WideString url = FormatWide(QM_W("%s/folders%S%S"), GetApiPath(session), path, revision);
        Connection connection;
        Request request;
        error = CreateRequest(session, url, QM_W("GET"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Download canceled");
            return ERROR_CANCELLED;
        }

        error = request->SendRequestGetResponse(localPath, 0, cancelEvent, progress, true, progressContext);
        if (error >= FirstStatusCode && error <= LastStatusCode) {
            error = ReadRefusal(log, *request, error);
            if (error == SERVER_ERROR_REVISION_MISMATCH && expected != nullptr) {
                request->Close();  // lets the next request have its connection
                error = HandleRevisionMismatch(serverPath, localPath, expected, attributes, cancelEvent, progress,
                                               progressContext);
            }
            return error;
        }
        if (error != ERROR_SUCCESS) {
            log.Error("SendRequestGetResponse failed, error code: %u", error);
            return error;
        }

        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus != HttpStatusOk) {
            log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
            return CheckForChangedSessionToken(session, httpStatus, sentToken, ERROR_SUCCESS);
        }
        log.Information("Successfully downloaded file: %S", localPath);
        request->Close();  // lets the next request have its connection
        error = LogFailure(log, "Download failed with [%u]",
                           TakeDownloadAttributes(serverPath, expected, attributes, cancelEvent));
        if (error != ERROR_SUCCESS) {
            return error;
        }
        log.Information("Server attributes which came with download are S[LW[%S] LA[%S] C[%S] A[%d]] Rev:[%s]",
                        attributes->GetLastWriteTime().ToText(), attributes->GetLastAccessTime().ToText(),
                        attributes->GetCreationTime().ToText(), attributes->GetFileAttributes(),
                        attributes->GetRevision());
        return error;
    });
}

DWORD CNativeHttp::ReadRefusal(const Logger& log, IWinHttpRequest& request, DWORD sendError) const {
    ResponseBuffer reply;
    if (const DWORD error = request.ReadResponse(reply); error != ERROR_SUCCESS) {
        log.Error("ReadResponse failed, error code: %u", error);
        return error;
    }
    log.Error("SendRequestGetResponse failed, error code: %u", sendError);
    const DWORD error = ErrorFromStatus(request.GetHTTPStatus(), reply).error;
    log.Error("Extracted error from response: %lu", error);
    return error;
}

DWORD CNativeHttp::TakeDownloadAttributes(const WideString& serverPath, const Attributes& expected,
                                          const Attributes& attributes, HANDLE cancelEvent) {
    if (m_apiVersion >= RecordsWithDownloads && expected != nullptr && expected->HasTimes()) {
        CopyAttributes(*expected, *attributes);
        return ERROR_SUCCESS;
    }
    Attributes present;
    const DWORD error = GetPathAttributes(serverPath, present, cancelEvent).error;
    if (error == ERROR_SUCCESS) {
        CopyAttributes(*present, *attributes);
    }
    return error;
}

DWORD CNativeHttp::HandleRevisionMismatch(const WideString& serverPath, const WideString& localPath,
                                          const Attributes& expected, const Attributes& attributes, HANDLE cancelEvent,
                                          const Progress& progress, std::uint64_t progressContext) {
    return LogScope::Run("CNativeHttp::HandleRevisionMismatch", LogSource::NativeHttp, [&](const Logger& log) -> DWORD {
        DWORD error = ERROR_SUCCESS;
        // Into a record of its own: until it is known which one is right, the caller's stays, which may be both of
        // its two.
        const Attributes present = MakeAttributes();
        error = _Internal_DownloadFile(serverPath, localPath, nullptr, present, cancelEvent, progress, progressContext);
        if (error != ERROR_SUCCESS) {
            log.Error("Failed to download file, error code: %lu", error);
            return error;
        }
        if (EqualsIgnoreCase(WidenUtf8(present->GetRevision()), WidenUtf8(expected->GetRevision()))) {
            CopyAttributes(*present, *attributes);
        } else {
            log.Information(
                "File was modified after we downloaded it. "
                "Returning old cached attributes so that file will be seen as out of sync on next check.");
            CopyAttributes(*expected, *attributes);
        }
        return error;
    });
}

}  // namespace quillmark
