#include "transfer/FileTransfer.h"

#include "LocalFile.h"
#include "LocalFiles.h"
#include "Paths.h"
#include "transfer/DeltaTransfer.h"
#include "transfer/PartFile.h"
#include "transfer/Trees.h"

namespace quillmark::cli {
namespace {

// How often an item may change while it is fetched.
constexpr int MostAttempts = 3;

// What a refused range says when the item has another revision; its body is not read.
constexpr DWORD ServerConflict = SERVER_ERROR_BASE + 409;
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

}  // namespace

TransferResult FailedWith(DWORD error) {
    TransferResult result;
    result.outcome = Outcome::Failed;
    result.error = error;
    result.why = ErrorReason(error);
    if (const std::string name = ErrorName(error); !name.empty()) {
        result.why += " [" + name + "]";
    }
    result.nextStep = NextStep(error);
    return result;
}

FileTransfer::FileTransfer(Calls& calls, const TransferOptions& options)
    : m_calls(calls), m_options(options), m_resumable(calls, options.resumable) {}

TransferResult FileTransfer::Run(const PlanStep& step, const TransferFile& file, const Progress& progress) {
    return m_options.direction == Direction::Up ? Put(step, file, progress) : Get(step, file, progress);
}

TransferResult FileTransfer::Put(const PlanStep& step, const TransferFile& file, const Progress& progress) {
    Attributes stored;
    const DWORD error = Send(step, file, stored, progress);
    if (error == ERROR_SUCCESS) {
        return DoneWith(*stored);
    }
    TransferResult result = FailedWith(error);
    if (file.method == Method::Resumable && m_resumable.KeptConflict()) {
        result.nextStep = "the server has all of it: 'quillmark uploads complete " + Printable(file.server) +
                          " NEWPATH' stores it under another name";
    }
    return result;
}

DWORD FileTransfer::Send(const PlanStep& step, const TransferFile& file, Attributes& stored, const Progress& progress) {
    if (file.method == Method::Resumable) {
        return SendResumably(file, stored, progress);
    }
    if (file.method == Method::Delta) {
        DeltaSizes sizes;
        const DeltaPut put{InTree(m_options.base, step.path), file.local, file.server, step.revision, false, true};
        const DWORD error = SendDelta(m_calls, put, stored, sizes, progress);
        if (!IsDeltaRefused(error) || m_calls.Interrupted()) {
            return error;
        }
    }
    return SendWhole(file, stored, progress);
}

// The record is read anew for each attempt: the file may have changed since.
DWORD FileTransfer::SendWhole(const TransferFile& file, Attributes& stored, const Progress& progress) {
    Attributes sent;
    const Calls::Operation upload = [&] {
        if (const DWORD error = LocalAttributes(file.local, stored); error != ERROR_SUCCESS) {
            return error;
        }
        stored->SetRevision(m_options.revision);
        sent = stored->Clone();
        return m_calls.Api().UploadFile(file.local, file.server, stored, m_calls.CancelEvent(), progress, 0);
    };
    if (m_options.revision.empty()) {
        return m_calls.Run(upload);
    }
    // Once it is stored, the revision that it replaced is gone, and it would be refused the second time.
    return m_calls.RunOnce(upload, [&] { return SettleUpload(file, *sent, stored); });
}

std::optional<DWORD> FileTransfer::SettleUpload(const TransferFile& file, const IServerAttributes& sent,
                                                Attributes& stored) {
    Attributes present;
    const DWORD error =
        m_calls.Run([&] { return m_calls.Api().GetPathAttributes(file.server, present, m_calls.CancelEvent()).error; });
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const bool ours = present->GetRevision() != m_options.revision && present->GetSize() == sent.GetSize() &&
                      present->GetLastWriteTime().ToText() == sent.GetLastWriteTime().ToText();
    if (!ours) {
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
    if (file.method != Method::Delta || (IsDeltaRefused(error) && !m_calls.Interrupted())) {
        error = keep ? FetchPart(file, item, fetched, progress) : FetchWhole(file, item, fetched, progress);
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
        result.nextStep = std::to_string(have) + " bytes of it are kept; the same command goes on from there";
    }
    return result;
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
        if (error == ERROR_SUCCESS && part.Have() == item->GetSize()) {
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
        return m_calls.Api().DownloadData(file.server, part.Path(), item, MakeAttributes(),
                                          static_cast<std::uint64_t>(have), item->GetSize(), m_calls.CancelEvent(),
                                          progress, 0);
    });
}

DWORD FileTransfer::FetchAgainst(const TransferFile& file, Attributes& item, WideString& fetched,
                                 const Progress& progress) {
    DeltaSizes sizes;
    fetched = TemporaryName(file.local);
    return FetchDelta(m_calls, file.server, item, file.local, fetched, sizes, progress);
}

DWORD FileTransfer::LookAgain(const TransferFile& file, Attributes& item) const {
    return m_calls.Run([&] { return m_calls.Api().GetPathAttributes(file.server, item, m_calls.CancelEvent()).error; });
}

}  // namespace quillmark::cli
