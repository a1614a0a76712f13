// One chunk of a resumable upload.
//
// The caller drives the sequence; what the server holds between two calls, it holds under the upload's identifier:
//
//   first chunk ("qm_start") -> chunks at increasing offsets -> the chunk that reaches the end of the file
//   ("qm_finish"), whose reply carries the stored item's record
//
// A chunk that does not follow on what the server holds (21202) leaves the upload as it is there; the caller's offset
// is then corrected to it. All that the server is told of a chunk is in the head of its request; the body is the file
// part alone.
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "client/transfer/ChunkHeaders.h"
#include "client/transfer/UploadBody.h"
#include "client/transfer/UploadReply.h"
#include "common/GuidText.h"

namespace quillmark {
namespace {

// The body has no fields before its file part.
DWORD ExchangeChunk(const Logger& log, IWinHttpRequest& request, UploadBody& body, ResponseBuffer& reply) {
    DWORD error = body.Measure();
    if (error == ERROR_SUCCESS) {
        error = LogFailure(log, "AddMultipartHeaders failed, error code: %u", request.AddMultipartHeaders(true));
    }
    if (error == ERROR_SUCCESS) {
        error = body.Start(body.LengthWithoutFields());
    }
    if (error == ERROR_SUCCESS) {
        error = body.SendFile();
    }
    if (error == ERROR_SUCCESS) {
        error = SendClosingLine(log, request);
    }
    if (error == ERROR_SUCCESS) {
        error = body.Receive(reply);
    }
    return error;
}

// A chunk ends with its file.
void ClipToFile(const Logger& log, std::int64_t offset, std::int64_t size, std::int64_t& length) {
    if (length > size - offset) {
        log.Information("Past end of file: %lld + %lld > %lld", offset, length, size);
        length = size - offset;
        log.Information("New length: %lld", length);
    }
}

}  // namespace

DWORD CNativeHttp::ResumableUpload(const WideString& localPath, const WideString& serverPath,
                                   const Attributes& attributes, const GUID& uploadId, std::int64_t& offset,
                                   std::int64_t& length, bool firstChunk, HANDLE cancelEvent, const Progress& progress,
                                   std::uint64_t progressContext) {
    return RunOperation("CNativeHttp::ResumableUpload", [&](const Logger& log) -> DWORD {
        // A chunk has a place in a file of known size.
        if (attributes == nullptr || !attributes->HasSize() || offset < 0 || length < 0 ||
            offset > attributes->GetSize()) {
            return ERROR_INVALID_PARAMETER;
        }
        log.Information("Uploading %lld-byte chunk of [%S] from %lld with GUID [%S]", length, localPath, offset,
                        GuidText(uploadId));
        const std::int64_t size = attributes->GetSize();
        ClipToFile(log, offset, size, length);
        const Chunk chunk{offset, length, firstChunk, offset + length == size};

        const Session session = GetSession();
        const WideString sentToken = TokenOf(session);
        Connection connection;
        Request request;
        DWORD error = CreateUploadRequest(session, serverPath, uploadId, QM_W("POST"), request, connection);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Upload canceled");
            return ERROR_CANCELLED;
        }
        error = AddChunkHeaders(log, *request, *attributes, chunk);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const FileRange range{static_cast<std::uint64_t>(offset), static_cast<std::uint64_t>(length)};
        UploadBody body(log, *request, {localPath, serverPath, cancelEvent, progress, progressContext, range});
        ResponseBuffer reply;
        error = ExchangeChunk(log, *request, body, reply);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        if (IsSet(cancelEvent)) {
            return ERROR_CANCELLED;
        }

        const DWORD httpStatus = request->GetHTTPStatus();
        if (httpStatus == HttpStatusOk) {
            log.Information("Chunk uploaded successfully: %S", localPath);
            return chunk.isLast ? TakeStoredItem(log, reply, *attributes) : ERROR_SUCCESS;
        }
        log.Error("GetHTTPStatus shows failure, code: %u", httpStatus);
        if (reply.size() == 0) {
            return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
        }
        const StatusPair refusal = ErrorFromStatusWithRetry(session, httpStatus, sentToken, reply);
        request->Close();  // lets the next request have its connection
        return JudgeRefusedChunk(log, serverPath, uploadId, refusal, reply, *attributes, offset, cancelEvent);
    });
}

DWORD CNativeHttp::JudgeRefusedChunk(const Logger& log, const WideString& serverPath, const GUID& uploadId,
                                     StatusPair refusal, const ResponseBuffer& reply, IServerAttributes& attributes,
                                     std::int64_t& offset, HANDLE cancelEvent) {
    if (refusal.error == SERVER_ERROR_CHUNK_OUT_OF_STEP) {
        // The code stays what it is; the caller goes on from the server's offset when that can be had.
        std::int64_t received = 0;
        bool locked = false;
        if (GetResumableUploadMetadata(serverPath, uploadId, received, locked, cancelEvent) == ERROR_SUCCESS) {
            offset = received;
        }
    } else if (refusal.error == SERVER_ERROR_REVISION_MISMATCH && !TakeRefusedItem(log, reply, attributes)) {
        refusal.error = ERROR_INVALID_DATA;
    }
    log.Error("GetErrorCode shows status %u severity: %u", refusal.error, refusal.severity);
    return refusal.error;
}

}  // namespace quillmark
