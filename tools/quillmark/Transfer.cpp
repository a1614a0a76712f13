#include "Transfer.h"

#include <vector>

#include "LocalFiles.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"
#include "terminal/TransferView.h"

namespace quillmark::cli {
namespace {

// Tells the view how far one file has come.
class FileProgress final : public IProgressSink {
public:
    FileProgress(TransferObserver& view, std::uint64_t id) : m_view(view), m_id(id) {}
    void Begin(const WideString&, std::uint64_t offset, std::uint64_t) override { Tell(offset); }
    void Advance(const void*, std::uint32_t, std::uint64_t position, std::uint64_t, std::uint64_t) override {
        Tell(position);
    }

private:
    void Tell(std::uint64_t position) { m_view.Advanced(m_id, static_cast<std::int64_t>(position)); }

    TransferObserver& m_view;
    std::uint64_t m_id;
};

std::unique_ptr<TransferObserver> ViewFor(const GlobalOptions& options, bool quiet) {
    GlobalOptions view = options;
    view.quiet = view.quiet || quiet;
    return MakeTransferView(view);
}

std::int64_t SizeOf(const IServerAttributes& item) {
    return item.HasSize() ? item.GetSize() : -1;
}

}  // namespace

WideString PartialName(const WideString& local) {
    // A name may have 255 bytes, and a code unit takes up to three: what a long name loses makes room for the ending.
    constexpr std::size_t Longest = 75;
    const WideString leaf = LeafName(local);
    if (leaf.size() <= Longest) {
        return local + QM_W(".quillmark-part");
    }
    const bool pairSplit = (leaf[Longest] & 0xFC00) == 0xDC00;
    return local.Substring(0, local.size() - leaf.size()) + leaf.Substring(0, Longest - (pairSplit ? 1 : 0)) +
           QM_W(".quillmark-part");
}

Transfer::Transfer(Client& client, bool quiet) : m_client(client), m_view(ViewFor(client.Options(), quiet)) {}

void Transfer::Put(const WideString& local, const WideString& server) {
    LocalItem item;
    if (const DWORD error = FindLocalItem(local, item); error != ERROR_SUCCESS) {
        Failed(Printable(local), error);
    } else if (item.folder && !m_revision.empty()) {
        throw Failure("a folder has no revision to ask for: --revision is for one file", ExitCode::Usage);
    } else if (item.folder) {
        PutFolder(local, server);
    } else if (!IsPlainFile(local)) {
        Failed(Printable(local) + " is no file but a pipe, socket or device", ERROR_NOT_SUPPORTED);
    } else {
        PutFile(local, server);
    }
}

void Transfer::PutFolder(const WideString& local, const WideString& server) {
    if (const DWORD error = EnsureServerFolder(server); error != ERROR_SUCCESS) {
        Failed(Printable(server), error);
        return;
    }
    ++m_counts.folders;
    // The names first: a folder that changes while its files are sent would otherwise be walked twice or endlessly.
    std::vector<LocalItem> items;
    const DWORD error = ForEachLocalItem(local, [&items](const LocalItem& item) { items.push_back(item); });
    if (error != ERROR_SUCCESS) {
        Failed(Printable(local), error);
    }
    for (const LocalItem& item : items) {
        if (m_client.Options().Interrupted()) {
            return;
        }
        if (item.link && item.folder) {
            Skipped("a link to a folder", JoinPath(local, item.name));
        } else if (!IsText(item.name)) {
            Failed(Printable(JoinPath(local, item.name)), ERROR_NO_UNICODE_TRANSLATION);
        } else if (item.folder) {
            PutFolder(JoinPath(local, item.name), JoinPath(server, item.name));
        } else {
            PutListed(JoinPath(local, item.name), JoinPath(server, item.name));
        }
    }
}

void Transfer::PutListed(const WideString& local, const WideString& server) {
    LocalItem item;
    if (const DWORD error = FindLocalItem(local, item); error != ERROR_SUCCESS) {
        Failed(Printable(local), error);
    } else if (!IsPlainFile(local)) {
        Skipped("a pipe, socket or device", local);
    } else {
        PutFile(local, server);
    }
}

void Transfer::PutFile(const WideString& local, const WideString& server) {
    std::shared_ptr<IServerAttributes> stored;
    DWORD error = LocalAttributes(local, stored);
    const TransferFile file =
        Begin(Direction::Up, local, server, error == ERROR_SUCCESS ? SizeOf(*stored) : std::int64_t{-1});
    const auto progress = std::make_shared<FileProgress>(*m_view, file.id);
    if (error == ERROR_SUCCESS && m_resumable) {
        m_resumable->ShowTo(progress);
        stored.reset();
        error = m_resumable->Send(local, server, stored);
    } else if (error == ERROR_SUCCESS) {
        error = SendWhole(local, server, stored, progress);
    }
    const bool kept = error != ERROR_SUCCESS && m_resumable && m_resumable->KeptConflict();
    Finish(file, error, stored == nullptr ? *MakeAttributes() : *stored,
           kept ? "the server has all of it: 'quillmark uploads complete " + Printable(server) +
                      " NEWPATH' stores it under another name"
                : "");
}

DWORD Transfer::SendWhole(const WideString& local, const WideString& server, std::shared_ptr<IServerAttributes>& stored,
                          const std::shared_ptr<IProgressSink>& progress) {
    stored->SetRevision(m_revision);
    return m_client.Api().UploadFile(local, server, stored, m_client.CancelEvent(), progress, 0);
}

DWORD Transfer::EnsureServerFolder(const WideString& server) {
    std::shared_ptr<IServerAttributes> folder;
    const StatusPair known = m_client.Api().GetPathAttributes(server, folder, m_client.CancelEvent());
    if (known.error == ERROR_SUCCESS) {
        return IsFolder(*folder) ? ERROR_SUCCESS : ERROR_DIRECTORY;
    }
    if (ExitCodeFor(known.error, false) != ExitCode::NotFound) {
        return known.error;
    }
    return m_client.Api().CreateFolder(server, folder, m_client.CancelEvent()).error;
}

void Transfer::Get(const WideString& server, const WideString& local) {
    std::shared_ptr<IServerAttributes> item;
    const StatusPair status = m_client.Api().GetPathAttributes(server, item, m_client.CancelEvent());
    if (status.error != ERROR_SUCCESS) {
        Failed(Printable(server), status.error);
    } else if (IsFolder(*item)) {
        GetFolder(server, local);
    } else {
        LocalItem target;
        const bool into = FindLocalItem(local, target) == ERROR_SUCCESS && target.folder;
        GetFile(server, into ? JoinPath(local, LeafName(server)) : local, item);
    }
}

void Transfer::GetFolder(const WideString& server, const WideString& local) {
    if (!MakeLocalFolders(local)) {
        Failed(Printable(local), GetLastError());
        return;
    }
    ItemList children;
    std::shared_ptr<IServerAttributes> self;
    const StatusPair status = m_client.Api().GetPathListing(server, children, self, m_client.CancelEvent());
    if (status.error != ERROR_SUCCESS) {
        Failed(Printable(server), status.error);
        return;
    }
    ++m_counts.folders;
    for (const std::shared_ptr<IServerAttributes>& child : children) {
        const WideString& name = child->GetName();
        if (m_client.Options().Interrupted()) {
            return;
        }
        if (!IsLocalName(name)) {
            Failed(Printable(server) + ": '" + Printable(name) + "' cannot be a local name", ERROR_INVALID_NAME);
        } else if (IsFolder(*child)) {
            GetFolder(JoinPath(server, name), JoinPath(local, name));
        } else {
            GetFile(JoinPath(server, name), JoinPath(local, name), child);
        }
    }
}

void Transfer::GetFile(const WideString& server, const WideString& local,
                       const std::shared_ptr<IServerAttributes>& known) {
    const std::shared_ptr<IServerAttributes> received = MakeAttributes();
    const TransferFile file = Begin(Direction::Down, local, server, SizeOf(*known));
    Finish(file, DownloadTo(server, local, known, received, std::make_shared<FileProgress>(*m_view, file.id)),
           *received);
}

DWORD Transfer::DownloadTo(const WideString& server, const WideString& local,
                           const std::shared_ptr<IServerAttributes>& known,
                           const std::shared_ptr<IServerAttributes>& received,
                           const std::shared_ptr<IProgressSink>& progress) {
    const WideString partial = PartialName(local);
    DWORD error = m_client.Api().DownloadFile(server, partial, known, received, WideString(), m_client.CancelEvent(),
                                              progress, 0);
    if (error == ERROR_SUCCESS) {
        error = ApplyTimes(partial, *received);
    }
    if (error == ERROR_SUCCESS && MoveFileExW(partial.c_str(), local.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) {
        error = GetLastError();
    }
    if (error != ERROR_SUCCESS) {
        DeleteFileW(partial.c_str());
    }
    return error;
}

TransferFile Transfer::Begin(Direction direction, const WideString& local, const WideString& server,
                             std::int64_t size) {
    TransferFile file;
    file.id = ++m_begun;
    file.direction = direction;
    file.method = m_resumable ? Method::Resumable : Method::Whole;
    file.local = local;
    file.server = server;
    file.size = size;
    m_planned += size > 0 ? static_cast<std::uint64_t>(size) : 0;
    m_view->Planned(m_begun, m_planned);
    m_view->Started(file);
    return file;
}

void Transfer::Finish(const TransferFile& file, DWORD error, const IServerAttributes& item,
                      const std::string& nextStep) {
    TransferResult result;
    if (error == ERROR_SUCCESS) {
        result.bytes = item.HasSize() ? item.GetSize() : 0;
        result.revision = item.GetRevision();
        ++m_counts.files;
        m_counts.bytes += static_cast<std::uint64_t>(result.bytes);
    } else {
        CountFailure(error);
        result.outcome = Outcome::Failed;
        result.error = error;
        if (!m_client.Options().Interrupted()) {
            result.why = ErrorText(error);
            result.nextStep = nextStep;
        }
    }
    m_view->Finished(file, result);
}

void Transfer::CountFailure(DWORD error) {
    ++m_counts.failed;
    if (m_counts.firstError == ERROR_SUCCESS) {
        m_counts.firstError = error;
    }
}

void Transfer::Failed(const std::string& what, DWORD error) {
    CountFailure(error);
    if (!m_client.Options().Interrupted()) {
        m_view->Note("failed: " + what + ": " + ErrorText(error));
    }
}

void Transfer::Skipped(const std::string& why, const WideString& path) {
    ++m_counts.skipped;
    m_view->Note("skipped, " + why + ": " + Printable(path));
}

ExitCode Transfer::Summarise() {
    m_counts.cancelled = m_client.Options().Interrupted();
    m_counts.time = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_start);
    m_view->Ended(m_counts);
    if (m_counts.failed != 0 && m_counts.files + m_counts.folders != 0 && !m_counts.cancelled) {
        return ExitCode::SomeFailed;
    }
    return m_counts.cancelled ? ExitCode::Cancelled : ExitCodeFor(m_counts.firstError, false);
}

}  // namespace quillmark::cli
