// Starts an asynchronous delta job: the delta goes up, the server answers with the job's identifier and applies the
// delta in the background.
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "client/transfer/DeltaTypes.h"
#include "client/transfer/UploadBody.h"
#include "common/GuidText.h"
#include "model/JsonResponse.h"

namespace quillmark {
namespace {

DWORD Exchange(UploadBody& body, IWinHttpRequest& request, HANDLE cancelEvent, ResponseBuffer& reply) {
    // These two are not checked, which is meant: what goes wrong in them shows in the next step.
    static_cast<void>(request.StartRequest(body.TotalLength()));
    static_cast<void>(request.SendPostData());
    DWORD error = body.SendFile();
    if (error != ERROR_SUCCESS) {
        return error;
    }
    request.EndMultipart();
    // Looked at, but not followed, which is meant: with the delta on its way the closing line goes out as well.
    static_cast<void>(IsSet(cancelEvent));
    error = LogFailure(body.Log(), "SendPostData failed, error code: %u", request.SendPostData());
    return error == ERROR_SUCCESS ? body.Receive(reply) : error;
}

// A reply without an identifier, or with an unreadable one, leaves the caller's as it is and is a success all the same.
void TakeJob(const Logger& log, const ResponseBuffer& reply, const WideString& deltaPath, GUID& job) {
    std::string text;
    if (GetJSONStringFromResponse(reply, "deltaJobId", text)) {
        static_cast<void>(ParseGuid(WidenUtf8(text), job));
    }
    log.Information("Delta file uploaded successfully: %S, response ID was: [%S]", deltaPath, WidenUtf8(text));
}

}  // namespace

DWORD CNativeHttp::AsyncDeltaStart(const WideString& deltaPath, const WideString& serverPath,
                                   const Attributes& attributes, GUID& job, DWORD deltaType, const Progress& progress,
                                   HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::AsyncDeltaStart", [&](const Logger& log) -> DWORD {
        log.Information("Async delta upload from [%S] to [%S], delta type [%d]", deltaPath, serverPath, deltaType);
        if (m_apiVersion < AsyncDeltasSince || attributes == nullptr || !attributes->HasTimes()) {
            return ERROR_INVALID_PARAMETER;
        }
        std::string path;
        DWORD error = EncodePath(serverPath, path);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        std::string query;
        AddParameter(query, "revision", attributes->GetRevision());  // an empty one too
        if (deltaType == OverwriteOrAppendDelta) {
            AddParameter(query, "optimise_overwrite_append", "true");
        }
        const WideString url = FormatWide(QM_W("%s/asdelta/folders%S%S"), GetApiPath(session), path, query);
        log.Information("Mod time: [%S] Revision: [%s]", attributes->GetLastWriteTime().ToText(),
                        attributes->GetRevision());

        Connection connection;
        Request request;
        // With the normal time-outs, unlike a delta that the client waits for.
        error = CreateRequest(session, url, QM_W("POST"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Async start canceled");
            return ERROR_CANCELLED;
        }
        UploadBody body(log, *request, {deltaPath, serverPath, cancelEvent, progress, 0});
        error = body.Measure();
        if (error == ERROR_SUCCESS) {
            error = request->AddMultipartHeaders(true);
        }
        if (error != ERROR_SUCCESS) {
            return error;
        }
        request->AddMultipartFormField("size", attributes->GetSizeText());
        ResponseBuffer reply;
        error = Exchange(body, *request, cancelEvent, reply);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        if (IsSet(cancelEvent)) {
            return ERROR_CANCELLED;
        }

        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus != HttpStatusOk) {
            log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
            return ErrorFromStatusWithRetry(session, httpStatus, sentToken, reply).error;
        }
        if (reply.size() == 0) {
            return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
        }
        TakeJob(log, reply, deltaPath, job);
        return ERROR_SUCCESS;
    });
}

}  // namespace quillmark
