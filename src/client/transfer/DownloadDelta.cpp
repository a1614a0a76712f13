// The download against a local base: the base goes up, and what the server makes of it comes back. Its failures are not
// read from the reply's body, unlike those of the whole-file form.
#include "client/NativeHttp.h"
#include "client/Steps.h"

namespace quillmark {
namespace {

// The name under which the base goes up: a long path's mark is no part of it.
WideString BaseName(const WideString& deltaBase) {
    const WideView extendedPrefix = QM_W("\\\\?\\");
    return deltaBase.StartsWith(extendedPrefix) ? deltaBase.Substring(extendedPrefix.size()) : deltaBase;
}

// One form of the base's file part: measured, or sent. The caller's sink follows the contents that come back, not the
// base.
DWORD BasePart(const Logger& log, IWinHttpRequest& request, const WideString& deltaBase, HANDLE cancelEvent,
               std::uint64_t* sizeOut) {
    return LogFailure(
        log, "httpRequest->SendMultipartFile, error code: %u",
        request.SendMultipartFile("file", deltaBase, BaseName(deltaBase), cancelEvent, sizeOut, nullptr, 0));
}

DWORD SendPending(const Logger& log, IWinHttpRequest& request) {
    return LogFailure(log, "httpRequest->SendPostData, error code: %u", request.SendPostData());
}

// No field beside the base.
DWORD SendBase(const Logger& log, IWinHttpRequest& request, const WideString& deltaBase, HANDLE cancelEvent) {
    std::uint64_t partLength = 0;
    DWORD error = BasePart(log, request, deltaBase, cancelEvent, &partLength);
    if (error == ERROR_SUCCESS) {
        error = request.AddMultipartHeaders(false);
    }
    if (error == ERROR_SUCCESS) {
        error = LogFailure(
            log, "httpRequest->StartRequest, error code: %u",
            request.StartRequest(request.GetPostDataLength() + partLength + request.GetMultipartEndLength()));
    }
    if (error == ERROR_SUCCESS) {
        error = SendPending(log, request);
    }
    if (error == ERROR_SUCCESS) {
        error = BasePart(log, request, deltaBase, cancelEvent, nullptr);
    }
    if (error == ERROR_SUCCESS) {
        request.EndMultipart();
        error = SendPending(log, request);
    }
    return error;
}

}  // namespace

DWORD CNativeHttp::_Internal_DownloadDelta(const WideString& serverPath, const WideString& localPath,
                                           const Attributes& expected, const Attributes& attributes,
                                           const WideString& deltaBase, HANDLE cancelEvent, const Progress& progress,
                                           std::uint64_t progressContext) {
    return LogScope::Run("CNativeHttp::_Internal_DownloadDelta", LogSource::NativeHttp, [&](const Logger& log) {
        DWORD error = ERROR_SUCCESS;
        log.Information("Download Delta request for LocalPath: %S, ServerPath: %S", localPath, serverPath);

        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        std::string path;
        error = EncodePath(serverPath, path);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const std::string revision = RevisionQuery("?", expected);
        const WideString url = FormatWide(QM_W("%s/delta%S%S"), GetApiPath(session), path, revision);
        Connection connection;
        Request request;
        error = CreateRequest(session, url, QM_W("POST"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Download canceled");
            return error = ERROR_CANCELLED;
        }
        error = SendBase(log, *request, deltaBase, cancelEvent);
        if (error == ERROR_SUCCESS) {
            error = LogFailure(log, "httpRequest->GetResponse, error code: %u",
                               request->GetResponse(localPath, 0, cancelEvent, progress, true, progressContext));
        }
        if (error != ERROR_SUCCESS) {
            return error;
        }

        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus != HttpStatusOk) {
            log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
            // The bare status, which is meant.
            return error = CheckForChangedSessionToken(session, httpStatus, sentToken, httpStatus);
        }
        log.Information("Successfully downloaded file: %S", localPath);
        request->Close();  // lets the next request have its connection
        error = LogFailure(log, "GetPathAttributes() failed with [%u]",
                           TakeDownloadAttributes(serverPath, expected, attributes, cancelEvent));
        return error;
    });
}

}  // namespace quillmark
