#include "transfer/FileTransfer.h"

#include "LocalFile.h"
#include "LocalFiles.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"
#include "transfer/PartFile.h"
#include "transfer/RangeDownload.h"
#include "transfer/Stored.h"
#include "transfer/Trees.h"

namespace quillmark::cli {
namespace {

// How often an item may change while it is fetched.
constexpr int MostAttempts = 3;

// What a refused range says when the item has another revision; its body is not read.
constexpr DWORD ServerConflict = SERVER_ERROR_BASE + 409;
constexpr DWORD FolderInTheWay = SERVER_ERROR_BASE + 1004;
constexpr DWORD ServerNotFound = SERVER_ERROR_BASE + 404;

// The server could not make the file out of its own contents and the delta: another way may still succeed.
bool IsDeltaRefused(DWORD error) {
    switch (error) {
        case ERROR_INVALID_DATA:
        case SERVER_ERROR_BASE + 400:  // a download's refusal tells no more than this
        case ServerNotFound:
        case ServerConflict:
        case SERVER_ERROR_BASE + 1001:
        case SERVER_ERROR_BASE + 1002:
        case SERVER_ERROR_BASE + 1005:
        case SERVER_ERROR_BASE + 1020:
        case SERVER_ERROR_REVISION_MISMATCH:
            return true;
        default:
            return false;
    }
}

// The record of the item that a step names.
std::shared_ptr<IServerAttributes> ItemOf(const PlanStep& step) {
    const std::shared_ptr<IServerAttributes> item = MakeAttributes();
    item->SetRevision(step.revision);
    item->SetSize(step.size);
    item->SetCreationTime(step.created);
    item->SetLastWriteTime(step.modified);
    item->SetLastAccessTime(step.modified);
    item->SetChangeTime(step.modified);
    return item;
}

TransferResult DoneWith(const IServerAttributes& item) {
    TransferResult result;
    result.bytes = item.HasSize() ? item.GetSize() : 0;
    result.revision = item.GetRevision();
    return result;
}

// A file that is gone by now was sent as it was.
bool HasChanged(const WideString& local, const IServerAttributes& sent) {
    std::shared_ptr<IServerAttributes> present;
    return LocalAttributes(local, present) == ERROR_SUCCESS && IdentityOf(*present) != IdentityOf(sent);
}

// The bytes are there, and the item is as it was.
TransferResult InJob(const GUID& job, TransferResult result) {
    result.job = GuidText(job);
    if (result.outcome == Outcome::Failed) {
        result.nextStep = "The server keeps the job " + result.job + ": 'quillmark delta-jobs' commits or cancels it.";
    }
    return result;
}

}  // namespace

TransferResult FailedWith(DWORD error) {
    TransferResult result;
    result.outcome = Outcome::Failed;
    result.error = error;
    result.why = NamedReason(error);
    result.nextStep = NextStep(error);
    return result;
}

FileTransfer::FileTransfer(Calls& calls, const TransferOptions& options)
    : m_calls(calls), m_options(options), m_resumable(calls, options.resumable) {}

TransferResult FileTransfer::Run(const PlanStep& step, const TransferFile& file, const Progress& progress) {
    switch (file.method) {
        case Method::AsyncDelta:
            return PutInBackground(step, file, progress);
        case Method::Range:
            return GetRange(step, file, progress);
        default:
            return m_options.direction == Direction::Up ? Put(step, file, progress) : Get(step, file, progress);
    }
}

TransferResult FileTransfer::Put(const PlanStep& step, const TransferFile& file, const Progress& progress) {
    Attributes stored;
    const DWORD error = Send(step, file, stored, progress);
    if (error == ERROR_SUCCESS) {
        return DoneWith(*stored);
    }
    TransferResult result = FailedWith(error);
    Attributes present;
    if (error == FolderInTheWay && LookAgain(file, present) == ERROR_SUCCESS && IsFolder(*present)) {
        result.why = WithNumber("a folder stands there", error);
        result.nextStep = "To put it into that folder, write '" + Printable(file.server) + "/'.";
    }
    if (file.method == Method::Resumable && m_resumable.KeptConflict()) {
        result.nextStep = "The server has all of it: 'quillmark uploads complete " + Printable(file.server) +
                          " NEWPATH' stores it under another name.";
    }
    return result;
}

DWORD FileTransfer::Send(const PlanStep& step, const TransferFile& file, Attributes& stored, const Progress& progress) {
    if (file.method == Method::Resumable) {
        return SendResumably(file, stored, progress);
    }
    if (file.method == Method::Delta) {
        const DWORD error = SendDelta(step, file, stored, progress);
        if (m_options.onlyDelta || !IsDeltaRefused(error) || m_calls.Interrupted()) {
            return error;
        }
    }
    return SendWhole(file, stored, progress);
}

DeltaPut FileTransfer::DeltaOf(const PlanStep& step, const TransferFile& file) const {
    return {InTree(m_options.base, step.path), file.local, file.server,
            m_options.revision.empty() ? step.revision : m_options.revision, m_options.optimise};
}

DWORD FileTransfer::SendDelta(const PlanStep& step, const TransferFile& file, Attributes& stored,
                              const Progress& progress) {
    DeltaSizes sizes;
    const DWORD error = cli::SendDelta(m_calls, DeltaOf(step, file), stored, sizes, progress);
    TellSizes(error, sizes);
    return error;
}

void FileTransfer::TellSizes(DWORD error, const DeltaSizes& sizes) const {
    if (error == ERROR_SUCCESS && m_options.onlyDelta) {
        PrintError(DeltaLine(sizes));
    }
}

TransferResult FileTransfer::PutInBackground(const PlanStep& step, const TransferFile& file, const Progress& progress) {
    const DeltaPut put = DeltaOf(step, file);
    DeltaSizes sizes;
    GUID job = {};
    DWORD error = StartDeltaJob(m_calls, put, job, sizes, progress);
    TellSizes(error, sizes);
    if (error != ERROR_SUCCESS) {
        return FailedWith(error);
    }
    if (!m_options.commit) {
        TransferResult sent;
        sent.bytes = file.size;
        return InJob(job, sent);
    }
    Attributes stored;
    error = AwaitDeltaJob(m_calls, job);
    if (error == SERVER_ERROR_REVISION_MISMATCH) {
        TransferResult result = FailedWith(error);
        result.why = "the server could not apply the delta (" + std::to_string(error) + ")";
        return result;
    }
    if (error == ERROR_SUCCESS) {
        error = CommitDeltaJob(m_calls, job, put, stored);
    }
    return error == ERROR_SUCCESS ? DoneWith(*stored) : InJob(job, FailedWith(error));
}

// What was stored while somebody wrote to the file is neither its old contents nor the new ones.
DWORD FileTransfer::SendWhole(const TransferFile& file, Attributes& stored, const Progress& progress) {
    std::string expected = m_options.revision;
    for (int attempt = 0; attempt < MostAttempts; ++attempt) {
        Attributes sent;
        DWORD error = SendOnce(file, expected, sent, stored, progress);
        if (error == ERROR_SUCCESS) {
            error = m_calls.Run([&] { return ConfirmStored(m_calls, file.server, *sent, stored); });
        }
        if (error != ERROR_SUCCESS || !HasChanged(file.local, *sent)) {
            return error;
        }
        expected = expected.empty() ? expected : stored->GetRevision();
    }
    return ERROR_FILE_INVALID;
}

// The record is read anew for each attempt: the file may have changed since.
DWORD FileTransfer::SendOnce(const TransferFile& file, const std::string& expected, Attributes& sent,
                             Attributes& stored, const Progress& progress) {
    const Calls::Operation upload = [&] {
        if (const DWORD error = LocalAttributes(file.local, stored); error != ERROR_SUCCESS) {
            return error;
        }
        stored->SetRevision(expected);
        sent = stored->Clone();
        return m_calls.Api().UploadFile(file.local, file.server, stored, m_calls.CancelEvent(), progress, 0);
    };
    if (expected.empty()) {
        return m_calls.Run(upload);
    }
    // Once it is stored, the revision that it replaced is gone, and it would be refused the second time.
    return m_calls.RunOnce(upload, [&] { return SettleUpload(file, *sent, stored); });
}

std::optional<DWORD> FileTransfer::SettleUpload(const TransferFile& file, const IServerAttributes& sent,
                                                Attributes& stored) {
    Attributes present;
    if (const DWORD error = LookAgain(file, present); error != ERROR_SUCCESS) {
        return error;
    }
    if (present->GetRevision() == sent.GetRevision() || !IsStored(*present, sent)) {
        return std::nullopt;
    }
    stored = present;
    return ERROR_SUCCESS;
}

DWORD FileTransfer::SendResumably(const TransferFile& file, Attributes& stored, const Progress& progress) {
    return m_calls.Run([&] { return m_resumable.Send(file.local, file.server, stored, progress); });
}

TransferResult FileTransfer::Get(const PlanStep& step, const TransferFile& file, const Progress& progress) {
    Attributes item = ItemOf(step);
    WideString fetched;
    DWORD error = ERROR_INVALID_DATA;
    const bool keep = item->GetSize() >= KeptDownloadSize && !item->GetRevision().empty();
    if (file.method == Method::Delta) {
        error = FetchAgainst(file, item, fetched, progress);
    }
    const bool another = IsDeltaRefused(error) && !m_options.onlyDelta && !m_calls.Interrupted();
    if (file.method != Method::Delta || another) {
        error = keep ? FetchPart(file, item, fetched, progress) : FetchWhole(file, item, fetched, progress);
    }
    if (error == ERROR_SUCCESS) {
        error = KeepRights(file.local, fetched);
    }
    if (error == ERROR_SUCCESS &&
        MoveFileExW(fetched.c_str(), file.local.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) {
        error = GetLastError();
    }
    const PartFile part(file.local);
    if (error == ERROR_SUCCESS) {
        part.Discard();
        return DoneWith(*item);
    }
    DeleteFileW(TemporaryName(file.local).c_str());
    TransferResult result = FailedWith(error);
    const std::int64_t have = keep ? part.Have() : 0;
    if (have == 0) {
        part.Discard();
    } else {
        result.nextStep = std::to_string(have) + " bytes of it are kept; the same command goes on from there.";
    }
    return result;
}

TransferResult FileTransfer::GetRange(const PlanStep& step, const TransferFile& file, const Progress& progress) {
    const Attributes item = ItemOf(step);
    const DWORD error = FetchRange(m_calls, file.server, item, file.local, m_options.range, progress);
    return error == ERROR_SUCCESS ? DoneWith(*item) : FailedWith(error);
}

// When the item has changed, the library fetches what it is now, under the record that it was asked for: the size
// tells.
DWORD FileTransfer::FetchWhole(const TransferFile& file, Attributes& item, WideString& fetched,
                               const Progress& progress) {
    fetched = TemporaryName(file.local);
    for (int attempt = 0; attempt < MostAttempts; ++attempt) {
        const Attributes received = MakeAttributes();
        DWORD error = m_calls.Run([&] {
            return m_calls.Api().DownloadFile(file.server, fetched, item, received, WideString(), m_calls.CancelEvent(),
                                              progress, 0);
        });
        std::int64_t size = 0;
        if (error == ERROR_SUCCESS) {
            error = FileSize(fetched, size);
        }
        if (error != ERROR_SUCCESS) {
            return error;
        }
        if (!received->HasSize() || received->GetSize() == size) {
            item = received;
            return ApplyTimes(fetched, *received);
        }
        if (error = LookAgain(file, item); error != ERROR_SUCCESS) {
            return error;
        }
    }
    return SERVER_ERROR_REVISION_MISMATCH;
}

DWORD FileTransfer::FetchPart(const TransferFile& file, Attributes& item, WideString& fetched,
                              const Progress& progress) {
    const PartFile part(file.local);
    fetched = part.Path();
    for (int attempt = 0; attempt < MostAttempts; ++attempt) {
        std::int64_t have = 0;
        DWORD error = part.Prepare(
            {m_calls.Session().server, m_calls.Session().user, file.server, item->GetRevision(), item->GetSize()},
            have);
        if (error == ERROR_SUCCESS) {
            error = FetchRest(file, item, progress);
        }
        if (error == ERROR_SUCCESS) {
            error = FileSize(fetched, have);  // somebody may have removed it meanwhile
        }
        if (error == ERROR_SUCCESS && have == item->GetSize()) {
            return ApplyTimes(fetched, *item);
        }
        if (error == ServerNotFound) {
            part.Discard();
        }
        if (error != ERROR_SUCCESS && error != ServerConflict) {
            return error;
        }
        const std::string revision = item->GetRevision();
        if (const DWORD looked = LookAgain(file, item); looked != ERROR_SUCCESS) {
            return looked;
        }
        if (item->GetRevision() == revision) {
            return error == ERROR_SUCCESS ? ERROR_DOWNLOAD_UNDERFLOW : error;
        }
    }
    return SERVER_ERROR_REVISION_MISMATCH;
}

// Attempt after attempt from where the part ends; what it has gained meanwhile is progress.
DWORD FileTransfer::FetchRest(const TransferFile& file, const Attributes& item, const Progress& progress) {
    const PartFile part(file.local);
    std::int64_t before = part.Have();
    return m_calls.Run([&]() -> DWORD {
        const std::int64_t have = part.Have();
        if (have > before) {
            m_calls.Progressed();
        }
        before = have;
        if (have == item->GetSize()) {
            return ERROR_SUCCESS;
        }
        return FetchBytes(m_calls, file.server, item, part.Path(), {have, item->GetSize()}, progress);
    });
}

DWORD FileTransfer::FetchAgainst(const TransferFile& file, Attributes& item, WideString& fetched,
                                 const Progress& progress) {
    DeltaSizes sizes;
    fetched = TemporaryName(file.local);
    const WideString& base = m_options.base.empty() ? file.local : m_options.base;
    const DWORD error = FetchDelta(m_calls, file.server, item, base, fetched, sizes, progress);
    TellSizes(error, sizes);
    return error;
}

DWORD FileTransfer::LookAgain(const TransferFile& file, Attributes& item) const {
    return m_calls.Run([&] { return m_calls.Api().GetPathAttributes(file.server, item, m_calls.CancelEvent()).error; });
}

}  // namespace quillmark::cli
