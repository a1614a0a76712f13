// The plain upload: one file, whole, in one request.
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "client/transfer/UploadBody.h"
#include "client/transfer/UploadReply.h"

namespace quillmark {
namespace {

void AddFields(const Logger& log, IWinHttpRequest& request, const IServerAttributes& attributes) {
    request.AddMultipartFormField("operation", "create");
    request.AddMultipartFormField(QM_W("creation_time"), attributes.GetCreationTime().ToText());
    request.AddMultipartFormField(QM_W("modification_time"), attributes.GetLastWriteTime().ToText());
    request.AddMultipartFormField("attributes", attributes.GetFileAttributesText());
    request.AddMultipartFormField("size", attributes.GetSizeText());
    AddRevisionField(log, request, attributes.GetRevision());
}

}  // namespace

DWORD CNativeHttp::UploadFile(const WideString& localPath, const WideString& serverPath, const Attributes& attributes,
                              HANDLE cancelEvent, const Progress& progress, std::uint64_t progressContext) {
    return RunOperation("CNativeHttp::UploadFile", [&](const Logger& log) -> DWORD {
        if (attributes == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        log.Information("Upload local path: [%S] for server path: [%S]", localPath, serverPath);
        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        std::string path;
        DWORD error = EncodePath(serverPath, path);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const WideString url = FormatWide(QM_W("%s/folders%S"), GetApiPath(session), path);
        log.Information("Mod time: [%S]", attributes->GetLastWriteTime().ToText());

        Connection connection;
        Request request;
        error = CreateRequest(session, url, QM_W("POST"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Upload canceled");
            return ERROR_CANCELLED;
        }

        UploadBody body(log, *request, {localPath, serverPath, cancelEvent, progress, progressContext});
        error = body.Measure();
        if (error == ERROR_SUCCESS) {
            error = request->AddMultipartHeaders(true);
        }
        if (error != ERROR_SUCCESS) {
            return error;
        }
        AddFields(log, *request, *attributes);
        ResponseBuffer reply;
        error = body.Exchange(reply);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        if (IsSet(cancelEvent)) {
            return ERROR_CANCELLED;
        }

        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus == HttpStatusOk) {
            if (reply.size() == 0) {
                return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
            }
            log.Information("File uploaded successfully: %S", localPath);
            return TakeStoredItem(log, reply, *attributes);
        }
        log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
        error = ErrorFromStatusWithRetry(session, httpStatus, sentToken, reply).error;
        if (error == SERVER_ERROR_REVISION_MISMATCH && reply.size() != 0) {
            // The code stays what it is, whether the caller learns the server's record or not.
            static_cast<void>(TakeRefusedItem(log, reply, *attributes));
        }
        return error;
    });
}

}  // namespace quillmark
