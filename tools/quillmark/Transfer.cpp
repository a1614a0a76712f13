#include "Transfer.h"

#include <vector>

#include "LocalFiles.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"

namespace quillmark::cli {
namespace {

std::string Counted(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
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
            PrintError("skipped, a link to a folder: " + Printable(JoinPath(local, item.name)));
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
        PrintError("skipped, a pipe, socket or device: " + Printable(local));
    } else {
        PutFile(local, server);
    }
}

void Transfer::PutFile(const WideString& local, const WideString& server) {
    std::shared_ptr<IServerAttributes> stored;
    const DWORD error = m_resumable ? m_resumable->Send(local, server, stored) : SendWhole(local, server, stored);
    if (error != ERROR_SUCCESS) {
        Failed(Printable(local), error);
        if (m_resumable && m_resumable->KeptConflict()) {
            PrintError("the server has all of it: 'quillmark uploads complete " + Printable(server) +
                       " NEWPATH' stores it under another name");
        }
        return;
    }
    Done(server, stored->HasSize() ? static_cast<std::uint64_t>(stored->GetSize()) : 0);
}

DWORD Transfer::SendWhole(const WideString& local, const WideString& server,
                          std::shared_ptr<IServerAttributes>& stored) {
    const DWORD error = LocalAttributes(local, stored);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    stored->SetRevision(m_revision);
    return m_client.Api().UploadFile(local, server, stored, m_client.CancelEvent(), nullptr, 0);
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
        GetFile(server, FileTarget(server, local), item);
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
    const DWORD error = DownloadTo(server, local, known, received);
    if (error != ERROR_SUCCESS) {
        Failed(Printable(server) + " to " + Printable(local), error);
        return;
    }
    Done(local, received->HasSize() ? static_cast<std::uint64_t>(received->GetSize()) : 0);
}

DWORD Transfer::DownloadTo(const WideString& server, const WideString& local,
                           const std::shared_ptr<IServerAttributes>& known,
                           const std::shared_ptr<IServerAttributes>& received) {
    const WideString partial = PartialName(local);
    DWORD error =
        m_client.Api().DownloadFile(server, partial, known, received, WideString(), m_client.CancelEvent(), nullptr, 0);
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

void Transfer::Failed(const std::string& what, DWORD error) {
    ++m_counts.failed;
    if (m_counts.firstError == ERROR_SUCCESS) {
        m_counts.firstError = error;
    }
    if (!m_client.Options().Interrupted()) {
        PrintError("failed: " + what + ": " + ErrorReason(error));
    }
}

void Transfer::Done(const WideString& path, std::uint64_t bytes) {
    ++m_counts.files;
    m_counts.bytes += bytes;
    if (!m_quiet) {
        Print(Printable(path));
    }
}

ExitCode Transfer::Summarise() const {
    const bool cancelled = m_client.Options().Interrupted();
    PrintError(Counted(m_counts.files, "file") + ", " + Counted(m_counts.folders, "folder") + ", " +
               Counted(m_counts.bytes, "byte") + ", " + std::to_string(m_counts.failed) + " failed" +
               (cancelled ? ", cancelled" : ""));
    if (m_counts.failed != 0 && m_counts.files + m_counts.folders != 0 && !cancelled) {
        return ExitCode::SomeFailed;
    }
    return cancelled ? ExitCode::Cancelled : ExitCodeFor(m_counts.firstError, false);
}

}  // namespace quillmark::cli
