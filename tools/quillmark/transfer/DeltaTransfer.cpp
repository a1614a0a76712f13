#include "transfer/DeltaTransfer.h"

#include <algorithm>
#include <optional>

#include "Deltas.h"
#include "LocalFile.h"
#include "LocalFiles.h"
#include "Output.h"
#include "Paths.h"
#include "Texts.h"
#include "transfer/PartFile.h"

namespace quillmark::cli {
namespace {

using Attributes = std::shared_ptr<IServerAttributes>;

constexpr DWORD PlainDelta = 0;
constexpr DWORD OverwriteOrAppendDelta = 1;

constexpr DWORD JobMissing = SERVER_ERROR_BASE + 1002;

// The states of a job.
constexpr DWORD JobWaitsForCommit = 1;
constexpr DWORD JobInProgress = 2;
constexpr DWORD JobFailed = 3;
constexpr DWORD JobUnknown = 4;

Attributes RequireItem(Calls& calls, const WideString& server) {
    Attributes item;
    Require(calls.Run([&] { return calls.Api().GetPathAttributes(server, item, calls.CancelEvent()).error; }),
            "cannot look at " + Printable(server));
    if (IsFolder(*item)) {
        throw Failure(Printable(server) + " is a folder; a delta is made of one file", ExitCode::Conflict);
    }
    return item;
}

// The revision that the delta applies to.
std::string BaseRevision(Calls& calls, const DeltaPut& put) {
    if (!put.revision.empty()) {
        return put.revision;
    }
    std::int64_t size = 0;
    Require(FileSize(put.old, size), "cannot read '" + Printable(put.old) + "'");
    const Attributes item = RequireItem(calls, put.server);
    if (!item->HasSize() || item->GetSize() != size) {
        throw Failure("'" + Printable(put.old) + "' is not what the server has: it has " + std::to_string(size) +
                          " bytes, " + Printable(put.server) + " has " + item->GetSizeText(),
                      ExitCode::Conflict);
    }
    return item->GetRevision();
}

// The record of the new contents, as the delta's upload sends it.
Attributes NewAttributes(const WideString& local, const std::string& revision) {
    Attributes attributes;
    Require(LocalAttributes(local, attributes), "cannot read '" + Printable(local) + "'");
    attributes->SetRevision(revision);
    return attributes;
}

DWORD MakeDelta(const Calls& calls, const DeltaPut& put, const IServerAttributes& attributes,
                const WideString& deltaFile, DeltaSizes& sizes) {
    sizes.file = attributes.GetSize();
    const DWORD error = WriteDelta(put.old, put.local, deltaFile, calls.CancelEvent());
    return error == ERROR_SUCCESS ? FileSize(deltaFile, sizes.delta) : error;
}

// Makes the delta and says what it saves.
void RequireDelta(const Calls& calls, const DeltaPut& put, const IServerAttributes& attributes,
                  const WideString& deltaFile) {
    DeltaSizes sizes;
    Require(MakeDelta(calls, put, attributes, deltaFile, sizes),
            "cannot make the delta from '" + Printable(put.old) + "' to '" + Printable(put.local) + "'");
    PrintError(DeltaLine(sizes));
}

// A delta that the server refused because the item had changed comes back as a success with that item's record.
bool IsStored(const IServerAttributes& reply, const IServerAttributes& sent) {
    return reply.GetSize() == sent.GetSize() && reply.GetLastWriteTime().ToText() == sent.GetLastWriteTime().ToText();
}

// Waits for the end of the job's work, with growing pauses.
void AwaitJob(Calls& calls, const GUID& job) {
    constexpr DWORD LongestPause = 5000;
    AsyncDeltaJobList jobs = {{job, 0}};
    for (DWORD pause = 50;; pause = std::min(2 * pause, LongestPause)) {
        Require(calls.Run([&] { return calls.Api().AsyncDeltaStatus(jobs, calls.CancelEvent()); }),
                "cannot ask for the job's state");
        if (jobs[0].state == JobWaitsForCommit) {
            return;
        }
        if (jobs[0].state == JobFailed) {
            throw Failure("the server could not apply the delta (job " + GuidText(job) + ")", ExitCode::Conflict);
        }
        if (jobs[0].state != JobInProgress) {
            throw Failure("the server does not know the job " + GuidText(job), ExitCode::NotFound);
        }
        if (!calls.Pause(std::chrono::milliseconds(pause))) {
            throw Failure("cancelled; the job " + GuidText(job) + " goes on", ExitCode::Cancelled);
        }
    }
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
        return calls.Api().UploadDelta(deltaFile, put.server, stored,
                                       put.optimise ? OverwriteOrAppendDelta : PlainDelta, calls.CancelEvent(),
                                       progress);
    });
    // Sent twice because the first answer was lost, it meets its own result, which is what was sent.
    return error == ERROR_SUCCESS && !IsStored(*stored, *attributes) ? SERVER_ERROR_REVISION_MISMATCH : error;
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
    Attributes attributes;
    if (const DWORD error = LocalAttributes(put.local, attributes); error != ERROR_SUCCESS) {
        return error;
    }
    attributes->SetRevision(put.revision);
    const TemporaryFile deltaFile;
    const DWORD error = MakeDelta(calls, put, *attributes, deltaFile.Path(), sizes);
    return error == ERROR_SUCCESS ? UploadDeltaFile(calls, put, deltaFile.Path(), attributes, stored, progress) : error;
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

ExitCode PutDelta(Calls& calls, const DeltaPut& put) {
    const Attributes attributes = NewAttributes(put.local, BaseRevision(calls, put));
    const TemporaryFile deltaFile;
    RequireDelta(calls, put, *attributes, deltaFile.Path());
    Attributes stored;
    Require(UploadDeltaFile(calls, put, deltaFile.Path(), attributes, stored, nullptr),
            "cannot send the delta to " + Printable(put.server));
    if (!put.quiet) {
        Print(Printable(put.server));
    }
    return ExitCode::Success;
}

ExitCode PutAsyncDelta(Calls& calls, const DeltaPut& put, bool commit) {
    const Attributes attributes = NewAttributes(put.local, BaseRevision(calls, put));
    const TemporaryFile deltaFile;
    RequireDelta(calls, put, *attributes, deltaFile.Path());
    GUID job = {};
    // A job whose answer was lost is never committed and is forgotten by the server in time.
    Require(calls.Run([&] {
        return calls.Api().AsyncDeltaStart(deltaFile.Path(), put.server, attributes, job,
                                           put.optimise ? OverwriteOrAppendDelta : PlainDelta, nullptr,
                                           calls.CancelEvent());
    }),
            "cannot send the delta to " + Printable(put.server));
    if (job == GUID{}) {
        throw Failure("the server named no job", ERROR_INVALID_DATA);
    }
    if (!commit) {
        Print(GuidText(job));
        return ExitCode::Success;
    }
    AwaitJob(calls, job);
    Require(calls.RunOnce(
                [&] {
                    return calls.Api().AsyncDeltaCommit(
                        job, attributes, static_cast<std::uint64_t>(attributes->GetSize()), calls.CancelEvent());
                },
                [&] { return SettleCommit(calls, put.server, *attributes); }),
            "cannot commit the job " + GuidText(job));
    if (!put.quiet) {
        Print(Printable(put.server));
    }
    return ExitCode::Success;
}

void CommitJob(Calls& calls, const GUID& job, const WideString& local, const std::string& revision) {
    const std::string what = "cannot commit the job " + GuidText(job);
    const Attributes attributes = NewAttributes(local, revision);
    Require(FindJob(calls, job), what);
    Require(calls.RunOnce(
                [&] {
                    return calls.Api().AsyncDeltaCommit(
                        job, attributes, static_cast<std::uint64_t>(attributes->GetSize()), calls.CancelEvent());
                },
                [&] { return SettleCommit(calls, job); }),
            what);
}

ExitCode GetDelta(Calls& calls, const WideString& server, const WideString& local, const WideString& base, bool quiet) {
    const Attributes item = RequireItem(calls, server);
    const TemporaryFile whole(TemporaryName(local));
    DeltaSizes sizes;
    const DWORD error = FetchDelta(calls, server, item, base, whole.Path(), sizes);
    Require(error, error == ERROR_INVALID_DATA
                       ? "cannot apply the delta of " + Printable(server)
                       : "cannot get the delta of " + Printable(server) + " against '" + Printable(base) + "'");
    PrintError(DeltaLine(sizes));
    if (MoveFileExW(whole.Path().c_str(), local.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) {
        throw Failure("cannot write '" + Printable(local) + "'", GetLastError());
    }
    if (!quiet) {
        Print(Printable(local));
    }
    return ExitCode::Success;
}

}  // namespace quillmark::cli
