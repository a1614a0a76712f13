// The upload of a delta that the server applies to its copy while the client waits. It goes the road of the plain
// upload with its own time-outs; what else differs is marked where it does.
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "client/transfer/DeltaTypes.h"
#include "client/transfer/UploadBody.h"
#include "client/transfer/UploadReply.h"
#include "common/EngKey.h"

namespace quillmark {
namespace {

// Read once per process.
DWORD DeltaSendTimeout() {
    static const DWORD value = ReadSetting(QM_W("HTTPDeltaSendRequestTimeout"), 300000);
    return value;
}

DWORD DeltaReceiveTimeout() {
    static const DWORD value = ReadSetting(QM_W("HTTPDeltaReceiveResponseTimeout"), 600000);
    return value;
}

// No "operation" here, and the modification time before the creation time: the server knows the form so.
void AddFields(const Logger& log, IWinHttpRequest& request, const IServerAttributes& attributes) {
    request.AddMultipartFormField(QM_W("modification_time"), attributes.GetLastWriteTime().ToText());
    request.AddMultipartFormField(QM_W("creation_time"), attributes.GetCreationTime().ToText());
    request.AddMultipartFormField("attributes", attributes.GetFileAttributesText());
    request.AddMultipartFormField("size", attributes.GetSizeText());
    AddRevisionField(log, request, attributes.GetRevision());
}

DWORD Exchange(UploadBody& body, IWinHttpRequest& request, ResponseBuffer& reply) {
    // These two are not checked, which is meant: what goes wrong in them shows in the next step.
    static_cast<void>(request.StartRequest(body.TotalLength()));
    static_cast<void>(request.SendPostData());
    DWORD error = body.SendFile();
    if (error == ERROR_SUCCESS) {
        error = body.SendEnd();
    }
    if (error == ERROR_SUCCESS) {
        error = body.Receive(reply);
    }
    return error;
}

}  // namespace

DWORD CNativeHttp::UploadDelta(const WideString& deltaPath, const WideString& serverPath, const Attributes& attributes,
                               DWORD deltaType, HANDLE cancelEvent, const Progress& progress) {
    return RunOperation("CNativeHttp::UploadDelta", [&](const Logger& log) -> DWORD {
        if (attributes == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        log.Information("Delta upload from [%S] to [%S], delta type [%d]", deltaPath, serverPath, deltaType);
        const Timeouts timeouts{0, 0, DeltaSendTimeout(), DeltaReceiveTimeout()};
        std::string path;
        DWORD error = EncodePath(serverPath, path);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        if (deltaType == OverwriteOrAppendDelta && m_apiVersion < OverwriteOrAppendSince) {
            return ERROR_INVALID_PARAMETER;
        }
        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        const WideString url = deltaType == OverwriteOrAppendDelta
                                   ? FormatWide(QM_W("%s/delta%S%S%S=%S"), GetApiPath(session), path, "?",
                                                "optimise_overwrite_append", "true")
                                   : FormatWide(QM_W("%s/delta%S"), GetApiPath(session), path);
        log.Information("Mod time: %S", attributes->GetLastWriteTime().ToText());

        Connection connection;
        Request request;
        error = CreateRequest(session, url, QM_W("POST"), request, connection, timeouts);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Upload canceled");
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
        AddFields(log, *request, *attributes);
        ResponseBuffer reply;
        error = Exchange(body, *request, reply);
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
            log.Information("File uploaded successfully: %S", deltaPath);
            return TakeStoredRevision(log, reply, *attributes);
        }
        log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
        error = ErrorFromStatusWithRetry(session, httpStatus, sentToken, reply).error;
        if (error == SERVER_ERROR_REVISION_MISMATCH && reply.size() != 0) {
            // Not the mismatch's code, which is meant: with the server's record in hand the caller starts over.
            return TakeRefusedItem(log, reply, *attributes) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
        }
        return error;
    });
}

}  // namespace quillmark
