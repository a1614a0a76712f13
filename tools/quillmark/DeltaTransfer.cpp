#include "DeltaTransfer.h"

#include <algorithm>

#include "Deltas.h"
#include "LocalFile.h"
#include "LocalFiles.h"
#include "Output.h"
#include "Paths.h"
#include "Texts.h"
#include "Transfer.h"

namespace quillmark::cli {
namespace {

using Attributes = std::shared_ptr<IServerAttributes>;

constexpr DWORD PlainDelta = 0;
constexpr DWORD OverwriteOrAppendDelta = 1;

// The states of a job.
constexpr DWORD JobWaitsForCommit = 1;
constexpr DWORD JobInProgress = 2;
constexpr DWORD JobFailed = 3;

Attributes RequireItem(Client& client, const WideString& server) {
    Attributes item;
    Require(client.Api().GetPathAttributes(server, item, client.CancelEvent()), "cannot look at " + Printable(server));
    if (IsFolder(*item)) {
        throw Failure(Printable(server) + " is a folder; a delta is made of one file", ExitCode::Conflict);
    }
    return item;
}

// The revision that the delta applies to.
std::string BaseRevision(Client& client, const DeltaPut& put) {
    if (!put.revision.empty()) {
        return put.revision;
    }
    std::int64_t size = 0;
    Require(FileSize(put.old, size), "cannot read '" + Printable(put.old) + "'");
    const Attributes item = RequireItem(client, put.server);
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

// Makes the delta and says what it saves.
void MakeDelta(const Client& client, const DeltaPut& put, const IServerAttributes& attributes,
               const WideString& deltaFile) {
    Require(WriteDelta(put.old, put.local, deltaFile, client.CancelEvent()),
            "cannot make the delta from '" + Printable(put.old) + "' to '" + Printable(put.local) + "'");
    std::int64_t size = 0;
    Require(FileSize(deltaFile, size), "cannot read the delta");
    PrintError("delta: " + std::to_string(size) + " bytes for a file of " + attributes.GetSizeText() + " bytes");
}

// A delta that the server refused because the item had changed comes back as a success with that item's record.
bool IsStored(const IServerAttributes& reply, const IServerAttributes& sent) {
    return reply.GetSize() == sent.GetSize() && reply.GetLastWriteTime().ToText() == sent.GetLastWriteTime().ToText();
}

// Waits for the end of the job's work, with growing pauses.
void AwaitJob(Client& client, const GUID& job) {
    constexpr DWORD LongestPause = 5000;
    AsyncDeltaJobList jobs = {{job, 0}};
    for (DWORD pause = 50;; pause = std::min(2 * pause, LongestPause)) {
        Require(client.Api().AsyncDeltaStatus(jobs, client.CancelEvent()), "cannot ask for the job's state");
        if (jobs[0].state == JobWaitsForCommit) {
            return;
        }
        if (jobs[0].state == JobFailed) {
            throw Failure("the server could not apply the delta (job " + GuidText(job) + ")", ExitCode::Conflict);
        }
        if (jobs[0].state != JobInProgress) {
            throw Failure("the server does not know the job " + GuidText(job), ExitCode::NotFound);
        }
        if (WaitForSingleObject(client.CancelEvent(), pause) == WAIT_OBJECT_0) {
            throw Failure("cancelled; the job " + GuidText(job) + " goes on", ExitCode::Cancelled);
        }
    }
}

// Puts together what the delta makes out of base; an answer that is no delta fails here.
void WriteContents(const Client& client, const WideString& base, const WideString& deltaFile, const WideString& partial,
                   const IServerAttributes& item) {
    Require(ApplyDelta(base, deltaFile, partial, client.CancelEvent()), "cannot apply the delta");
    std::int64_t size = 0;
    Require(FileSize(partial, size), "cannot read what the delta made");
    if (size != item.GetSize()) {
        throw Failure("the delta made " + std::to_string(size) + " bytes of a file that has " + item.GetSizeText(),
                      ExitCode::InvalidReply);
    }
    Require(ApplyTimes(partial, item), "cannot set the times");
}

}  // namespace

ExitCode PutDelta(Client& client, const DeltaPut& put) {
    const Attributes attributes = NewAttributes(put.local, BaseRevision(client, put));
    const TemporaryFile deltaFile;
    MakeDelta(client, put, *attributes, deltaFile.Path());
    const Attributes reply = attributes->Clone();
    Require(client.Api().UploadDelta(deltaFile.Path(), put.server, reply,
                                     put.optimise ? OverwriteOrAppendDelta : PlainDelta, client.CancelEvent(), nullptr),
            "cannot send the delta to " + Printable(put.server));
    if (!IsStored(*reply, *attributes)) {
        throw Failure("cannot send the delta to " + Printable(put.server), SERVER_ERROR_REVISION_MISMATCH);
    }
    if (!put.quiet) {
        Print(Printable(put.server));
    }
    return ExitCode::Success;
}

ExitCode PutAsyncDelta(Client& client, const DeltaPut& put, bool commit) {
    const Attributes attributes = NewAttributes(put.local, BaseRevision(client, put));
    const TemporaryFile deltaFile;
    MakeDelta(client, put, *attributes, deltaFile.Path());
    GUID job = {};
    Require(
        client.Api().AsyncDeltaStart(deltaFile.Path(), put.server, attributes, job,
                                     put.optimise ? OverwriteOrAppendDelta : PlainDelta, nullptr, client.CancelEvent()),
        "cannot send the delta to " + Printable(put.server));
    if (job == GUID{}) {
        throw Failure("the server named no job", ERROR_INVALID_DATA);
    }
    if (!commit) {
        Print(GuidText(job));
        return ExitCode::Success;
    }
    AwaitJob(client, job);
    Require(client.Api().AsyncDeltaCommit(job, attributes, static_cast<std::uint64_t>(attributes->GetSize()),
                                          client.CancelEvent()),
            "cannot commit the job " + GuidText(job));
    if (!put.quiet) {
        Print(Printable(put.server));
    }
    return ExitCode::Success;
}

void CommitJob(Client& client, const GUID& job, const WideString& local, const std::string& revision) {
    const Attributes attributes = NewAttributes(local, revision);
    Require(client.Api().AsyncDeltaCommit(job, attributes, static_cast<std::uint64_t>(attributes->GetSize()),
                                          client.CancelEvent()),
            "cannot commit the job " + GuidText(job));
}

ExitCode GetDelta(Client& client, const WideString& server, const WideString& local, const WideString& base,
                  bool quiet) {
    const TemporaryFile signatureFile;
    const TemporaryFile deltaFile;
    const Attributes item = RequireItem(client, server);
    Require(WriteSignature(base, signatureFile.Path(), client.CancelEvent()),
            "cannot make the signature of '" + Printable(base) + "'");
    const Attributes received = MakeAttributes();
    Require(client.Api().DownloadFile(server, deltaFile.Path(), item, received, signatureFile.Path(),
                                      client.CancelEvent(), nullptr, 0),
            "cannot get the delta of " + Printable(server));
    std::int64_t deltaSize = 0;
    Require(FileSize(deltaFile.Path(), deltaSize), "cannot read the delta");
    PrintError("delta: " + std::to_string(deltaSize) + " bytes for a file of " + item->GetSizeText() + " bytes");

    const TemporaryFile partial(PartialName(local));
    WriteContents(client, base, deltaFile.Path(), partial.Path(), *item);
    if (MoveFileExW(partial.Path().c_str(), local.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) {
        throw Failure("cannot write '" + Printable(local) + "'", GetLastError());
    }
    if (!quiet) {
        Print(Printable(local));
    }
    return ExitCode::Success;
}

}  // namespace quillmark::cli
