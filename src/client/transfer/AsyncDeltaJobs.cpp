// What is asked of asynchronous delta jobs after their start: their states, to commit one, to give one up. The library
// keeps nothing of them between the calls:
//
//   started -> in progress (2) ... -> waiting for its commit (1) -> committed
//                                  -> failed (3), not known to the server (4)
//   and given up at any time
#include "model/AsyncDeltaJobs.h"
#include "client/Boundary.h"
#include "client/NativeHttp.h"
#include "client/Steps.h"
#include "client/transfer/DeltaTypes.h"
#include "client/transfer/UploadReply.h"
#include "common/GuidText.h"

namespace quillmark {
namespace {

DWORD AppendCommitForm(IWinHttpRequest& request, const IServerAttributes& attributes, std::uint64_t expectedSize) {
    // An empty revision is sent too.
    DWORD error = request.AppendFormData("revision", WidenUtf8(attributes.GetRevision()), false);
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("creation_time", attributes.GetCreationTime().ToText(), false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("modification_time", attributes.GetLastWriteTime().ToText(), false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("attributes", attributes.GetFileAttributesTextW(), false);
    }
    if (error == ERROR_SUCCESS) {
        error = request.AppendFormData("expected_size", FormatWide(QM_W("%I64u"), expectedSize), true);
    }
    return error;
}

}  // namespace

DWORD CNativeHttp::CreateJobRequest(const Session& session, const GUID& job, const WideString& verb, Request& request,
                                    Connection& connection) {
    const WideString url = FormatWide(QM_W("%s/asdelta/%s"), GetApiPath(session), GuidText(job));
    return CreateRequest(session, url, verb, request, connection, {});
}

DWORD CNativeHttp::AsyncDeltaStatus(AsyncDeltaJobList& jobs, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::AsyncDeltaStatus", [&](const Logger& log) -> DWORD {
        if (m_apiVersion < AsyncDeltasSince) {
            return ERROR_INVALID_PARAMETER;
        }
        const Session session = GetSession();
        std::string query;
        for (const AsyncDeltaJob& job : jobs) {
            AddParameter(query, "jobId", NarrowUtf8(GuidText(job.id)));
        }
        const WideString url = FormatWide(QM_W("%s/asdelta/status%S"), GetApiPath(session), query);
        Connection connection;
        Request request;
        DWORD error = CreateRequest(session, url, QM_W("GET"), request, connection, {});
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Listing canceled");
            return ERROR_CANCELLED;
        }
        ResponseBuffer reply;
        error = GetResponse(*request, reply, true).error;
        return error == ERROR_SUCCESS ? ParseAsyncGuidsFromResponse(reply, jobs) : error;
    });
}

DWORD CNativeHttp::AsyncDeltaCommit(const GUID& job, const Attributes& attributes, std::uint64_t expectedSize,
                                    HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::AsyncDeltaCommit", [&](const Logger& log) -> DWORD {
        if (m_apiVersion < AsyncDeltasSince || attributes == nullptr || !attributes->HasTimes()) {
            return ERROR_INVALID_PARAMETER;
        }
        const Session session = GetSession();
        Connection connection;
        Request request;
        DWORD error = CreateJobRequest(session, job, QM_W("POST"), request, connection);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Listing canceled");
            return ERROR_CANCELLED;
        }
        error = AppendCommitForm(*request, *attributes, expectedSize);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        ResponseBuffer reply;
        error = GetResponse(*request, reply, true).error;
        if (error != ERROR_SUCCESS) {
            return error;
        }
        log.Information("File commit successful for: %S", GuidText(job));
        return TakeStoredRevision(log, reply, *attributes);
    });
}

DWORD CNativeHttp::AsyncDeltaCancel(const GUID& job, HANDLE cancelEvent) {
    return RunOperation("CNativeHttp::AsyncDeltaCancel", [&](const Logger& log) -> DWORD {
        if (m_apiVersion < AsyncDeltasSince || job == GUID{}) {
            return ERROR_INVALID_PARAMETER;
        }
        const Session session = GetSession();
        Connection connection;
        Request request;
        DWORD error = CreateJobRequest(session, job, QM_W("DELETE"), request, connection);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const RequestHandleTracker tracker(m_cancelTrigger, cancelEvent, request);
        if (IsSet(cancelEvent)) {
            log.Information("Listing canceled");
            return ERROR_CANCELLED;
        }
        ResponseBuffer reply;
        error = GetResponse(*request, reply, false).error;
        if (error == ERROR_SUCCESS) {
            log.Information("Async cancel successful for: %S", GuidText(job));
        }
        return error;
    });
}

}  // namespace quillmark
