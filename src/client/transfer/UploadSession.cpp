// What is asked of a resumable upload beside its chunks: how far it is, to give it up, to finish it under another path.
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "client/transfer/UploadBody.h"
#include "client/transfer/UploadReply.h"
#include "common/GuidText.h"
#include "common/WellFormed.h"
#include "model/UploadMetadata.h"

namespace quillmark {
namespace {

// The body is the closing line alone; what is to be done is in the head.
DWORD ExchangeCompletion(const Logger& log, IWinHttpRequest& request, const WideString& newPath,
                         ResponseBuffer& reply) {
    DWORD error = request.AddHeader(QM_W("qm_finish"), QM_W("true"));
    if (error == ERROR_SUCCESS) {
        // As it is: the server takes a header's text for the path itself.
        error = request.AddHeader(QM_W("qm_new_path"), newPath);
    }
    if (error == ERROR_SUCCESS) {
        error = LogFailure(log, "AddMultipartHeaders failed, error code: %u", request.AddMultipartHeaders(true));
    }
    if (error == ERROR_SUCCESS) {
        error = LogFailure(log, "StartRequest failed, error code: %u",
                           request.StartRequest(request.GetMultipartEndLength()));
    }
    if (error == ERROR_SUCCESS) {
        error = SendClosingLine(log, request);
    }
    if (error == ERROR_SUCCESS) {
        error = LogFailure(log, "ReceiveResponse failed, error code: %u", request.ReceiveResponse(reply));
    }
    return error;
}

}  // namespace

DWORD CNativeHttp::CreateUploadRequest(const Session& session, const WideString& serverPath, const GUID& uploadId,
                                       const WideString& verb, Request& request, Connection& connection) {
    std::string path;
    if (const DWORD error = EncodePath(serverPath, path); error != ERROR_SUCCESS) {
        return error;
    }
    const WideString url = FormatWide(QM_W("%s/resume/upload%S%s%S=%s"), GetApiPath(session), path, QM_W("?"),
                                      "resume_id", GuidText(uploadId));
    return CreateRequest(session, url, verb, request, connection, {});
}

DWORD CNativeHttp::CancelUpload(const WideString& serverPath, const GUID& uploadId, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::CancelUpload", [&](const Logger& log) -> DWORD {
        log.Information("Cancelling upload to [%S], guid:%S", serverPath, GuidText(uploadId));
        const Session session = GetSession();
        Connection connection;
        Request request;
        DWORD error = CreateUploadRequest(session, serverPath, uploadId, QM_W("DELETE"), request, connection);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        error = GetResponse(*request, reply, false).error;
        if (error == ERROR_SUCCESS) {
            log.Information("Successfully canceled upload to [%S]", serverPath);
        }
        return error;
    });
}

DWORD CNativeHttp::CompleteUpload(const WideString& serverPath, const WideString& newPath, const GUID& uploadId,
                                  const Attributes& attributes, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::CompleteUpload", [&](const Logger& log) -> DWORD {
        if (attributes == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        log.Information("Completing upload of [%S] to [%S] with GUID [%S]", serverPath, newPath, GuidText(uploadId));
        if (!IsWellFormed(newPath)) {
            return ERROR_NO_UNICODE_TRANSLATION;
        }
        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        Connection connection;
        Request request;
        DWORD error = CreateUploadRequest(session, serverPath, uploadId, QM_W("POST"), request, connection);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        error = ExchangeCompletion(log, *request, newPath, reply);
        if (error != ERROR_SUCCESS) {
            return error;
        }

        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus != HttpStatusOk) {
            log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
            return ErrorFromStatusWithRetry(session, httpStatus, sentToken, reply).error;
        }
        if (reply.size() == 0) {
            return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
        }
        log.Information("Chunk completed successfully");
        return TakeStoredItem(log, reply, *attributes);
    });
}

DWORD CNativeHttp::GetResumableUploadMetadata(const WideString& serverPath, const GUID& uploadId, std::int64_t& offset,
                                              bool& locked, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::GetResumableUploadMetadata", [&](const Logger& log) -> DWORD {
        log.Information("Metadata request for [%S] Guid:[%S]", serverPath, GuidText(uploadId));
        const Session session = GetSession();
        Connection connection;
        Request request;
        DWORD error = CreateUploadRequest(session, serverPath, uploadId, QM_W("GET"), request, connection);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        ResponseBuffer reply;
        error = GetResponse(*request, reply, true).error;
        if (error != ERROR_SUCCESS) {
            return error;
        }
        return GetMetaDataFromResponse(reply, offset, locked) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
    });
}

}  // namespace quillmark
