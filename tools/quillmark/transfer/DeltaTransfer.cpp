#include "transfer/DeltaTransfer.h"

#include <algorithm>
#include <optional>

#include "Deltas.h"
#include "LocalFile.h"
#include "LocalFiles.h"
#include "transfer/Stored.h"

namespace quillmark::cli {
namespace {

using Attributes = std::shared_ptr<IServerAttributes>;

constexpr DWORD PlainDelta = 0;
constexpr DWORD OverwriteOrAppendDelta = 1;

// The states of a job.
constexpr DWORD JobWaitsForCommit = 1;
constexpr DWORD JobInProgress = 2;
constexpr DWORD JobFailed = 3;
constexpr DWORD JobUnknown = 4;

constexpr DWORD JobMissing = SERVER_ERROR_BASE + 1002;

// The record of the new contents, as the delta's upload sends it.
DWORD NewAttributes(const WideString& local, const std::string& revision, Attributes& attributes) {
    const DWORD error = LocalAttributes(local, attributes);
    if (error == ERROR_SUCCESS) {
        attributes->SetRevision(revision);
    }
    return error;
}

DWORD MakeDelta(const Calls& calls, const DeltaPut& put, const IServerAttributes& attributes,
                const WideString& deltaFile, DeltaSizes& sizes) {
    sizes.file = attributes.GetSize();
    const DWORD error = WriteDelta(put.old, put.local, deltaFile, calls.CancelEvent());
    return error == ERROR_SUCCESS ? FileSize(deltaFile, sizes.delta) : error;
}

// Makes the delta and hands it over, with the record of the new contents.
template <typename Sender>
DWORD HandOver(const Calls& calls, const DeltaPut& put, DeltaSizes& sizes, const Sender& send) {
    Attributes attributes;
    const TemporaryFile deltaFile;
    DWORD error = NewAttributes(put.local, put.revision, attributes);
    if (error == ERROR_SUCCESS) {
        error = MakeDelta(calls, put, *attributes, deltaFile.Path(), sizes);
    }
    return error == ERROR_SUCCESS ? send(deltaFile.Path(), attributes) : error;
}

DWORD DeltaType(const DeltaPut& put) {
    return put.optimise ? OverwriteOrAppendDelta : PlainDelta;
}

// Puts together what the delta makes out of base; an answer that is no delta fails here.
DWORD WriteContents(const Calls& calls, const WideString& base, const WideString& deltaFile, const WideString& target,
                    const IServerAttributes& item) {
    DWORD error = ApplyDelta(base, deltaFile, target, calls.CancelEvent());
    std::int64_t size = 0;
    if (error == ERROR_SUCCESS) {
        error = FileSize(target, size);
    }
    if (error == ERROR_SUCCESS && size != item.GetSize()) {
        error = ERROR_INVALID_DATA;
    }
    return error == ERROR_SUCCESS ? ApplyTimes(target, item) : error;
}

DWORD UploadDeltaFile(Calls& calls, const DeltaPut& put, const WideString& deltaFile, const Attributes& attributes,
                      Attributes& stored, const std::shared_ptr<IProgressSink>& progress) {
    const DWORD error = calls.Run([&] {
        stored = attributes->Clone();
        return calls.Api().UploadDelta(deltaFile, put.server, stored, DeltaType(put), calls.CancelEvent(), progress);
    });
    // A delta that the server refused because the item had changed comes back as a success with that item's record.
    // Sent twice because the first answer was lost, it meets its own result, which is what was sent.
    return error == ERROR_SUCCESS && !IsStored(*stored, *attributes) ? SERVER_ERROR_REVISION_MISMATCH : error;
}

DWORD Commit(const Calls& calls, const GUID& job, const Attributes& attributes) {
    return calls.Api().AsyncDeltaCommit(job, attributes, static_cast<std::uint64_t>(attributes->GetSize()),
                                        calls.CancelEvent());
}

// Whether the item is what the job was to make of it.
std::optional<DWORD> SettleCommit(Calls& calls, const WideString& server, const IServerAttributes& sent) {
    Attributes item;
    const DWORD error =
        calls.Run([&] { return calls.Api().GetPathAttributes(server, item, calls.CancelEvent()).error; });
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const bool replaced = item->GetRevision() != sent.GetRevision();
    return replaced && IsStored(*item, sent) ? std::optional<DWORD>(ERROR_SUCCESS) : std::nullopt;
}

DWORD FindJob(Calls& calls, const GUID& job) {
    AsyncDeltaJobList jobs = {{job, 0}};
    const DWORD error = calls.Run([&] { return calls.Api().AsyncDeltaStatus(jobs, calls.CancelEvent()); });
    return error == ERROR_SUCCESS && jobs.front().state == JobUnknown ? JobMissing : error;
}

// The item is not known here; but a job that was there ends with its commit.
std::optional<DWORD> SettleCommit(Calls& calls, const GUID& job) {
    const DWORD error = FindJob(calls, job);
    if (error == ERROR_SUCCESS) {
        return std::nullopt;
    }
    return error == JobMissing ? ERROR_SUCCESS : error;
}

}  // namespace

std::string DeltaLine(const DeltaSizes& sizes) {
    return "delta: " + std::to_string(sizes.delta) + " bytes for a file of " + std::to_string(sizes.file) + " bytes";
}

DWORD SendDelta(Calls& calls, const DeltaPut& put, std::shared_ptr<IServerAttributes>& stored, DeltaSizes& sizes,
                const std::shared_ptr<IProgressSink>& progress) {
    return HandOver(calls, put, sizes, [&](const WideString& deltaFile, const Attributes& attributes) {
        return UploadDeltaFile(calls, put, deltaFile, attributes, stored, progress);
    });
}

// A job whose answer was lost is never committed and is forgotten by the server in time.
DWORD StartDeltaJob(Calls& calls, const DeltaPut& put, GUID& job, DeltaSizes& sizes,
                    const std::shared_ptr<IProgressSink>& progress) {
    return HandOver(calls, put, sizes, [&](const WideString& deltaFile, const Attributes& attributes) {
        const DWORD error = calls.Run([&] {
            return calls.Api().AsyncDeltaStart(deltaFile, put.server, attributes, job, DeltaType(put), progress,
                                               calls.CancelEvent());
        });
        return error == ERROR_SUCCESS && job == GUID{} ? DWORD{ERROR_INVALID_DATA} : error;
    });
}

DWORD AwaitDeltaJob(Calls& calls, const GUID& job) {
    constexpr DWORD LongestPause = 5000;
    AsyncDeltaJobList jobs = {{job, 0}};
    for (DWORD pause = 50;; pause = std::min(2 * pause, LongestPause)) {
        const DWORD error = calls.Run([&] { return calls.Api().AsyncDeltaStatus(jobs, calls.CancelEvent()); });
        if (error != ERROR_SUCCESS || jobs[0].state == JobWaitsForCommit) {
            return error;
        }
        if (jobs[0].state != JobInProgress) {
            return jobs[0].state == JobFailed ? SERVER_ERROR_REVISION_MISMATCH : JobMissing;
        }
        if (!calls.Pause(std::chrono::milliseconds(pause))) {
            return ERROR_CANCELLED;
        }
    }
}

DWORD CommitDeltaJob(Calls& calls, const GUID& job, const DeltaPut& put, std::shared_ptr<IServerAttributes>& stored) {
    if (const DWORD error = NewAttributes(put.local, put.revision, stored); error != ERROR_SUCCESS) {
        return error;
    }
    return calls.RunOnce([&] { return Commit(calls, job, stored); },
                         [&] { return SettleCommit(calls, put.server, *stored); });
}

DWORD CommitDeltaJob(Calls& calls, const GUID& job, const WideString& local, const std::string& revision) {
    Attributes attributes;
    DWORD error = NewAttributes(local, revision, attributes);
    if (error == ERROR_SUCCESS) {
        error = FindJob(calls, job);
    }
    return error == ERROR_SUCCESS
               ? calls.RunOnce([&] { return Commit(calls, job, attributes); }, [&] { return SettleCommit(calls, job); })
               : error;
}

DWORD FetchDelta(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                 const WideString& base, const WideString& target, DeltaSizes& sizes,
                 const std::shared_ptr<IProgressSink>& progress) {
    const TemporaryFile signatureFile;
    const TemporaryFile deltaFile;
    sizes.file = item->GetSize();
    DWORD error = WriteSignature(base, signatureFile.Path(), calls.CancelEvent());
    if (error == ERROR_SUCCESS) {
        error = calls.Run([&] {
            return calls.Api().DownloadFile(server, deltaFile.Path(), item, MakeAttributes(), signatureFile.Path(),
                                            calls.CancelEvent(), progress, 0);
        });
    }
    if (error == ERROR_SUCCESS) {
        error = FileSize(deltaFile.Path(), sizes.delta);
    }
    return error == ERROR_SUCCESS ? WriteContents(calls, base, deltaFile.Path(), target, *item) : error;
}

}  // namespace quillmark::cli
